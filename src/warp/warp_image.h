#pragma once

#include "image/progress.h"
#include "image/zp_image.h"

namespace velorin {

// The forward warp (forward mapping by a triangle mesh): carries `source` along `flow` by `amount`
// and draws it into `destination`. One vertex of the mesh stands on each source pixel and takes its
// colour along; pixels between the moved vertices are interpolated. Where the mesh folds, hits on a
// pixel are averaged; what it does not reach stays zero, a hole.
//
//   destination, source  four channels of one picture type; not the same image. The sizes may
//                        differ: a vertex keeps its place in pixels
//   flow         float, 2 channels, sides of 2 and more; vectors in its own pixels, from the source
//   on. A
//                vector is travelled straight and not looked up again where it leads
//   amount       fraction of the vector, of either sign
//   progress     parent of the report, or null
//   coverageOut  null, or one channel of bytes, of the destination's size: 255 where a pixel was
//                hit, 0 in holes. Without it, transparent borders of the source are not drawn
//
// The members of the family that nothing selects are not built: `scanMode`, `supersample`,
// `meshStep`, `rowMajor` and `blendHits` are 1, `mipMode` neither 2 nor 3, `sourceMatte` null, or
// ZPErrBadArgument is thrown. The directions and `supersampleInTarget` count for those members
// only.
//
// With several threads the order of hits is not fixed: where surfaces fold, the mean of a pixel may
// differ by the last unit or a few, and by more once hundreds have hit it. Coverage does not
// differ. One thread is the reference.
//
// 1; 0 after a line on standard error where the images do not fit, with nothing changed. Throws
// ZPErrInterrupted, with the destination partly drawn, and ZPErrNoMemory.
int ZPWarpImage(ZPImage& destination, const ZPImage& source, const ZPImage& flow, int scanMode,
                int supersample, int meshStep, float amount, int columnDirection, int rowDirection,
                int rowMajor, int blendHits, KQIdleAndProgressClass* progress, ZPImage* coverageOut,
                int supersampleInTarget, int mipMode, const ZPImage* sourceMatte);

}  // namespace velorin
