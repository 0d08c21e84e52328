#include "filter/gaussian_blur.h"

#include <array>
#include <cmath>

#include "filter/filter_image.h"
#include "image/rounding.h"

namespace velorin {

namespace {

constexpr int kMaxTaps = 4096;

// w[i] = 2 to the power of -i * i / s, with s the square of a third of the radius, scaled so that
// the whole kernel sums to 1. On purpose of base 2: the weight is 1/512 at the radius.
int FillHalfKernel(float radius, std::array<float, kMaxTaps>& weights) {
    const int taps = TruncateInside(radius) + 1;
    const float s = (radius / 3.0f) * (radius / 3.0f);
    float sum = 0.0f;
    for (int i = 0; i < taps; ++i) {
        const float exponent = static_cast<float>(-i * i) / s;
        weights[i] = static_cast<float>(std::pow(2.0, static_cast<double>(exponent)));
        sum += weights[i];
    }
    const float total = 2.0f * sum - weights[0];
    for (int i = 0; i < taps; ++i) weights[i] /= total;
    return taps;
}

FilterPass PassOf(int mode) {
    if (mode == 2) return FilterPass::kRows;
    if (mode == 3) return FilterPass::kColumns;
    return FilterPass::kBoth;
}

}  // namespace

void GaussianBlur(ZPImage& image, int mode, float radius) {
    if (!(radius >= 0.001f)) return;
    if (radius >= static_cast<float>(kMaxTaps)) throw ZPErrBadArgument;
    std::array<float, kMaxTaps> weights;
    const int taps = FillHalfKernel(radius, weights);
    FilterImage(image, image, HalfKernel(weights.data(), taps), PassOf(mode));
}

}  // namespace velorin
