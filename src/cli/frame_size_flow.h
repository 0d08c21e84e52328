#pragma once

#include "image/zp_image.h"
#include "media/clip.h"

namespace velorin {

// Spreads a flow over a picture of the frame's size, two floats a pixel, in pixels of the frame: u
// to the right, v up, the top line first in memory. The places and the stretch are those of the
// inverse warp, so that along either flow a pixel goes to the same place.
void SpreadFlow(const ZPImage& flow, int width, int height, Picture& spread);

}  // namespace velorin
