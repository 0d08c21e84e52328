#pragma once

#include "image/kernel_sets.h"
#include "image/zp_image.h"

namespace velorin {

// ZPBlendTwo of rows of one picture form, with a share in 0 to 1.
VELORIN_DECLARE_KERNELS(void MixRows(ZPImage& dest, const ZPImage& first, const ZPImage& second,
                                     float share, int firstRow, int lastRow);)

}  // namespace velorin
