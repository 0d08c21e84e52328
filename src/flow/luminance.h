#pragma once

#include "image/zp_image.h"

namespace velorin {

// Turns a frame into the one channel that motion is estimated on, on a scale of 0 to 255.
//
//   dest          float, 1 channel; only the part that both images share is written
//   frame         picture type, 1, 3 or 4 channels; another count leaves `dest` as it is
//   lumaIsFirst   false: RGB, the weighted sum 0.3 R + 0.59 G + 0.11 B; true: Y'CbCr, the luma
//                 channel with its video range expanded
//
// A float frame whose white point is not exactly 1.0 is refused with a line on standard error, and
// `dest` keeps what it held. Answers whether the frame was one that it knows.
bool ConvertToLuminance(ZPImage& dest, const ZPImage& frame, bool lumaIsFirst);

// Whether ConvertToLuminance knows the frame.
bool HasLuminance(const ZPImage& frame);

}  // namespace velorin
