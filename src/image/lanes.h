#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

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
    return Floats{} + value;
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

// from[index] of each lane.
VELORIN_ALWAYS_INLINE Floats GatherFloats(const float* from, Ints index) {
#if defined(__AVX512F__)
    return (Floats)_mm512_i32gather_ps((__m512i)index, from, sizeof(float));
#elif defined(__AVX2__)
    return (Floats)_mm256_i32gather_ps(from, (__m256i)index, sizeof(float));
#else
    Floats gathered;
    for (int i = 0; i < kLanes; ++i) gathered[i] = from[index[i]];
    return gathered;
#endif
}

// Interleaved values, taken apart and put together: `from` and `to` hold 2 or 3 for each lane.
template <int... kLane>
VELORIN_ALWAYS_INLINE void SplitPairs(Floats low, Floats high, Floats& first, Floats& second,
                                      std::integer_sequence<int, kLane...>) {
    first = __builtin_shufflevector(low, high, (2 * kLane)...);
    second = __builtin_shufflevector(low, high, (2 * kLane + 1)...);
}
template <int... kLane>
VELORIN_ALWAYS_INLINE void JoinPairs(Floats first, Floats second, Floats& low, Floats& high,
                                     std::integer_sequence<int, kLane...>) {
    low = __builtin_shufflevector(first, second, (kLane / 2 + kLane % 2 * kLanes)...);
    high = __builtin_shufflevector(first, second, (kLanes / 2 + kLane / 2 + kLane % 2 * kLanes)...);
}
template <int kChannel, int... kLane>
VELORIN_ALWAYS_INLINE Floats PickThird(Floats low, Floats middle, Floats high,
                                       std::integer_sequence<int, kLane...>) {
    const Floats lower = __builtin_shufflevector(
        low, middle, (3 * kLane + kChannel < 2 * kLanes ? 3 * kLane + kChannel : 0)...);
    return __builtin_shufflevector(
        lower, high,
        (3 * kLane + kChannel < 2 * kLanes ? kLane : 3 * kLane + kChannel - kLanes)...);
}
// Vector `kPart` of the three that a, b and c make in turn: sample s is of channel s % 3.
template <int kPart, int... kLane>
VELORIN_ALWAYS_INLINE Floats JoinThird(Floats a, Floats b, Floats c,
                                       std::integer_sequence<int, kLane...>) {
    constexpr int kFirst = kPart * kLanes;
    const Floats pair = __builtin_shufflevector(
        a, b, ((kFirst + kLane) / 3 + (kFirst + kLane) % 3 % 2 * kLanes)...);
    return __builtin_shufflevector(
        pair, c, ((kFirst + kLane) % 3 == 2 ? kLanes + (kFirst + kLane) / 3 : kLane)...);
}
using EachLane = std::make_integer_sequence<int, kLanes>;

VELORIN_ALWAYS_INLINE void LoadPairs(const float* from, Floats& first, Floats& second) {
    SplitPairs(LoadFloats(from), LoadFloats(from + kLanes), first, second, EachLane());
}
VELORIN_ALWAYS_INLINE void StorePairs(float* to, Floats first, Floats second) {
    Floats low, high;
    JoinPairs(first, second, low, high, EachLane());
    StoreFloats(to, low);
    StoreFloats(to + kLanes, high);
}
VELORIN_ALWAYS_INLINE void StoreTriples(float* to, Floats a, Floats b, Floats c) {
    StoreFloats(to, JoinThird<0>(a, b, c, EachLane()));
    StoreFloats(to + kLanes, JoinThird<1>(a, b, c, EachLane()));
    StoreFloats(to + 2 * kLanes, JoinThird<2>(a, b, c, EachLane()));
}
VELORIN_ALWAYS_INLINE void LoadTriples(const float* from, Floats& a, Floats& b, Floats& c) {
    const Floats low = LoadFloats(from), middle = LoadFloats(from + kLanes),
                 high = LoadFloats(from + 2 * kLanes);
    a = PickThird<0>(low, middle, high, EachLane());
    b = PickThird<1>(low, middle, high, EachLane());
    c = PickThird<2>(low, middle, high, EachLane());
}

// A row's values at its end, where fewer than a vector are left: a copy that may be read to the
// vector's end. Elsewhere the row itself.
template <int kChannels>
class RowEnd {
  public:
    VELORIN_ALWAYS_INLINE const float* Reach(const float* from, int pixelsLeft) {
        if (pixelsLeft >= kLanes) return from;
        for (int i = 0; i < kChannels * kLanes; ++i) {
            copy[i] = i < kChannels * pixelsLeft ? from[i] : 0.0f;
        }
        return copy;
    }

  private:
    float copy[kChannels * kLanes];
};

