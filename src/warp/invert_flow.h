#pragma once

#include "image/progress.h"
#include "image/zp_image.h"

namespace velorin {

// Turns a flow from one picture to another into the flow back: each vector is carried to the place
// it points at, together with its neighbours as a triangle mesh, and its negative is drawn there.
// Where the mesh folds, the later vector stands: later rows over earlier ones, within a row the
// right one over the left. What no vector reaches is filled smoothly from around it; where none
// lands inside the image, `flowOut` becomes 0.
//
//   flowOut   float, 2 channels, of the size of `flowIn` and not over its pixels
//   flowIn    float, 2 channels, sides of 2 and more; vectors in its own pixels. One that is not a
//             number is drawn nowhere, an infinite one may leave infinities and NaN on its way
//   holes     one channel of bytes of that size: 255 afterwards where a vector was filled in, 0
//             where one was drawn
//   progress  parent of the report, or null. It hears the drawing from 0.0 on and then the filling,
//             from 0.0 again
//
// Images that do not fit together: a line on standard error, with nothing changed. Throws
// ZPErrBadArgument for a side below 2, and ZPErrInterrupted and ZPErrNoMemory; `flowOut` and
// `holes` are then of no use.
void ZPInvertFlow(ZPImage& flowOut, const ZPImage& flowIn, ZPImage& holes,
                  KQIdleAndProgressClass* progress);

}  // namespace velorin
