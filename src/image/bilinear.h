#pragma once

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

// The pixel at a place inside the image, all channels alike.
template <typename Form>
PixelLanes<Form::kChannels> SamplePixel(const ZPImage& image, float sx, float sy) {
    using Value = typename Form::Value;
    using Lanes = PixelLanes<Form::kChannels>;
    constexpr int kChannels = Form::kChannels;
    const AxisSample column = LocateSample(sx, image.lastColumn);
    const AxisSample row = LocateSample(sy, image.lastRow);
    const Value* top = image.Row<Value>(row.index) + column.index * kChannels;
    const Value* bottom = image.Row<Value>(row.index + 1) + column.index * kChannels;
    return MixSquare(Lanes::Load(top), Lanes::Load(top + kChannels), Lanes::Load(bottom),
                     Lanes::Load(bottom + kChannels), column.weight, row.weight);
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
