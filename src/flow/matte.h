#pragma once

#include "image/progress.h"
#include "image/zp_image.h"

namespace velorin {

// Fills the holes of every channel of `image`, in place, with smooth values grown from the pixels
// around them; see ZPSingleChannelFill. A sample of `holeMatte` other than 0 marks a hole. Pixels
// that are none stay as they are; where all are holes, the image becomes 0.
//
// Images of different sizes: does nothing. Throws ZPErrBadArgument for a side below 2 and for an
// image that is no picture, and what progress and memory throw; channels are then filled or not.
void FillUnderMatte(ZPImage& image, const ZPImage& holeMatte, KQIdleAndProgressClass* progress);

}  // namespace velorin
