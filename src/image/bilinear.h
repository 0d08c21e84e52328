#pragma once

#include <cstddef>

#include "image/float4.h"
#include "image/rounding.h"
#include "image/zp_image.h"

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

// A picture that is read at many places: what is fixed for all of them is found once.
template <typename Form>
class PixelReader {
  public:
    using Lanes = PixelLanes<Form::kChannels>;

    explicit PixelReader(const ZPImage& image)
        : firstRow(image.Row<std::byte>(0)),
          rowStep(image.rowStep),
          lastColumn(image.lastColumn),
          lastRow(image.lastRow) {}

    // The pixel of a column and a row.
    Lanes At(int column, int row) const { return Lanes::Load(Find(column, row)); }

    // The pixel at a place inside the image, all channels alike.
    Lanes Between(float sx, float sy) const {
        const AxisSample column = LocateSample(sx, lastColumn);
        const AxisSample row = LocateSample(sy, lastRow);
        const Value* top = Find(column.index, row.index);
        const Value* bottom = Find(column.index, row.index + 1);
        return MixSquare(Lanes::Load(top), Lanes::Load(top + Form::kChannels), Lanes::Load(bottom),
                         Lanes::Load(bottom + Form::kChannels), column.weight, row.weight);
    }

  private:
    using Value = typename Form::Value;

    const Value* Find(int column, int row) const {
        return reinterpret_cast<const Value*>(firstRow + row * rowStep) + column * Form::kChannels;
    }

    const std::byte* firstRow;
    std::ptrdiff_t rowStep;
    int lastColumn;
    int lastRow;
};

template <typename Form>
PixelLanes<Form::kChannels> SamplePixel(const ZPImage& image, float sx, float sy) {
    return PixelReader<Form>(image).Between(sx, sy);
}

// A flow, read along one line of a picture of possibly another size: what is fixed for the line is
// found once.
class FlowLine {
  public:
    // `fy` is the line's place on the flow's rows.
    FlowLine(const ZPImage& flow, float fy) : lastColumn(flow.lastColumn) {
        const AxisSample row = LocateSample(fy, flow.lastRow);
        top = flow.Row<float>(row.index);
        bottom = flow.Row<float>(row.index + 1);
        rowWeight = row.weight;
    }

    // The vector at `fx` on the flow's columns, in the flow's own pixels.
    void At(float fx, float& u, float& v) const {
        const AxisSample column = LocateSample(fx, lastColumn);
        const float* t = top + 2 * column.index;
        const float* b = bottom + 2 * column.index;
        u = MixSquare(t[0], t[2], b[0], b[2], column.weight, rowWeight);
        v = MixSquare(t[1], t[3], b[1], b[3], column.weight, rowWeight);
    }

  private:
    int lastColumn;
    const float* top;
    const float* bottom;
    float rowWeight;
};

}  // namespace velorin
