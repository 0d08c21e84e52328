#include "warp/inverse_warp_kernel.h"

#include "image/pixel_form.h"
#include "warp/mix_lanes.h"
#include "warp/strip_warp_lanes.h"

namespace velorin::VELORIN_KERNEL_SET {

void InverseWarpRows(const InverseWarpJob& job, float* scratch, int firstRow, int lastRow) {
    WithPictureForm(job.destination, [&](auto form) {
        using Value = typename decltype(form)::Value;
        StripWarp<decltype(form)> strip(job.picture, job.extendEdges, scratch);
        const bool covers = job.coverage && !job.extendEdges;
        for (int y = firstRow; y <= lastRow; ++y) {
            strip.Row(y, job.destination.Row<Value>(y),
                      covers ? job.coverage->Row<std::uint8_t>(y) : nullptr);
        }
    });
}

// Both pictures' rows are moved into scratch, which stays in the cache, and mixed from there.
void MixMovedRows(const MixMovedJob& job, float* scratch, int firstRow, int lastRow) {
    WithPictureForm(job.destination, [&](auto form) {
        using Form = decltype(form);
        using Value = typename Form::Value;
        const int width = job.destination.width;
        const std::size_t lines = FlowLineScratch(width);
        StripWarp<Form> firstStrip(job.first, true, scratch);
        StripWarp<Form> secondStrip(job.second, true, scratch + lines);
        auto* first = reinterpret_cast<Value*>(scratch + 2 * lines);
        auto* second = reinterpret_cast<Value*>(scratch + MixMovedScratch(job) / 2 + lines);
        for (int y = firstRow; y <= lastRow; ++y) {
            firstStrip.Row(y, first, nullptr);
            secondStrip.Row(y, second, nullptr);
            MixInside(job.destination.Row<Value>(y), first, second, width * Form::kChannels,
                      job.share);
        }
    });
}

}  // namespace velorin::VELORIN_KERNEL_SET
