#pragma once

#include <array>

#include "filter/line_filter.h"
#include "image/zp_image.h"

namespace velorin {

// The half kernel of the Gaussian below. The radius is above 0; from 4096 on it
// throws ZPErrBadArgument.
class GaussianKernel {
  public:
    explicit GaussianKernel(float radius);
    HalfKernel Half() const { return HalfKernel(weights.data(), taps); }

  private:
    int taps;
    std::array<float, 4096> weights;
};

// Blurs `image` in place with a separable Gaussian.
//
//   image   one of the picture forms; any other is left as it is
//   mode    0 or 1: both axes, rows first; 2: rows only; 3: columns only
//   radius  in pixels of `image`, where the weight has fallen to 1/512 of the centre's; below 0.001
//           the call does nothing
//
// Borders, limits and errors are those of FilterImage.
void GaussianBlur(ZPImage& image, int mode, float radius);

}  // namespace velorin
