#include "image/composite.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "image/parallel_rows.h"
#include "image/pixel_form.h"
#include "image/rounding.h"

namespace velorin {

namespace {

// A value as a fraction of white.
// On purpose multiplied by these constants: a division by white differs in the last place.
float Fraction(std::uint8_t value) {
    return value * 0.003921569f;
}
float Fraction(std::uint16_t value) {
    return value * 1.5259022e-5f;
}
float Fraction(float value) {
    return value;
}

template <typename Value>
void PremultiplyPixel(Value* pixel) {
    const float alpha = Fraction(pixel[3]);
    for (int c = 0; c < 3; ++c)
        pixel[c] = RoundInside<Value>(static_cast<double>(pixel[c] * alpha));
}

template <typename Value>
void UnpremultiplyPixel(Value* pixel) {
    constexpr float kWhite = PictureType<Value>::kWhite;
    if constexpr (std::is_floating_point_v<Value>) {
        if (pixel[3] < 1e-7f) return;
        const float k = 1.0f / pixel[3];
        for (int c = 0; c < 3; ++c) pixel[c] *= k;
    } else {
        if (pixel[3] == 0) return;
        const float k = kWhite / pixel[3];
        for (int c = 0; c < 3; ++c)
            pixel[c] = RoundInside<Value>(static_cast<double>(std::min(pixel[c] * k, kWhite)));
    }
}

template <typename Value>
void OverPixel(Value* out, const Value* in) {
    constexpr float kWhite = PictureType<Value>::kWhite;
    if (in[3] == 0) return;
    if (in[3] == kWhite) {
        std::copy_n(in, 4, out);
        return;
    }
    const float f = Fraction(in[3]);
    // Clamped: a colour above its alpha would else wrap around to black.
    for (int c = 0; c < 3; ++c) out[c] = RoundClamped<Value>(out[c] * (1.0f - f) + in[c]);
    out[3] = RoundClamped<Value>(out[3] + (kWhite - out[3]) * f);
}

// Calls work(pixel) with each pixel of an image that has colour and alpha; nothing for another.
template <typename Work>
void ForEachAlphaPixel(ZPImage& image, const Work& work) {
    if (image.channels != 4) return;
    if (image.pixelType == ZPPixFloat && image.whitePoint != 1.0f) return;
    WithPictureType(image.pixelType, [&](auto zero) {
        using Value = decltype(zero);
        ParallelRows(image.height, [&](int firstRow, int lastRow) {
            for (int y = firstRow; y <= lastRow; ++y) {
                Value* pixel = image.Row<Value>(y);
                for (int x = 0; x < image.width; ++x, pixel += 4) work(pixel);
            }
        });
    });
}

}  // namespace

void Premultiply(ZPImage& image) {
    ForEachAlphaPixel(image, [](auto* pixel) { PremultiplyPixel(pixel); });
}

void Unpremultiply(ZPImage& image) {
    ForEachAlphaPixel(image, [](auto* pixel) { UnpremultiplyPixel(pixel); });
}

void CompositeOver(ZPImage& destination, int dstX, int dstY, const ZPImage& source, int srcX,
                   int srcY, int lastColumn, int lastRow) {
    if (destination.channels != 4 || source.channels != 4) return;
    if (destination.pixelType != source.pixelType) return;
    WithPictureType(source.pixelType, [&](auto zero) {
        using Value = decltype(zero);
        ParallelRows(lastRow - srcY + 1, [&](int firstRow, int lastOutput) {
            for (int i = firstRow; i <= lastOutput; ++i) {
                Value* out = destination.Row<Value>(dstY + i) + dstX * 4;
                const Value* in = source.Row<Value>(srcY + i) + srcX * 4;
                for (int x = srcX; x <= lastColumn; ++x, out += 4, in += 4) OverPixel(out, in);
            }
        });
    });
}

}  // namespace velorin
