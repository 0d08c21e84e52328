#pragma once

#include <cstddef>
#include <cstdint>

#include "image/float_rules.h"

#if defined(__AVX2__)
#include <immintrin.h>
#elif defined(__SSE2__) && !defined(VELORIN_PLAIN_LANES)
#include <emmintrin.h>
#endif

// Included by kernels alone: what is here is as wide as the set that a kernel is built for.
namespace velorin::VELORIN_KERNEL_SET {

#if defined(__AVX512F__)
inline constexpr int kLanes = 16;
#elif defined(__AVX2__)
inline constexpr int kLanes = 8;
#else
inline constexpr int kLanes = 4;
#endif

// Outputs of one rule side by side; never parts of one sum. Arithmetic is that of the plain types,
// lane by lane. A comparison gives Ints of 0 and -1, and `mask ? a : b` chooses lane by lane.
typedef float Floats __attribute__((vector_size(kLanes * sizeof(float))));
typedef std::int32_t Ints __attribute__((vector_size(kLanes * sizeof(float))));

#define VELORIN_ALWAYS_INLINE [[gnu::always_inline]] inline

VELORIN_ALWAYS_INLINE Floats AllLanes(float value) {
    return value - Floats{};  // a sum would lose the sign of -0.0
}

// 0, 1, 2 and so on.
VELORIN_ALWAYS_INLINE Ints LaneNumbers() {
    Ints numbers;
    for (int i = 0; i < kLanes; ++i) numbers[i] = i;
    return numbers;
}

// From and to any address.
VELORIN_ALWAYS_INLINE Floats LoadFloats(const float* from) {
    Floats loaded;
    __builtin_memcpy(&loaded, from, sizeof loaded);
    return loaded;
}
VELORIN_ALWAYS_INLINE void StoreFloats(float* to, Floats value) {
    __builtin_memcpy(to, &value, sizeof value);
}

// The lanes that `mask` chooses alone are touched; the others load as 0.
VELORIN_ALWAYS_INLINE Floats LoadFloatsWhere(const float* from, Ints mask) {
#if defined(__AVX512F__)
    return (Floats)_mm512_maskz_loadu_ps(_mm512_movepi32_mask((__m512i)mask), from);
#elif defined(__AVX2__)
    return (Floats)_mm256_maskload_ps(from, (__m256i)mask);
#else
    Floats loaded{};
    for (int i = 0; i < kLanes; ++i) {
        if (mask[i]) loaded[i] = from[i];
    }
    return loaded;
#endif
}
VELORIN_ALWAYS_INLINE void StoreFloatsWhere(float* to, Ints mask, Floats value) {
#if defined(__AVX512F__)
    _mm512_mask_storeu_ps(to, _mm512_movepi32_mask((__m512i)mask), (__m512)value);
#elif defined(__AVX2__)
    _mm256_maskstore_ps(to, (__m256i)mask, (__m256)value);
#else
    for (int i = 0; i < kLanes; ++i) {
        if (mask[i]) to[i] = value[i];
    }
#endif
}

VELORIN_ALWAYS_INLINE Floats ToFloats(Ints value) {
    return __builtin_convertvector(value, Floats);
}
// Cuts toward zero; every lane fits an int.
VELORIN_ALWAYS_INLINE Ints CutFloats(Floats value) {
    return __builtin_convertvector(value, Ints);
}

// Whether some lane of a comparison holds.
VELORIN_ALWAYS_INLINE bool AnyLane(Ints mask) {
#if defined(__AVX512F__)
    return _mm512_test_epi32_mask((__m512i)mask, (__m512i)mask) != 0;
#elif defined(__AVX2__)
    return _mm256_movemask_epi8((__m256i)mask) != 0;
#elif defined(__SSE2__) && !defined(VELORIN_PLAIN_LANES)
    return _mm_movemask_epi8((__m128i)mask) != 0;
#else
    int any = 0;
    for (int i = 0; i < kLanes; ++i) any |= mask[i];
    return any != 0;
#endif
}

// Brings each lane into 0 to `high`, which is above 0; NaN becomes 0.
VELORIN_ALWAYS_INLINE Floats ClampLanes(Floats value, Floats high) {
    // Of a NaN the maximum is its second operand.
#if defined(__AVX512F__)
    return (Floats)_mm512_min_ps(_mm512_max_ps((__m512)value, _mm512_setzero_ps()), (__m512)high);
#elif defined(__AVX2__)
    return (Floats)_mm256_min_ps(_mm256_max_ps((__m256)value, _mm256_setzero_ps()), (__m256)high);
#elif defined(__SSE2__) && !defined(VELORIN_PLAIN_LANES)
    return (Floats)_mm_min_ps(_mm_max_ps((__m128)value, _mm_setzero_ps()), (__m128)high);
#else
    const Floats low = value > 0.0f ? value : Floats{};
    return low < high ? low : high;
#endif
}

}  // namespace velorin::VELORIN_KERNEL_SET
