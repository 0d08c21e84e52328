#pragma once

#include "image/kernel_sets.h"
#include "image/zp_image.h"

namespace velorin {

// Rows of pictures of one form. MixRows is ZPBlendTwo with a share in 0 to 1, BlendRows is ZPBlend
// of four channels.
VELORIN_DECLARE_KERNELS(void MixRows(ZPImage& dest, const ZPImage& first, const ZPImage& second,
                                     float share, int firstRow, int lastRow);
                        void BlendRows(ZPImage& target, const ZPImage& other, float share,
                                       int firstRow, int lastRow);)

}  // namespace velorin
