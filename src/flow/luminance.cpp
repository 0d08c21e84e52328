#include "flow/luminance.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <type_traits>

#include "image/parallel_rows.h"
#include "image/pixel_form.h"

namespace velorin {

namespace {

// The weighted sum in the precision of its form. On purpose float for bytes with alpha and double
// for the others.
template <typename Real, typename Value>
Real WeightedSum(const Value* p) {
    constexpr bool kFloat = std::is_same_v<Real, float>;
    constexpr Real kRed = kFloat ? static_cast<Real>(0.3f) : static_cast<Real>(0.3);
    constexpr Real kGreen = kFloat ? static_cast<Real>(0.59f) : static_cast<Real>(0.59);
    constexpr Real kBlue = kFloat ? static_cast<Real>(0.11f) : static_cast<Real>(0.11);
    return kRed * static_cast<Real>(p[0]) + kGreen * static_cast<Real>(p[1]) +
           kBlue * static_cast<Real>(p[2]);
}

template <int N>
float LumaOfRgb(const std::uint8_t* p) {
    if constexpr (N == 1) return static_cast<float>(p[0]);
    if constexpr (N == 3) return static_cast<float>(WeightedSum<double>(p));
    if constexpr (N == 4) return WeightedSum<float>(p);
}

template <int N>
float LumaOfRgb(const std::uint16_t* p) {
    if constexpr (N == 1) return static_cast<float>(p[0]) / 257.0f;
    if constexpr (N != 1) return static_cast<float>(WeightedSum<double>(p) / 257.0);
}

template <int N>
float LumaOfRgb(const float* p) {
    if constexpr (N == 1) return p[0] * 255.0f;
    if constexpr (N != 1) return static_cast<float>(WeightedSum<double>(p) * 255.0);
}

// On purpose uneven, as in the three-channel forms below: bytes are divided by 257 as if they were
// words, words and floats keep the offset of 16; and luma is channel 0 of three, 1 of four.
template <int N>
float LumaOfYCbCr(const std::uint8_t* p) {
    if constexpr (N == 1) return LumaOfRgb<1>(p);
    if constexpr (N == 3) return (static_cast<float>(p[0]) / 257.0f - 16.0f) * 255.0f / 219.0f;
    if constexpr (N == 4) return (static_cast<float>(p[1]) - 16.0f) * 255.0f / 219.0f;
}

template <int N>
float LumaOfYCbCr(const std::uint16_t* p) {
    if constexpr (N == 1) return LumaOfRgb<1>(p);
    if constexpr (N == 3) return static_cast<float>(p[0]) / 257.0f * 255.0f / 219.0f;
    if constexpr (N == 4) return (static_cast<float>(p[1]) / 257.0f - 16.0f) * 255.0f / 219.0f;
}

template <int N>
float LumaOfYCbCr(const float* p) {
    if constexpr (N == 1) return LumaOfRgb<1>(p);
    if constexpr (N == 3) return p[0] * 255.0f * 255.0f / 219.0f;
    if constexpr (N == 4) return (p[1] * 255.0f - 16.0f) * 255.0f / 219.0f;
}

template <typename Form>
void ConvertRows(ZPImage& dest, const ZPImage& frame, bool lumaIsFirst, int firstRow, int lastRow) {
    using Value = typename Form::Value;
    constexpr int kChannels = Form::kChannels;
    const int width = std::min(dest.width, frame.width);
    for (int y = firstRow; y <= lastRow; ++y) {
        const Value* p = frame.Row<Value>(y);
        float* out = dest.Row<float>(y);
        if (lumaIsFirst) {
            for (int x = 0; x < width; ++x) out[x] = LumaOfYCbCr<kChannels>(p + x * kChannels);
        } else {
            for (int x = 0; x < width; ++x) out[x] = LumaOfRgb<kChannels>(p + x * kChannels);
        }
    }
}

}  // namespace

bool ConvertToLuminance(ZPImage& dest, const ZPImage& frame, bool lumaIsFirst) {
    if (frame.pixelType == ZPPixFloat && frame.whitePoint != 1.0f) {
        std::fputs(" floating image input to ZPOpticalFlowUChar is not in correct range\n", stderr);
        return false;
    }
    if (frame.channels == 2) return false;
    return WithPictureForm(frame, [&](auto form) {
        using Form = decltype(form);
        if constexpr (Form::kChannels != 2) {
            ParallelRows(std::min(dest.height, frame.height), [&](int firstRow, int lastRow) {
                ConvertRows<Form>(dest, frame, lumaIsFirst, firstRow, lastRow);
            });
        }
    });
}

}  // namespace velorin
