#pragma once

#include "image/zp_image.h"

namespace velorin {

// The steps between the levels of a pyramid, each in one walk down the rows. Images are float, of
// one channel and top down, unless told otherwise; `coarse` and `fine` are 2 by 2 or larger, and
// `coarse` is at most half as large, each side cut.

// SmoothBinomial, then Resample.
void ReduceChannel(ZPImage& coarse, const ZPImage& fine);

// ConvertToLuminance of a frame that has one, in any row order, and ReduceChannel of that.
void ReduceFrame(ZPImage& coarse, const ZPImage& frame, bool lumaIsFirst);

// `source` less its SmoothBinomial, into another image of its size.
void HighPassChannel(ZPImage& dest, const ZPImage& source);

}  // namespace velorin
