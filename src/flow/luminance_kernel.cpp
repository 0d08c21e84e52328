#include "flow/luminance_kernel.h"

#include "flow/luminance_lanes.h"

namespace velorin::VELORIN_KERNEL_SET {

void LuminanceRows(ZPImage& dest, const ZPImage& frame, bool lumaIsFirst, int firstRow,
                   int lastRow) {
    const int width = dest.width < frame.width ? dest.width : frame.width;
    WithFrameForm(
        frame, [&](auto form) __attribute__((always_inline)) {
            using Form = decltype(form);
            for (int y = firstRow; y <= lastRow; ++y) {
                LuminanceRow<Form>(frame.Row<typename Form::Value>(y), width, lumaIsFirst,
                                   dest.Row<float>(y));
            }
        });
}

}  // namespace velorin::VELORIN_KERNEL_SET
