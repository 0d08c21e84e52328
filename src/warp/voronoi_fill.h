#pragma once

#include "image/zp_image.h"

namespace velorin {

// Gives each marked pixel the value of the nearest unmarked one, in place and on all channels. The
// search is approximate: now and then a pixel a little farther off is taken. Without an unmarked
// pixel nothing changes.
//
//   image  any of the picture forms; no side is above 65534
//   marks  one channel of any picture type, of the image's size; what is not 0 is to be filled
//
// Marks that do not fit: a line on the error stream, and nothing is done. Throws ZPErrNoMemory.
void ZPVoronoiFill(ZPImage& image, const ZPImage& marks);

}  // namespace velorin
