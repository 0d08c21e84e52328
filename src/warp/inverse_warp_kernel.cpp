#include "warp/inverse_warp_kernel.h"

#include "image/pixel_form.h"
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

}  // namespace velorin::VELORIN_KERNEL_SET
