#pragma once

#include <cstdint>
#include <limits>

#include "image/lanes.h"

namespace velorin::VELORIN_KERNEL_SET {

// A row's integers, as many as fill a 32-bit word in each lane: four bytes, or two of 16 bits.
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
    // Once for each part of words that are 0 at first; `value` lies in the type's range.
    VELORIN_ALWAYS_INLINE void Add(int part, Ints value) { words |= value << (part * kBits); }

    Ints words{};
};

}  // namespace velorin::VELORIN_KERNEL_SET
