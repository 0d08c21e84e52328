#pragma once

#include "image/bilinear.h"
#include "image/zp_image.h"

namespace velorin {

// Where the samples along one axis of a level lie on the next coarser one.
class CoarserPlaces {
  public:
    CoarserPlaces(int fineLast, int newCoarseLast)
        : coarseLast(newCoarseLast),
          from(static_cast<float>(newCoarseLast)),
          to(static_cast<float>(fineLast)) {}
    // The product first: i * (w - 1) / (W - 1).
    AxisSample At(int i) const {
        return LocateSample(static_cast<float>(i) * from / to, coarseLast);
    }

  private:
    int coarseLast;
    float from, to;
};

// The steps between and on the levels of a field that grows from known samples. All images are
// float; on one level they have its size, and sides are at least 2.

// Halves known samples, or their weights: smooths `fine` into `scratch`, of the same size and
// channels, and resamples that to `coarse`.
void ReduceLevel(ZPImage& coarse, const ZPImage& fine, ZPImage& scratch);

// Replaces the field by sum over weight wherever the weight is not 0. `sums` has the field's
// channels, 1 or 2; `weights` has one.
void ImposeKnown(ZPImage& field, const ZPImage& sums, const ZPImage& weights);

// Carries a field of 1 or 2 channels to the next finer level, sampled at its CoarserPlaces, and
// multiplies channel 0 by `stretchX`, channel 1 by `stretchY`. Throws ZPErrBadArgument unless both
// are float images of equal channels, 1 or 2.
void ResampleLevel(ZPImage& fine, const ZPImage& coarse, float stretchX = 1.0f,
                   float stretchY = 1.0f);

}  // namespace velorin
