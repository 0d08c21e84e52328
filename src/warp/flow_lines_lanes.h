#pragma once

#include <cstddef>
#include <utility>

#include "image/bilinear.h"
#include "image/bilinear_lanes.h"
#include "image/gather_lanes.h"
#include "image/zp_image.h"
#include "warp/flow_lines.h"

namespace velorin::VELORIN_KERNEL_SET {

// A flow, read at the pixels of a picture of another size, row after row. Between the flow's
// columns it is mixed once for each of its rows, which then serves several rows of the picture.
class FlowLines {
  public:
    // `scratch` holds FlowLineScratch(newWidth) floats, for as long as the object lives.
    VELORIN_ALWAYS_INLINE FlowLines(const ZPImage& newFlow, int newWidth, float scaleX,
                                    float* scratch)
        : flow(newFlow), line(static_cast<std::ptrdiff_t>(ScratchLine(newWidth))) {
        offsets = scratch;
        weights = offsets + line;
        upper = weights + line;
        lower = upper + 2 * line;
        for (std::ptrdiff_t x = 0; x < line; x += kLanes) {
            const Floats place = ToFloats(LaneNumbers() + static_cast<int>(x)) * scaleX;
            const AxisLanes column = LocateLanes(place, flow.lastColumn);
            StoreWords(offsets + x, column.index * kVectorBytes);
            StoreFloats(weights + x, column.weight);
        }
    }

    // `fy` is the picture's row, on the flow's rows.
    VELORIN_ALWAYS_INLINE void MoveTo(float fy) {
        const AxisSample row = LocateSample(fy, flow.lastRow);
        rowWeight = row.weight;
        if (row.index == upperRow) return;
        if (row.index == upperRow + 1) {
            std::swap(upper, lower);
        } else {
            MixRow(row.index, upper);
        }
        MixRow(row.index + 1, lower);
        upperRow = row.index;
    }

    // The vectors of columns `x` and on, in the flow's own pixels.
    VELORIN_ALWAYS_INLINE void At(int x, Floats& u, Floats& v) const {
        const Floats weight = AllLanes(rowWeight);
        u = MixLanes(LoadFloats(upper + x), LoadFloats(lower + x), weight);
        v = MixLanes(LoadFloats(upper + line + x), LoadFloats(lower + line + x), weight);
    }

  private:
    static constexpr int kVectorBytes = 2 * sizeof(float);

    VELORIN_ALWAYS_INLINE void MixRow(int y, float* mixed) const {
        const std::byte* row = flow.Row<std::byte>(y);
        for (std::ptrdiff_t x = 0; x < line; x += kLanes) {
            const Ints offset = (Ints)LoadFloats(offsets + x);
            Ints u, v, nextU, nextV;
            GatherWords(row, offset, u, v);
            GatherWords(row + kVectorBytes, offset, nextU, nextV);
            const Floats weight = LoadFloats(weights + x);
            StoreFloats(mixed + x, MixLanes((Floats)u, (Floats)nextU, weight));
            StoreFloats(mixed + line + x, MixLanes((Floats)v, (Floats)nextV, weight));
        }
    }

    const ZPImage& flow;
    std::ptrdiff_t line;
    float* offsets;  // ints, to each column's left neighbour
    float* weights;
    float* upper;  // the mixed rows around the picture's row: a line of u, a line of v
    float* lower;
    float rowWeight = 0.0f;
    int upperRow = -2;
};

}  // namespace velorin::VELORIN_KERNEL_SET
