#pragma once

#include <utility>

#include "image/lanes.h"

// Interleaved channels, and rows that end within a vector.
namespace velorin::VELORIN_KERNEL_SET {

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

}  // namespace velorin::VELORIN_KERNEL_SET
