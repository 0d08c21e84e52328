#include "filter/convolve.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>

#include "filter/filter_image.h"
#include "image/parallel_rows.h"
#include "image/pixel_form.h"
#include "image/rounding.h"

namespace velorin {

namespace {

struct FreeBlock {
    void operator()(float* block) const { KQFreeChecked(block); }
};
using FloatBlock = std::unique_ptr<float[], FreeBlock>;

FloatBlock AllocateFloats(std::size_t count) {
    return FloatBlock(static_cast<float*>(KQAllocOrThrow(count * sizeof(float))));
}

struct Kernel {
    const float* weights;
    int taps;
    int Half() const { return taps / 2; }
};

// Over ascending taps; near an end those that lie inside, and then divided by their sum.
float ConvolveAt(const float* line, int length, int i, const Kernel& kernel) {
    const int begin = std::max(kernel.Half() - i, 0);
    const int end = std::min(kernel.taps, length - i + kernel.Half());
    float sum = 0.0f;
    float norm = 0.0f;
    for (int t = begin; t < end; ++t) {
        sum += kernel.weights[t] * line[i + t - kernel.Half()];
        norm += kernel.weights[t];
    }
    const bool whole = i >= kernel.Half() && i < length - kernel.Half();
    return whole ? sum : sum / norm;
}

// One channel of one line: `first` is its first value, `step` the bytes to the next.
template <typename Value>
void ConvolveLine(std::byte* first, std::ptrdiff_t step, int length, const Kernel& kernel,
                  float* buffer) {
    for (int i = 0; i < length; ++i) {
        buffer[i] = static_cast<float>(*reinterpret_cast<const Value*>(first + i * step));
    }
    for (int i = 0; i < length; ++i) {
        *reinterpret_cast<Value*>(first + i * step) =
            RoundClamped<Value>(ConvolveAt(buffer, length, i, kernel));
    }
}

// `buffers` holds one line for each line of the image that may run at a time, found by its number.
template <typename Value>
void ConvolveRows(ZPImage& image, const Kernel& kernel) {
    const FloatBlock buffers = AllocateFloats(static_cast<std::size_t>(image.width) * image.height);
    ParallelRows(image.height, [&](int firstRow, int lastRow) {
        for (int y = firstRow; y <= lastRow; ++y) {
            float* buffer = buffers.get() + static_cast<std::ptrdiff_t>(firstRow) * image.width;
            for (int c = 0; c < image.channels; ++c) {
                ConvolveLine<Value>(reinterpret_cast<std::byte*>(image.Row<Value>(y) + c),
                                    image.pixelBytes, image.width, kernel, buffer);
            }
        }
    });
}

template <typename Value>
void ConvolveColumns(ZPImage& image, const Kernel& kernel) {
    const FloatBlock buffers = AllocateFloats(static_cast<std::size_t>(image.width) * image.height);
    ParallelRows(image.width, [&](int firstColumn, int lastColumn) {
        float* buffer = buffers.get() + static_cast<std::ptrdiff_t>(firstColumn) * image.height;
        for (int i = firstColumn * image.channels; i < (lastColumn + 1) * image.channels; ++i) {
            ConvolveLine<Value>(reinterpret_cast<std::byte*>(image.Row<Value>(0) + i),
                                image.rowStep, image.height, kernel, buffer);
        }
    });
}

}  // namespace

void SmoothBinomial(ZPImage& image) {
    SmoothBinomial(image, image);
}

void SmoothBinomial(ZPImage& dest, const ZPImage& source) {
    FilterImage(dest, source, BinomialKernel(), FilterPass::kBoth);
}

HalfKernel BinomialKernel() {
    static constexpr float kWeights[] = {0.375f, 0.25f, 0.0625f};
    return kWeights;
}

void BoxFilter(ZPImage& image, int mode, float radius) {
    if (!(radius >= 0.001f)) return;
    const int side = static_cast<int>(std::ceil(radius));
    const int taps = 2 * side + 1;
    const FloatBlock weights = AllocateFloats(taps);
    std::fill_n(weights.get(), taps, 1.0f);
    const float fraction = radius - std::floor(radius);
    if (fraction > 0.0f) weights[0] = weights[taps - 1] = fraction;
    for (int i = 0; i < taps; ++i) weights[i] /= static_cast<float>(taps);
    Convolve(image, taps, weights.get(), mode, radius);
}

void Convolve(ZPImage& image, int taps, const float* weights, int mode, float radius) {
    if (taps < 1 || taps % 2 == 0) throw ZPErrBadArgument;
    if (!(radius >= 0.001f)) return;
    const Kernel kernel{weights, taps};
    WithPictureType(image.pixelType, [&](auto zero) {
        using Value = decltype(zero);
        if (mode == 0 || mode == 2) ConvolveRows<Value>(image, kernel);
        if (mode == 0 || mode == 3) ConvolveColumns<Value>(image, kernel);
    });
}

}  // namespace velorin
