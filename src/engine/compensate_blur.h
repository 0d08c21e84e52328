#pragma once

#include "image/progress.h"
#include "image/zp_image.h"

namespace velorin {

// Fits the motion blur of a picture to another speed. `destination` becomes `source` with blur
// added along `flow`, or, for an amount below 0, sharpened along it.
//
//   destination, source  two images of one size, picture form and row order
//   flow                 as in BlurAlongFlow; its vectors lead over one whole source frame
//   bilinear             as in BlurAlongFlow: false for a draft
//   amount               above 0 the share of a vector to blur over, limited to 20; below 0 by how
//                        much to push away from half a vector's blur, limited to -10; closer to 0
//                        than 0.000001 the picture is copied
//
// With blur added, four-channel pixels have no colour where alpha is 0. Sharpening blends by
// ZPBlend: integers stay in their range, four-channel pixels whose alpha is not above 0 are
// cleared, and the forms that ZPBlendRows leaves alone come out blurred instead.
//
// Throws what BlurAlongFlow throws.
void CompensateBlur(ZPImage& destination, const ZPImage& source, const ZPImage& flow, bool bilinear,
                    KQIdleAndProgressClass& progress, float amount);

}  // namespace velorin
