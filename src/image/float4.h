#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "image/float_rules.h"
#include "image/rounding.h"

#if defined(__SSE2__) && !defined(VELORIN_PLAIN_LANES)
#define VELORIN_SSE_LANES 1
#include <emmintrin.h>
#endif

namespace velorin {

// N independent floats: the channels of a pixel, or outputs of one rule side by side. Never parts
// of one sum.
template <int N>
struct FloatLanes {
    float lanes[N];

    static FloatLanes All(float value) {
        FloatLanes all;
        for (float& lane : all.lanes) lane = value;
        return all;
    }
    template <typename Value>
    static FloatLanes Load(const Value* from) {
        FloatLanes loaded;
        for (int i = 0; i < N; ++i) loaded.lanes[i] = static_cast<float>(from[i]);
        return loaded;
    }
    void Store(float* to) const { std::memcpy(to, lanes, sizeof lanes); }
};

template <int N>
FloatLanes<N> operator+(FloatLanes<N> a, FloatLanes<N> b) {
    for (int i = 0; i < N; ++i) a.lanes[i] += b.lanes[i];
    return a;
}
template <int N>
FloatLanes<N> operator-(FloatLanes<N> a, FloatLanes<N> b) {
    for (int i = 0; i < N; ++i) a.lanes[i] -= b.lanes[i];
    return a;
}
template <int N>
FloatLanes<N> operator*(FloatLanes<N> a, FloatLanes<N> b) {
    for (int i = 0; i < N; ++i) a.lanes[i] *= b.lanes[i];
    return a;
}
template <int N>
FloatLanes<N> operator*(FloatLanes<N> a, float b) {
    return a * FloatLanes<N>::All(b);
}

// The write of a pixel: RoundClamped on every channel.
template <int N, typename Value>
void StoreClamped(FloatLanes<N> value, Value* to) {
    for (int i = 0; i < N; ++i) to[i] = RoundClamped<Value>(value.lanes[i]);
}

// Four lanes. The plain form gives the same bits.
#ifdef VELORIN_SSE_LANES

struct Float4 {
    __m128 lanes;

    static Float4 All(float value) { return {_mm_set1_ps(value)}; }
    static Float4 Load(const float* from) { return {_mm_loadu_ps(from)}; }
    static Float4 Load(const std::uint8_t* from) {
        std::int32_t packed;
        std::memcpy(&packed, from, sizeof packed);
        const __m128i zero = _mm_setzero_si128();
        const __m128i words = _mm_unpacklo_epi8(_mm_cvtsi32_si128(packed), zero);
        return {_mm_cvtepi32_ps(_mm_unpacklo_epi16(words, zero))};
    }
    static Float4 Load(const std::uint16_t* from) {
        const __m128i words = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from));
        return {_mm_cvtepi32_ps(_mm_unpacklo_epi16(words, _mm_setzero_si128()))};
    }
    void Store(float* to) const { _mm_storeu_ps(to, lanes); }

    // Clamps and cuts each lane. Zero stands second on purpose: with a NaN, max answers its second
    // operand, so that NaN becomes 0.
    __m128i CutClamped(float white) const {
        const __m128 low = _mm_max_ps(lanes, _mm_setzero_ps());
        return _mm_cvttps_epi32(_mm_min_ps(low, _mm_set1_ps(white)));
    }
};

inline Float4 operator+(Float4 a, Float4 b) {
    return {_mm_add_ps(a.lanes, b.lanes)};
}
inline Float4 operator-(Float4 a, Float4 b) {
    return {_mm_sub_ps(a.lanes, b.lanes)};
}
inline Float4 operator*(Float4 a, Float4 b) {
    return {_mm_mul_ps(a.lanes, b.lanes)};
}
inline Float4 operator*(Float4 a, float b) {
    return a * Float4::All(b);
}

inline void StoreClamped(Float4 value, float* to) {
    value.Store(to);
}
inline void StoreClamped(Float4 value, std::uint8_t* to) {
    const __m128i cut = (value + Float4::All(0.5f)).CutClamped(255.0f);
    const __m128i words = _mm_packs_epi32(cut, cut);
    const std::int32_t packed = _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
    std::memcpy(to, &packed, sizeof packed);
}
inline void StoreClamped(Float4 value, std::uint16_t* to) {
    const __m128i cut = (value + Float4::All(0.5f)).CutClamped(65535.0f);
    // SSE2 packs with signed saturation only: shift the range down before and up after.
    const __m128i shifted = _mm_sub_epi32(cut, _mm_set1_epi32(32768));
    const __m128i words = _mm_xor_si128(_mm_packs_epi32(shifted, shifted),
                                        _mm_set1_epi16(static_cast<short>(0x8000)));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to), words);
}

#else

using Float4 = FloatLanes<4>;

#endif

// The lanes for a pixel of N channels.
template <int N>
using PixelLanes = std::conditional_t<N == 4, Float4, FloatLanes<N>>;

}  // namespace velorin
