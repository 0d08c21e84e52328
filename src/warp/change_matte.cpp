#include "warp/change_matte.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <type_traits>

#include "image/copy.h"
#include "image/float4.h"
#include "image/parallel_rows.h"
#include "image/pixel_form.h"

namespace velorin {

namespace {

bool IsByteMatte(const ZPImage& matte) {
    return matte.channels == 1 && matte.pixelType == ZPPixUChar;
}

// The absolute differences of three channels: summed in double and rounded once, which for integers
// is their exact sum.
template <typename Value>
float SumOfDifferences(const Value* a, const Value* b) {
    if constexpr (std::is_same_v<Value, float>) {
        const double red = static_cast<double>(std::fabs(a[0] - b[0]));
        const double green = static_cast<double>(std::fabs(a[1] - b[1]));
        const double blue = static_cast<double>(std::fabs(a[2] - b[2]));
        return static_cast<float>(red + green + blue);
    } else {
        const int sum = std::abs(a[0] - b[0]) + std::abs(a[1] - b[1]) + std::abs(a[2] - b[2]);
        return static_cast<float>(sum);
    }
}

template <typename Form>
void MarkRow(std::uint8_t* matte, const typename Form::Value* first,
             const typename Form::Value* second, int width, float limit) {
    for (int x = 0; x < width; ++x, first += Form::kChannels, second += Form::kChannels) {
        matte[x] = SumOfDifferences(first, second) < limit ? 0 : 255;
    }
}

// Mixes the first N channels of pixels that lie `step` values apart.
template <int N, typename Value>
void MixRow(Value* target, int targetStep, const Value* other, int otherStep,
            const std::uint8_t* matte, int width) {
    using Lanes = PixelLanes<N>;
    for (int x = 0; x < width; ++x, target += targetStep, other += otherStep) {
        if (matte[x] == 255) continue;
        if (matte[x] == 0) {
            for (int c = 0; c < N; ++c) target[c] = other[c];
            continue;
        }
        const float m = static_cast<float>(matte[x]) / 255.0f;
        StoreClamped(Lanes::Load(target) * m + Lanes::Load(other) * (1.0f - m), target);
    }
}

}  // namespace

int ZPChangeMatte(ZPImage& matte, const ZPImage& first, const ZPImage& second, float threshold,
                  int rowMode) {
    ClearImage(&matte);
    const bool fits = IsByteMatte(matte) && !SizeDiffers(&matte, &first) &&
                      !ShapeDiffers(&first, &second) && first.pixelType == second.pixelType;
    if (!fits) return ZPErrNone;
    const float limit = first.whitePoint * (threshold * threshold * threshold) * 3.0f;
    const int step = rowMode == 1 ? 1 : 2;
    const int start = rowMode == 3 ? matte.lastRow - 1 : matte.lastRow;
    WithPictureForm(first, [&](auto form) {
        using Form = decltype(form);
        using Value = typename Form::Value;
        if constexpr (Form::kChannels >= 3) {
            ParallelRows((start + step) / step, [&](int firstRow, int lastRow) {
                for (int i = firstRow; i <= lastRow; ++i) {
                    const int y = start - i * step;
                    MarkRow<Form>(matte.Row<std::uint8_t>(y), first.Row<Value>(y),
                                  second.Row<Value>(y), first.width, limit);
                }
            });
        }
    });
    return ZPErrNone;
}

void ZPMatteMix(ZPImage& target, const ZPImage& other, const ZPImage& matte) {
    const bool fits = IsByteMatte(matte) && !SizeDiffers(&target, &other) &&
                      !SizeDiffers(&target, &matte) && target.pixelType == other.pixelType &&
                      target.channels >= 3 && other.channels >= 3;
    if (!fits) return;
    WithPictureType(target.pixelType, [&](auto zero) {
        using Value = decltype(zero);
        const bool four = target.channels == 4 && other.channels == 4;
        const auto mix = four ? MixRow<4, Value> : MixRow<3, Value>;
        ParallelRows(target.height, [&](int firstRow, int lastRow) {
            for (int y = firstRow; y <= lastRow; ++y) {
                mix(target.Row<Value>(y), target.channels, other.Row<Value>(y), other.channels,
                    matte.Row<std::uint8_t>(y), target.width);
            }
        });
    });
}

}  // namespace velorin
