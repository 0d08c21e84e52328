#pragma once

#include "image/rounding.h"

namespace velorin {

// The one rule by which every reader finds its samples along an axis: the sample at or before the
// position and the weight of the one after it. At and past the last sample it steps back one and
// uses weight 1.0, so the neighbour beyond the border is never read.
//
// The position lies in 0 to `last`, or anywhere above; `last` is at least 1.
struct AxisSample {
    int index;
    float weight;
};

inline AxisSample LocateSample(float position, int last) {
    const int index = TruncateInside(position);
    if (index >= last) return {last - 1, 1.0f};
    return {index, position - static_cast<float>(index)};
}

// The step of linear interpolation everywhere: a + t * (b - a), in this order.
template <typename Lane>
inline Lane Mix(Lane a, Lane b, float t) {
    return a + (b - a) * t;
}

// Four neighbours, horizontal first, vertical second.
template <typename Lane>
inline Lane MixSquare(Lane topLeft, Lane topRight, Lane bottomLeft, Lane bottomRight, float tx,
                      float ty) {
    const Lane top = Mix(topLeft, topRight, tx);
    const Lane bottom = Mix(bottomLeft, bottomRight, tx);
    return Mix(top, bottom, ty);
}

}  // namespace velorin
