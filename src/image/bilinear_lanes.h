#pragma once

#include <cstddef>

#include "image/lanes.h"
#include "image/zp_image.h"

namespace velorin::VELORIN_KERNEL_SET {

// LocateSample for each lane.
struct AxisLanes {
    Ints index;
    Floats weight;
};
VELORIN_ALWAYS_INLINE AxisLanes LocateLanes(Floats position, int last) {
    const Ints cut = CutFloats(position);
    const Ints past = cut >= last;
    return {past ? Ints{} + (last - 1) : cut, past ? AllLanes(1.0f) : position - ToFloats(cut)};
}

// a + t * (b - a), in this order.
VELORIN_ALWAYS_INLINE Floats MixLanes(Floats a, Floats b, Floats t) {
    return a + (b - a) * t;
}

// A float channel of one's own, read between its pixels: rows are whole floats apart.
class ChannelReader {
  public:
    VELORIN_ALWAYS_INLINE explicit ChannelReader(const ZPImage& image)
        : first(image.Row<float>(0)),
          step(image.rowStep / static_cast<int>(sizeof(float))),
          lastColumn(image.lastColumn),
          lastRow(image.lastRow) {}

    // Whether a place lies in the channel; a NaN does not.
    VELORIN_ALWAYS_INLINE Ints Holds(Floats sx, Floats sy) const {
        return (sx >= 0.0f) & (sx <= static_cast<float>(lastColumn)) & (sy >= 0.0f) &
               (sy <= static_cast<float>(lastRow));
    }
    // MixSquare of the four neighbours of places inside.
    VELORIN_ALWAYS_INLINE Floats Between(Floats sx, Floats sy) const {
        const AxisLanes column = LocateLanes(sx, lastColumn);
        const AxisLanes row = LocateLanes(sy, lastRow);
        const Ints at = row.index * step + column.index;
        Floats topLeft, topRight, bottomLeft, bottomRight;
        GatherNeighbours(first, at, topLeft, topRight);
        GatherNeighbours(first + step, at, bottomLeft, bottomRight);
        return MixLanes(MixLanes(topLeft, topRight, column.weight),
                        MixLanes(bottomLeft, bottomRight, column.weight), row.weight);
    }

  private:
    const float* first;
    int step;
    int lastColumn;
    int lastRow;
};

}  // namespace velorin::VELORIN_KERNEL_SET
