#pragma once

#include <cstdint>
#include <type_traits>

#include "image/lanes.h"
#include "image/pixel_form.h"

// What a pixel's luminance is, in the range of bytes.
namespace velorin::VELORIN_KERNEL_SET {

// The weighted sum in the precision of its form. On purpose float for bytes with alpha and double
// for the others.
template <typename Real, typename Value>
VELORIN_ALWAYS_INLINE Real WeightedSum(const Value* p) {
    constexpr bool kFloat = std::is_same_v<Real, float>;
    constexpr Real kRed = kFloat ? static_cast<Real>(0.3f) : static_cast<Real>(0.3);
    constexpr Real kGreen = kFloat ? static_cast<Real>(0.59f) : static_cast<Real>(0.59);
    constexpr Real kBlue = kFloat ? static_cast<Real>(0.11f) : static_cast<Real>(0.11);
    return kRed * static_cast<Real>(p[0]) + kGreen * static_cast<Real>(p[1]) +
           kBlue * static_cast<Real>(p[2]);
}

template <int N>
VELORIN_ALWAYS_INLINE float LumaOfRgb(const std::uint8_t* p) {
    if constexpr (N == 1) return static_cast<float>(p[0]);
    if constexpr (N == 3) return static_cast<float>(WeightedSum<double>(p));
    if constexpr (N == 4) return WeightedSum<float>(p);
}

template <int N>
VELORIN_ALWAYS_INLINE float LumaOfRgb(const std::uint16_t* p) {
    if constexpr (N == 1) return static_cast<float>(p[0]) / 257.0f;
    if constexpr (N != 1) return static_cast<float>(WeightedSum<double>(p) / 257.0);
}

template <int N>
VELORIN_ALWAYS_INLINE float LumaOfRgb(const float* p) {
    if constexpr (N == 1) return p[0] * 255.0f;
    if constexpr (N != 1) return static_cast<float>(WeightedSum<double>(p) * 255.0);
}

// On purpose uneven, as in the three-channel forms below: bytes are divided by 257 as if they were
// words, words and floats keep the offset of 16; and luma is channel 0 of three, 1 of four.
template <int N>
VELORIN_ALWAYS_INLINE float LumaOfYCbCr(const std::uint8_t* p) {
    if constexpr (N == 1) return LumaOfRgb<1>(p);
    if constexpr (N == 3) return (static_cast<float>(p[0]) / 257.0f - 16.0f) * 255.0f / 219.0f;
    if constexpr (N == 4) return (static_cast<float>(p[1]) - 16.0f) * 255.0f / 219.0f;
}

template <int N>
VELORIN_ALWAYS_INLINE float LumaOfYCbCr(const std::uint16_t* p) {
    if constexpr (N == 1) return LumaOfRgb<1>(p);
    if constexpr (N == 3) return static_cast<float>(p[0]) / 257.0f * 255.0f / 219.0f;
    if constexpr (N == 4) return (static_cast<float>(p[1]) / 257.0f - 16.0f) * 255.0f / 219.0f;
}

template <int N>
VELORIN_ALWAYS_INLINE float LumaOfYCbCr(const float* p) {
    if constexpr (N == 1) return LumaOfRgb<1>(p);
    if constexpr (N == 3) return p[0] * 255.0f * 255.0f / 219.0f;
    if constexpr (N == 4) return (p[1] * 255.0f - 16.0f) * 255.0f / 219.0f;
}

// A row of `width` pixels. `lumaIsFirst`: they hold Y'CbCr.
template <typename Form>
VELORIN_ALWAYS_INLINE void LuminanceRow(const typename Form::Value* p, int width, bool lumaIsFirst,
                                        float* __restrict out) {
    constexpr int kChannels = Form::kChannels;
    if (lumaIsFirst) {
        for (int x = 0; x < width; ++x) out[x] = LumaOfYCbCr<kChannels>(p + x * kChannels);
    } else {
        for (int x = 0; x < width; ++x) out[x] = LumaOfRgb<kChannels>(p + x * kChannels);
    }
}

// Calls work(PixelForm<Value, N>()) for the form of a frame that has luminance.
template <typename Value, typename Work>
VELORIN_ALWAYS_INLINE void WithFrameChannels(int channels, Work&& work) {
    if (channels == 1) work(PixelForm<Value, 1>());
    if (channels == 3) work(PixelForm<Value, 3>());
    if (channels == 4) work(PixelForm<Value, 4>());
}
template <typename Work>
VELORIN_ALWAYS_INLINE void WithFrameForm(const ZPImage& frame, Work&& work) {
    if (frame.pixelType == ZPPixUChar) WithFrameChannels<std::uint8_t>(frame.channels, work);
    if (frame.pixelType == ZPPixUShort) WithFrameChannels<std::uint16_t>(frame.channels, work);
    if (frame.pixelType == ZPPixFloat) WithFrameChannels<float>(frame.channels, work);
}

}  // namespace velorin::VELORIN_KERNEL_SET
