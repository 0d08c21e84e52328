#pragma once

#include <cstdint>
#include <limits>

#include "image/lanes.h"

namespace velorin::VELORIN_KERNEL_SET {

// A row's values, as many as fill a 32-bit word in each lane: four bytes, two of 16 bits, a float.
template <typename Value>
struct PackedLanes {
    static constexpr int kBits = 8 * sizeof(Value);
    static constexpr int kParts = 32 / kBits;
    static constexpr int kValues = kParts * kLanes;

    VELORIN_ALWAYS_INLINE static PackedLanes Load(const Value* from) {
        PackedLanes loaded;
        __builtin_memcpy(&loaded.words, from, sizeof loaded.words);
        return loaded;
    }
    VELORIN_ALWAYS_INLINE void Store(Value* to) const {
        __builtin_memcpy(to, &words, sizeof words);
    }

    // One of each word's values.
    VELORIN_ALWAYS_INLINE Floats Part(int part) const {
        typedef std::uint32_t Words __attribute__((vector_size(sizeof(Ints))));
        constexpr std::uint32_t kMask = std::numeric_limits<Value>::max();
        const Words moved = part == 0 ? (Words)words : (Words)words >> (part * kBits);
        return ToFloats((Ints)(part == kParts - 1 ? moved : moved & kMask));
    }

    // Each once for each part of words that are 0 at first: RoundInside, RoundClamped.
    VELORIN_ALWAYS_INLINE void AddInside(int part, Floats value) {
        words |= CutFloats(value + 0.5f) << (part * kBits);
    }
    VELORIN_ALWAYS_INLINE void AddClamped(int part, Floats value) { AddCut(part, Raised(value)); }
    // The two steps of the last: what is added before the clamp, and the clamp with the cut.
    VELORIN_ALWAYS_INLINE static Floats Raised(Floats value) { return value + 0.5f; }
    VELORIN_ALWAYS_INLINE void AddCut(int part, Floats value) {
        const Floats white = AllLanes(std::numeric_limits<Value>::max());
        words |= CutFloats(ClampLanes(value, white)) << (part * kBits);
    }

    Ints words{};
};

template <>
struct PackedLanes<float> {
    static constexpr int kParts = 1;
    static constexpr int kValues = kLanes;

    VELORIN_ALWAYS_INLINE static PackedLanes Load(const float* from) { return {LoadFloats(from)}; }
    VELORIN_ALWAYS_INLINE void Store(float* to) const { StoreFloats(to, words); }
    VELORIN_ALWAYS_INLINE Floats Part(int /*part*/) const { return words; }
    VELORIN_ALWAYS_INLINE void AddInside(int /*part*/, Floats value) { words = value; }
    VELORIN_ALWAYS_INLINE void AddClamped(int /*part*/, Floats value) { words = value; }
    VELORIN_ALWAYS_INLINE static Floats Raised(Floats value) { return value; }
    VELORIN_ALWAYS_INLINE void AddCut(int /*part*/, Floats value) { words = value; }

    Floats words{};
};

}  // namespace velorin::VELORIN_KERNEL_SET
