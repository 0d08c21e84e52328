#include "filter/gaussian_blur.h"

#include <cmath>

#include "filter/filter_image.h"
#include "image/rounding.h"

namespace velorin {

namespace {

FilterPass PassOf(int mode) {
    if (mode == 2) return FilterPass::kRows;
    if (mode == 3) return FilterPass::kColumns;
    return FilterPass::kBoth;
}

}  // namespace

// w[i] = 2 to the power of -i * i / s, with s the square of a third of the radius, scaled so that
// the whole kernel sums to 1. On purpose of base 2: the weight is 1/512 at the radius.
GaussianKernel::GaussianKernel(float radius) {
    if (!(radius < static_cast<float>(weights.size()))) throw ZPErrBadArgument;
    taps = TruncateInside(radius) + 1;
    const float s = (radius / 3.0f) * (radius / 3.0f);
    float sum = 0.0f;
    for (int i = 0; i < taps; ++i) {
        const float exponent = static_cast<float>(-i * i) / s;
        weights[i] = static_cast<float>(std::pow(2.0, static_cast<double>(exponent)));
        sum += weights[i];
    }
    const float total = 2.0f * sum - weights[0];
    for (int i = 0; i < taps; ++i) weights[i] /= total;
}

void GaussianBlur(ZPImage& image, int mode, float radius) {
    if (!(radius >= 0.001f)) return;
    const GaussianKernel kernel(radius);
    FilterImage(image, image, kernel.Half(), PassOf(mode));
}

}  // namespace velorin
