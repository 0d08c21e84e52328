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
//   flow         float, 2 channels, of any size; vectors in its own pixels, from the source on. A
//                vector is travelled straight and not looked up again where it leads
//   amount       fraction of the vector, of either sign
//   progress     parent of the report, or null
//   coverageOut  null, or one channel of bytes, of the destination's size: 255 where a pixel was
//                hit, 0 in holes. Without it, transparent borders of the source are not drawn
//
// The members of the family that nothing selects are not built: `scanMode`, `supersample`,
// `meshStep`, `columnDirection`, `rowDirection`, `rowMajor`, `blendHits` and `supersampleInTarget`
// are 1, `mipMode` neither 2 nor 3, `sourceMatte` null, or ZPErrBadArgument is thrown.
//
// With several threads the order of hits is not fixed, and the mean of a pixel that several rows'
// triangles hit may differ in its last unit; coverage does not. One thread is the reference.
//
// 1; 0 after a line on standard error where the images do not fit, with nothing changed. Throws
// ZPErrInterrupted, with the destination partly drawn, and ZPErrNoMemory.
int ZPWarpImage(ZPImage& destination, const ZPImage& source, const ZPImage& flow, int scanMode,
                int supersample, int meshStep, float amount, int columnDirection, int rowDirection,
                int rowMajor, int blendHits, KQIdleAndProgressClass* progress, ZPImage* coverageOut,
                int supersampleInTarget, int mipMode, const ZPImage* sourceMatte);

}  // namespace velorin
