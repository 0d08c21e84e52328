#pragma once

#include "image/zp_image.h"

namespace velorin {

// Fills all of `dest` from `source` by bilinear interpolation. The scale is the ratio of the sizes
// minus one, so first and last pixels fall on each other.
//
// Picture types may differ: where the white points do, values are scaled by their ratio. Integers
// are rounded by + 0.5 without a clamp. Sides are at least 2; a `dest` side of 1 reads the first
// sample.
//
// Throws ZPErrBadArgument where channel counts differ or an image is no picture.
void Resample(ZPImage& dest, const ZPImage& source);

}  // namespace velorin
