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

// Adds a point that moves from (x0, y0) to (x1, y1), in a frame of refWidth by refHeight, to the
// pixel nearest to where it begins: its vector, in the image's pixels, to `sums`, of 2 channels,
// and 1.0 to `counts`, of one. For the frame's last pixel to fall on the image's, the reference is
// the frame's size minus one. A point that begins outside and one that is not finite are dropped.
void AddMovingPoint(ZPImage& sums, ZPImage& counts, float x0, float y0, float x1, float y1,
                    float refWidth, float refHeight);

// Makes every pixel's sum the mean of its points, and its count 1.0.
void AveragePoints(ZPImage& sums, ZPImage& counts);

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
