#pragma once

#include "image/zp_image.h"

namespace velorin {

// Mixes two pictures that come out of a warp with coverage: where one has a hole the other shows,
// where both are valid they are weighed, colours as premultiplied ones.
//
//   share           weight of `second`; finite
//   coverageFirst,  one channel, of the pictures' size, both of one picture type. With four
//   coverageSecond  channels they are not read: there the alpha is the coverage
//
// The pictures have one size and form. Images that do not fit: dest is cleared, without a message.
void ZPBlendCoverage(ZPImage& dest, const ZPImage& first, const ZPImage& second,
                     const ZPImage& coverageFirst, const ZPImage& coverageSecond, float share);

// The same for pictures of four channels whose first is the matte. A pixel where neither matte is
// full comes out zero. The coverage images are not read but have to fit.
void ZPBlendCoverageYCbCr(ZPImage& dest, const ZPImage& first, const ZPImage& second,
                          const ZPImage& coverageFirst, const ZPImage& coverageSecond, float share);

}  // namespace velorin
