#pragma once

#include <cstdint>
#include <utility>

#include "image/interleaved_lanes.h"

// Squares of 4 by 4 values.
namespace velorin::VELORIN_KERNEL_SET {

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

}  // namespace velorin::VELORIN_KERNEL_SET
