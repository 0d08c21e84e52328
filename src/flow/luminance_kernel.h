#pragma once

#include "image/kernel_sets.h"
#include "image/zp_image.h"

namespace velorin {

// Rows of ConvertToLuminance, of a frame that has one.
VELORIN_DECLARE_KERNELS(void LuminanceRows(ZPImage& dest, const ZPImage& frame, bool lumaIsFirst,
                                           int firstRow, int lastRow);)

}  // namespace velorin