// StoreFloats, StorePairs and StoreTriples of the first lanes alone, where fewer are left.
VELORIN_ALWAYS_INLINE void StoreFloats(float* to, Floats value, int left) {
    if (left >= kLanes) return StoreFloats(to, value);
    for (int i = 0; i < left; ++i) to[i] = value[i];
}
VELORIN_ALWAYS_INLINE void StorePairs(float* to, Floats first, Floats second, int pixelsLeft) {
    if (pixelsLeft >= kLanes) return StorePairs(to, first, second);
    for (int i = 0; i < pixelsLeft; ++i) {
        to[2 * i] = first[i];
        to[2 * i + 1] = second[i];
    }
}

VELORIN_ALWAYS_INLINE void StoreTriples(float* to, Floats a, Floats b, Floats c, int left) {
    if (left >= kLanes) return StoreTriples(to, a, b, c);
    for (int i = 0; i < left; ++i) {
        to[3 * i] = a[i];
        to[3 * i + 1] = b[i];
        to[3 * i + 2] = c[i];
    }
}

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

// Four neighbouring samples, from and to any address.
typedef float FourFloats __attribute__((vector_size(4 * sizeof(float))));

VELORIN_ALWAYS_INLINE FourFloats LoadFour(const float* from) {
    FourFloats loaded;
    __builtin_memcpy(&loaded, from, sizeof loaded);
    return loaded;
}
VELORIN_ALWAYS_INLINE void StoreFour(float* to, FourFloats value) {
    __builtin_memcpy(to, &value, sizeof value);
}

// As many fours as a vector holds: that at from + index[0], the one at from + index[4] and so on.
VELORIN_ALWAYS_INLINE Floats LoadFours(const float* from, const std::int32_t* index) {
#if defined(__AVX512F__)
    __m512 fours = _mm512_castps128_ps512(_mm_loadu_ps(from + index[0]));
    fours = _mm512_insertf32x4(fours, _mm_loadu_ps(from + index[4]), 1);
    fours = _mm512_insertf32x4(fours, _mm_loadu_ps(from + index[8]), 2);
    return (Floats)_mm512_insertf32x4(fours, _mm_loadu_ps(from + index[12]), 3);
#elif defined(__AVX2__)
    const __m256 first = _mm256_castps128_ps256(_mm_loadu_ps(from + index[0]));
    return (Floats)_mm256_insertf128_ps(first, _mm_loadu_ps(from + index[4]), 1);
#else
    return LoadFour(from + index[0]);
#endif
}

// Of each four lanes of `a` and of `b` the two from kFirst on: in turn, or those of `a` first.
template <int kFirst, typename Vector, int... kLane>
VELORIN_ALWAYS_INLINE Vector ZipTwo(Vector a, Vector b, std::integer_sequence<int, kLane...>) {
    constexpr int kOther = sizeof...(kLane);
    return __builtin_shufflevector(
        a, b, (kLane / 4 * 4 + kFirst + kLane % 4 / 2 + kLane % 2 * kOther)...);
}
template <int kFirst, typename Vector, int... kLane>
VELORIN_ALWAYS_INLINE Vector PairTwo(Vector a, Vector b, std::integer_sequence<int, kLane...>) {
    constexpr int kOther = sizeof...(kLane);
    return __builtin_shufflevector(
        a, b, (kLane / 4 * 4 + kFirst + kLane % 2 + kLane % 4 / 2 * kOther)...);
}

// Four vectors are the rows of squares of 4 by 4, one for each four lanes: makes them the columns.
template <typename Vector, typename Lanes>
VELORIN_ALWAYS_INLINE void TurnSquares(Vector row[4], Lanes lanes) {
    const Vector left = ZipTwo<0>(row[0], row[1], lanes), right = ZipTwo<2>(row[0], row[1], lanes);
    const Vector lowLeft = ZipTwo<0>(row[2], row[3], lanes);
    const Vector lowRight = ZipTwo<2>(row[2], row[3], lanes);
    row[0] = PairTwo<0>(left, lowLeft, lanes);
    row[1] = PairTwo<2>(left, lowLeft, lanes);
    row[2] = PairTwo<0>(right, lowRight, lanes);
    row[3] = PairTwo<2>(right, lowRight, lanes);
}
VELORIN_ALWAYS_INLINE void TurnSquare(FourFloats row[4]) {
    TurnSquares(row, std::make_integer_sequence<int, 4>());
}

// next[c] takes from[index + c] of each lane.
VELORIN_ALWAYS_INLINE void LoadNextFour(const float* from, const std::int32_t* index,
                                        Floats next[4]) {
    for (int i = 0; i < 4; ++i) next[i] = LoadFours(from, index + i);
    TurnSquares(next, EachLane());
}

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
