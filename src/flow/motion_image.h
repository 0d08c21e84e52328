#pragma once

#include "image/progress.h"
#include "image/zp_image.h"

namespace velorin {

// Multiplies channel 0 of a flow by `sx`, channel 1 by `sy`: to other units, or a sign turned.
//
// An image that is neither float nor of 2 channels: a line on the error stream, no more. One that
// is only one of the two is taken for a flow of its width all the same; of a row that is too short
// for that, what there is.
void ScaleXY(ZPImage& flow, float sx, float sy);

// Fills a flow from motion that was made elsewhere and is coded as a picture.
//
//   flow      float, 2 channels
//   coded     a picture of the flow's size with 4 channels: u, v, one that is not read, alpha
//   scale     pixels of the flow that a full component stands for
//   progress  may be null
//
// A component of 8 bits is at rest at 127 and full at 0 and 254, of 16 bits at 32767 and at 0 and
// 65534, in float at 0.5 and at 0.0 and 1.0; beyond that it goes on, unclamped. Where alpha is less
// than full there is no motion: those holes are filled from around them as by FillUnderMatte, and
// where all are holes the flow becomes 0.
//
// Images of other forms or sizes: does nothing. Throws what FillUnderMatte throws; the flow is then
// decoded and partly filled.
void UnpackMotionImage(ZPImage& flow, const ZPImage& coded, float scale,
                       KQIdleAndProgressClass* progress);

}  // namespace velorin
