#include "warp/blend_kernel.h"

#include "image/pixel_form.h"
#include "warp/mix_lanes.h"

namespace velorin::VELORIN_KERNEL_SET {

void MixRows(ZPImage& dest, const ZPImage& first, const ZPImage& second, float share, int firstRow,
             int lastRow) {
    WithPictureType(dest.pixelType, [&](auto zero) {
        using Value = decltype(zero);
        for (int y = firstRow; y <= lastRow; ++y) {
            MixInside(dest.Row<Value>(y), first.Row<Value>(y), second.Row<Value>(y),
                      dest.width * dest.channels, share);
        }
    });
}

}  // namespace velorin::VELORIN_KERNEL_SET
