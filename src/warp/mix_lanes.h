#pragma once

#include "image/bilinear_lanes.h"
#include "image/packed_lanes.h"
#include "image/rounding.h"

namespace velorin::VELORIN_KERNEL_SET {

// dest = first + (second - first) * share for `count` values of a row, with a share in 0 to 1, so
// that a mix never leaves the type's range.
template <typename Value>
VELORIN_ALWAYS_INLINE void MixInside(Value* dest, const Value* first, const Value* second,
                                     int count, float share) {
    using Packed = PackedLanes<Value>;
    const Floats weight = AllLanes(share);
    int i = 0;
    for (; i + Packed::kValues <= count; i += Packed::kValues) {
        const Packed from = Packed::Load(first + i), to = Packed::Load(second + i);
        Packed mixed;
        for (int part = 0; part < Packed::kParts; ++part) {
            mixed.AddInside(part, MixLanes(from.Part(part), to.Part(part), weight));
        }
        mixed.Store(dest + i);
    }
    for (; i < count; ++i) {
        const float f = static_cast<float>(first[i]);
        dest[i] = RoundInside<Value>(f + (static_cast<float>(second[i]) - f) * share);
    }
}

}  // namespace velorin::VELORIN_KERNEL_SET
