#pragma once

#include <cstddef>

#include "image/gather_lanes.h"
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
        Square square;
        if (!LoadTogether(column.index, row.index, square)) {
            const Ints at = row.index * step + column.index;
            GatherNeighbours(first, at, square.topLeft, square.topRight);
            GatherNeighbours(first + step, at, square.bottomLeft, square.bottomRight);
        }
        return MixLanes(MixLanes(square.topLeft, square.topRight, column.weight),
                        MixLanes(square.bottomLeft, square.bottomRight, column.weight), row.weight);
    }

  private:
    struct Square {
        Floats topLeft, topRight, bottomLeft, bottomRight;
    };

    // Where neighbours read neighbours, as a smooth flow makes them: from a few whole vectors of
    // two or three rows, at a fraction of what single values cost.
    VELORIN_ALWAYS_INLINE bool LoadTogether(Ints column, Ints row, Square& square) const {
#if defined(__AVX2__)
        const int left = column[0] - kLanes / 4;
        const Ints place = column - left;
        if (left < 0 || left + 2 * kLanes > lastColumn + 1) return false;
        if (AnyLane((place < 0) | (place > 2 * kLanes - 2))) return false;
        const int above = AnyLane(row < row[0]) ? row[0] - 1 : row[0];
        const Ints lower = row != above;
        const float* line = first + static_cast<std::ptrdiff_t>(above) * step + left;
        const Two top(line, place), middle(line + step, place);
        if (!AnyLane(lower)) {
            square = {top.here, top.next, middle.here, middle.next};
            return true;
        }
        if (AnyLane((row < above) | (row > above + 1))) return false;
        const Two bottom(line + 2 * static_cast<std::ptrdiff_t>(step), place);
        square = {lower ? middle.here : top.here, lower ? middle.next : top.next,
                  lower ? bottom.here : middle.here, lower ? bottom.next : middle.next};
        return true;
#else
        (void)column, (void)row, (void)square;
        return false;
#endif
    }

#if defined(__AVX2__)
    // The values of a line at places within two vectors, and those after them.
    struct Two {
        VELORIN_ALWAYS_INLINE Two(const float* line, Ints place) {
            const Floats low = LoadFloats(line), high = LoadFloats(line + kLanes);
            here = PickOfTwo(low, high, place);
            next = PickOfTwo(low, high, place + 1);
        }
        Floats here, next;
    };
#endif

    const float* first;
    int step;
    int lastColumn;
    int lastRow;
};

}  // namespace velorin::VELORIN_KERNEL_SET
