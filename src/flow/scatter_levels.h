#pragma once

#include "image/zp_image.h"

namespace velorin {

// The steps between and on the levels of a field that grows from known samples. All images are
// float; on one level they have its size, and sides are at least 2.

// Halves known samples, or their weights: smooths `fine` into `scratch`, of the same size and
// channels, and resamples that to `coarse`.
void ReduceLevel(ZPImage& coarse, const ZPImage& fine, ZPImage& scratch);

// Replaces the field by sum over weight wherever the weight is not 0. `sums` has the field's
// channels, 1 or 2; `weights` has one.
void ImposeKnown(ZPImage& field, const ZPImage& sums, const ZPImage& weights);

// Carries a field of 1 or 2 channels to the next finer level: samples it at x * (w - 1) / (W - 1),
// so for y, and multiplies channel 0 by `stretchX`, channel 1 by `stretchY`. Throws
// ZPErrBadArgument unless both are float images of equal channels, 1 or 2.
void ResampleLevel(ZPImage& fine, const ZPImage& coarse, float stretchX = 1.0f,
                   float stretchY = 1.0f);

}  // namespace velorin
