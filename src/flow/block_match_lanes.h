#pragma once

#include <cstddef>
#include <cstdint>

#include "image/square_lanes.h"
#include "image/zp_image.h"

namespace velorin::VELORIN_KERNEL_SET {

// Places between the pixels of an image: the column and row at or before each and the weights of
// the next. Where `known` does not hold they are some place inside.
struct Places {
    Ints known;
    Ints column;
    Ints row;
    Floats tx;
    Floats ty;
};

// Compares blocks of 3 by 3 samples with those around places in an image, which has one float
// channel and at least 4 by 4 pixels.
class BlockMatcher {
  public:
    VELORIN_ALWAYS_INLINE explicit BlockMatcher(const ZPImage& image)
        : step(image.rowStep / static_cast<int>(sizeof(float))),
          beforeFirst(image.Row<float>(0) - step - 1),
          right(static_cast<float>(image.width - 2)),
          bottom(static_cast<float>(image.height - 2)),
          lastColumn(image.width - 3),
          lastRow(image.height - 3) {}

    // Known are the places whose surroundings of 4 by 4 samples lie in the image; a NaN is nowhere.
    // On purpose one tighter than the image: up to w - 2, though w - 1 is still inside.
    VELORIN_ALWAYS_INLINE Places Find(Floats sx, Floats sy) const {
        Places place;
        place.known = (sx >= 1.0f) & (sx <= right) & (sy >= 1.0f) & (sy <= bottom);
        const Floats x = place.known ? sx : AllLanes(1.0f);
        const Floats y = place.known ? sy : AllLanes(1.0f);
        place.column = x == right ? Ints{} + lastColumn : CutFloats(x);
        place.tx = x == right ? AllLanes(1.0f) : x - ToFloats(place.column);
        place.row = y == bottom ? Ints{} + lastRow : CutFloats(y);
        place.ty = y == bottom ? AllLanes(1.0f) : y - ToFloats(place.row);
        return place;
    }

    // Sum of squared differences, row by row. `a` is the middle of the blocks of which each lane
    // has one, their columns and rows so many floats apart.
    VELORIN_ALWAYS_INLINE Floats Difference(const float* a, std::ptrdiff_t columnStep,
                                            std::ptrdiff_t rowStep, const Places& place) const {
        const Floats w11 = place.ty * place.tx;
        const Floats w10 = place.tx - w11;
        const Floats w01 = place.ty - w11;
        const Floats w00 = ((1.0f - place.tx) - place.ty) + w11;
        std::int32_t corner[kLanes];
        const Ints index = place.row * step + place.column;
        __builtin_memcpy(corner, &index, sizeof corner);
        Floats sum{};
        Floats top[4], next[4];
        LoadNextFour(beforeFirst, corner, top);
        for (int j = 0; j < 3; ++j) {
            LoadNextFour(beforeFirst + (j + 1) * step, corner, next);
            for (int i = 0; i < 3; ++i) {
                const Floats b =
                    w00 * top[i] + w10 * top[i + 1] + w01 * next[i] + w11 * next[i + 1];
                const Floats d = LoadFloats(a + (j - 1) * rowStep + (i - 1) * columnStep) - b;
                sum += d * d;
            }
            for (int i = 0; i < 4; ++i) top[i] = next[i];
        }
        return sum;
    }

  private:
    int step;
    // A pixel left of and above the first, where the blocks around places begin.
    const float* beforeFirst;
    float right;
    float bottom;
    int lastColumn;
    int lastRow;
};

}  // namespace velorin::VELORIN_KERNEL_SET
