#pragma once

#include <cstddef>
#include <cstdint>

#include "image/interleaved_lanes.h"

// Values that each lane has at a place of its own.
namespace velorin::VELORIN_KERNEL_SET {

// from[index] and from[index + 1] of each lane.
VELORIN_ALWAYS_INLINE void GatherNeighbours(const float* from, Ints index, Floats& here,
                                            Floats& next) {
#if defined(__AVX512F__)
    const __m512i at = (__m512i)index;
    const Floats low = (Floats)_mm512_i32gather_pd(_mm512_castsi512_si256(at), from, sizeof(float));
    const Floats high =
        (Floats)_mm512_i32gather_pd(_mm512_extracti64x4_epi64(at, 1), from, sizeof(float));
    SplitPairs(low, high, here, next, EachLane());
#elif defined(__AVX2__)
    const auto* pairs = reinterpret_cast<const double*>(from);
    const __m256i at = (__m256i)index;
    const Floats low =
        (Floats)_mm256_i32gather_pd(pairs, _mm256_castsi256_si128(at), sizeof(float));
    const Floats high =
        (Floats)_mm256_i32gather_pd(pairs, _mm256_extracti128_si256(at, 1), sizeof(float));
    SplitPairs(low, high, here, next, EachLane());
#else
    for (int i = 0; i < kLanes; ++i) {
        here[i] = from[index[i]];
        next[i] = from[index[i] + 1];
    }
#endif
}

#if defined(__AVX2__)
// Of the values of two vectors, one after the other, that of each index; 0 to 2 * kLanes - 1.
VELORIN_ALWAYS_INLINE Floats PickOfTwo(Floats low, Floats high, Ints index) {
#if defined(__AVX512F__)
    return (Floats)_mm512_permutex2var_ps((__m512)low, (__m512i)index, (__m512)high);
#else
    const Floats fromLow = (Floats)_mm256_permutevar8x32_ps((__m256)low, (__m256i)index);
    const Floats fromHigh = (Floats)_mm256_permutevar8x32_ps((__m256)high, (__m256i)index);
    return index < kLanes ? fromLow : fromHigh;
#endif
}
#endif

// Two 32-bit words at each lane's offset in bytes, of any alignment. Loads into vector registers
// are as fast as the gathers of some processors with AVX2, and far faster than those of others.
VELORIN_ALWAYS_INLINE void GatherWords(const std::byte* from, Ints offset, Ints& first,
                                       Ints& second) {
#if defined(__AVX512F__)
    const __m512i order = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
    const __m512i at = _mm512_permutexvar_epi64(order, (__m512i)offset);
    const __m512 low =
        _mm512_castsi512_ps(_mm512_i32gather_epi64(_mm512_castsi512_si256(at), from, 1));
    const __m512 high =
        _mm512_castsi512_ps(_mm512_i32gather_epi64(_mm512_extracti64x4_epi64(at, 1), from, 1));
    first = (Ints)_mm512_shuffle_ps(low, high, _MM_SHUFFLE(2, 0, 2, 0));
    second = (Ints)_mm512_shuffle_ps(low, high, _MM_SHUFFLE(3, 1, 3, 1));
#else
    typedef std::int32_t Pair __attribute__((vector_size(2 * sizeof(std::int32_t))));
    typedef std::int32_t TwoPairs __attribute__((vector_size(4 * sizeof(std::int32_t))));
    std::int32_t at[kLanes];
    __builtin_memcpy(at, &offset, sizeof at);
    // Of the lanes i and i + 1.
    const auto load = [&](int i) __attribute__((always_inline)) {
        Pair low, high;
        __builtin_memcpy(&low, from + at[i], sizeof low);
        __builtin_memcpy(&high, from + at[i + 1], sizeof high);
        return __builtin_shufflevector(low, high, 0, 1, 2, 3);
    };
#if defined(__AVX2__)
    const auto join = [](TwoPairs low, TwoPairs high) __attribute__((always_inline)) {
        return _mm256_castsi256_ps(
            _mm256_inserti128_si256(_mm256_castsi128_si256((__m128i)low), (__m128i)high, 1));
    };
    const __m256 low = join(load(0), load(4)), high = join(load(2), load(6));
    first = (Ints)_mm256_shuffle_ps(low, high, _MM_SHUFFLE(2, 0, 2, 0));
    second = (Ints)_mm256_shuffle_ps(low, high, _MM_SHUFFLE(3, 1, 3, 1));
#else
    const TwoPairs low = load(0), high = load(2);
    first = __builtin_shufflevector(low, high, 0, 2, 4, 6);
    second = __builtin_shufflevector(low, high, 1, 3, 5, 7);
#endif
#endif
}

// The words of all lanes behind each other.
VELORIN_ALWAYS_INLINE void StoreWords(void* to, Ints words) {
    __builtin_memcpy(to, &words, sizeof words);
}
// The same of two words for each lane.
VELORIN_ALWAYS_INLINE void StoreWords(void* to, Ints first, Ints second) {
    Floats low, high;
    JoinPairs((Floats)first, (Floats)second, low, high, EachLane());
    __builtin_memcpy(to, &low, sizeof low);
    __builtin_memcpy(static_cast<std::byte*>(to) + sizeof low, &high, sizeof high);
}

// Pixels of four floats, at the offsets in bytes of as many pixels as fill the lanes.
inline constexpr int kLanePixels = kLanes / 4;
VELORIN_ALWAYS_INLINE Floats GatherPixels(const std::byte* from, const std::int32_t* offset) {
    const auto load = [&](int i) __attribute__((always_inline)) {
        typedef float Pixel __attribute__((vector_size(4 * sizeof(float))));
        Pixel pixel;
        __builtin_memcpy(&pixel, from + offset[i], sizeof pixel);
        return pixel;
    };
#if defined(__AVX512F__)
    const __m256 low = _mm256_insertf128_ps(_mm256_castps128_ps256(load(0)), load(1), 1);
    const __m256 high = _mm256_insertf128_ps(_mm256_castps128_ps256(load(2)), load(3), 1);
    return (Floats)_mm512_insertf32x8(_mm512_castps256_ps512(low), high, 1);
#elif defined(__AVX2__)
    return (Floats)_mm256_insertf128_ps(_mm256_castps128_ps256(load(0)), load(1), 1);
#else
    return load(0);
#endif
}

// One value for each of those pixels, in all four of its lanes: `part` 0 to 3 is which quarter of
// the values.
VELORIN_ALWAYS_INLINE Floats SpreadOverPixels(Floats values, int part) {
    const Ints lane = LaneNumbers() / 4 + part * kLanePixels;
#if defined(__AVX512F__)
    return (Floats)_mm512_permutexvar_ps((__m512i)lane, (__m512)values);
#elif defined(__AVX2__)
    return (Floats)_mm256_permutevar8x32_ps((__m256)values, (__m256i)lane);
#else
    return AllLanes(values[lane[0]]);
#endif
}

}  // namespace velorin::VELORIN_KERNEL_SET
