#pragma once

#include "image/progress.h"
#include "image/zp_image.h"

namespace velorin {

// Fills the holes of every channel of `image`, in place, with smooth values grown from the pixels
// around them; see ZPSingleChannelFill. A sample of `holeMatte`, of one channel, other than 0 marks
// a hole. Pixels that are none stay as they are; where all are holes, the image becomes 0.
//
// Images of different sizes: does nothing. Throws ZPErrBadArgument for a matte of another form and,
// where there is a hole, for a side below 2 and for an image that is no picture. Throws what
// progress and memory throw; the channels are then partly filled.
void FillUnderMatte(ZPImage& image, const ZPImage& holeMatte, KQIdleAndProgressClass* progress);

}  // namespace velorin
