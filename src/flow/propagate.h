#pragma once

#include "image/progress.h"
#include "image/zp_image.h"

namespace velorin {

// Repairs a level's flow, in place, by direct comparison: each vector is challenged by its
// neighbour's, which wins where it makes a 3 by 3 block of A match B better. Four sweeps carry a
// good vector along whole rows and columns. The outermost ring of pixels is neither changed nor
// compared with.
//
//   flow            two float channels, internal sign: content at (x, y) of A is at (x - u, y - v)
//                   of B
//   imageA, imageB  one float channel each
//   matteA, matteB  validity mattes, float; where one is null there are none
//   progress        is ticked after the sweeps along rows, and after those along columns, once for
//                   each
//
// Throws ZPErrNoMemory, with the flow as it was.
void PropagateCandidates(ZPImage& flow, const ZPImage& imageA, const ZPImage& imageB,
                         const ZPImage* matteA, const ZPImage* matteB,
                         KQIdleAndProgressClass& progress);

}  // namespace velorin
