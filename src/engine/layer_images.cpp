#include "engine/layer_images.h"

#include <algorithm>
#include <cstdio>

#include "flow/matte.h"
#include "image/arithmetic.h"
#include "image/copy.h"
#include "image/parallel_rows.h"
#include "image/pixel_form.h"
#include "image/rounding.h"

namespace velorin {

namespace {

// Not the constant of Premultiply, which differs for bytes in the last place.
template <typename Value>
constexpr float kFractionOfWhite = 1.0f / PictureType<Value>::kWhite;

template <typename Value>
void SubtractRows(ZPImage& a, const ZPImage& b, int firstRow, int lastRow) {
    for (int y = firstRow; y <= lastRow; ++y) {
        Value* out = a.Row<Value>(y);
        const Value* in = b.Row<Value>(y);
        for (int x = 0; x < a.width; ++x) {
            out[x] = out[x] > in[x] ? static_cast<Value>(out[x] - in[x]) : Value(0);
        }
    }
}

template <typename Value>
void PunchRows(ZPImage& a, const ZPImage& b, int firstRow, int lastRow) {
    constexpr double kWhite = static_cast<double>(PictureType<Value>::kWhite);
    for (int y = firstRow; y <= lastRow; ++y) {
        Value* out = a.Row<Value>(y);
        const float* in = b.Row<float>(y);
        for (int x = 0; x < a.width; ++x) {
            const double left = (1.0 - static_cast<double>(in[x])) * static_cast<double>(out[x]);
            out[x] = RoundClamped<Value>(std::min(std::max(left, 0.0), kWhite));
        }
    }
}

template <typename Value, int N>
void MultiplyRows(ZPImage& dest, const ZPImage& source, const ZPImage& matte, int firstRow,
                  int lastRow) {
    for (int y = firstRow; y <= lastRow; ++y) {
        Value* out = dest.Row<Value>(y);
        const Value* in = source.Row<Value>(y);
        const Value* cut = matte.Row<Value>(y);
        for (int x = 0; x < dest.width; ++x, out += 4, in += N) {
            const float k = static_cast<float>(cut[x]) * kFractionOfWhite<Value>;
            for (int c = 0; c < N; ++c) {
                out[c] = RoundClamped<Value>(static_cast<float>(in[c]) * k);
            }
            if constexpr (N == 3) out[3] = cut[x];
        }
    }
}

}  // namespace

void Subtract1Channel(ZPImage& a, const ZPImage& b) {
    const bool fits = a.channels == 1 && b.channels == 1 && a.pixelType == b.pixelType &&
                      !SizeDiffers(&a, &b) && WithPictureType(a.pixelType, [&](auto zero) {
                          ParallelRows(a.height, [&](int firstRow, int lastRow) {
                              SubtractRows<decltype(zero)>(a, b, firstRow, lastRow);
                          });
                      });
    if (!fits) std::fputs("error in image types for Subtract1Channel\n", stderr);
}

void RenderBlackMatte(ZPImage& a, const ZPImage& b) {
    const bool fits = a.channels == 1 && b.channels == 1 && b.pixelType == ZPPixFloat &&
                      !SizeDiffers(&a, &b) && WithPictureType(a.pixelType, [&](auto zero) {
                          ParallelRows(a.height, [&](int firstRow, int lastRow) {
                              PunchRows<decltype(zero)>(a, b, firstRow, lastRow);
                          });
                      });
    if (!fits) std::fputs("error in image types for RenderBlackMatte\n", stderr);
}

void MultiplyByMatte(ZPImage& dest, const ZPImage& source, const ZPImage& matte) {
    const bool fits = !SizeDiffers(&dest, &source) && !SizeDiffers(&dest, &matte) &&
                      dest.pixelType == source.pixelType && dest.pixelType == matte.pixelType &&
                      dest.channels == 4 && (source.channels == 3 || source.channels == 4) &&
                      matte.channels == 1;
    if (!fits) throw ZPErrBadArgument;
    WithPictureType(dest.pixelType, [&](auto zero) {
        using Value = decltype(zero);
        const auto multiply =
            source.channels == 3 ? MultiplyRows<Value, 3> : MultiplyRows<Value, 4>;
        ParallelRows(dest.height, [&](int firstRow, int lastRow) {
            multiply(dest, source, matte, firstRow, lastRow);
        });
    });
}

void LayerMatte(ZPImage& dest, const LayerMattes& mattes, int layer, int layerCount,
                const ZPImage* fallback) {
    if (layer != layerCount - 1) return CopyConverted(dest, *mattes[layer]);
    if (fallback && fallback->channels == 4) {
        return CopyCHannelIntoCHannel(dest, 0, *fallback, 3);
    }
    FillColor(dest, 1.0f, 1.0f, 1.0f, 1.0f);
}

void ExtendColors(ZPImage& image, ZPImage& scratchMatte, KQIdleAndProgressClass& progress) {
    CopyCHannelIntoCHannel(scratchMatte, 0, image, 3);
    progress.Tick();
    InvertImage(scratchMatte);
    progress.Tick();
    FillUnderMatte(image, scratchMatte, &progress, 3);
    progress.Tick();
}

}  // namespace velorin
