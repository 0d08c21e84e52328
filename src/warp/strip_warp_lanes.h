#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>

#include "image/rounding.h"
#include "warp/flow_lines_lanes.h"
#include "warp/inverse_warp_kernel.h"
#include "warp/picture_lanes.h"

namespace velorin::VELORIN_KERNEL_SET {

// A place in the source and the bounds it is compared with.
struct Place {
    float sx;
    float sy;

    // Written so that a NaN is not inside.
    VELORIN_ALWAYS_INLINE bool Inside(float lastColumn, float lastRow) const {
        return sx >= 0.0f && sx <= lastColumn && sy >= 0.0f && sy <= lastRow;
    }
    VELORIN_ALWAYS_INLINE bool Off(float width, float height) const {
        return !(sx > -1.0f) || !(sx < width) || !(sy > -1.0f) || !(sy < height);
    }
};

// The place pulled into the image; the pixel's own where that is impossible.
VELORIN_ALWAYS_INLINE Place PullInside(Place place, float x, float y, float lastColumn,
                                       float lastRow) {
    if (!std::isfinite(place.sx) || !std::isfinite(place.sy)) return {x, y};
    ZPClipToImage(place.sx, place.sy, x, y, lastColumn, lastRow);
    return place.Inside(lastColumn, lastRow) ? place : Place{x, y};
}

// How much of a pixel in the band around the image is left.
//
// On purpose not reset for each pixel or row: along a run of places above or below the image the
// weight keeps falling, until a place off the left or right edge sets it anew.
VELORIN_ALWAYS_INLINE void Fade(const Place& place, const ZPImage& source, float& edgeWeight) {
    if (place.sx < 0.0f) {
        edgeWeight = place.sx + 1.0f;
    } else if (place.sx > static_cast<float>(source.lastColumn)) {
        edgeWeight = static_cast<float>(source.width) - place.sx;
    }
    if (place.sy < 0.0f) {
        edgeWeight = edgeWeight * (place.sy + 1.0f);
    } else if (place.sy > static_cast<float>(source.lastRow)) {
        edgeWeight = (static_cast<float>(source.height) - place.sy) * edgeWeight;
    }
}

VELORIN_ALWAYS_INLINE std::uint8_t FadedCoverage(float edgeWeight) {
    const float coverage = edgeWeight * 255.0f + 0.5f;
    return coverage > 255.0f ? 255 : static_cast<std::uint8_t>(TruncateInside(coverage));
}

// Rows of a picture that is moved along a flow.
template <typename Form>
class StripWarp {
  public:
    using Value = typename Form::Value;
    static constexpr int kChannels = Form::kChannels;

    VELORIN_ALWAYS_INLINE StripWarp(const MovedPicture& picture, bool newExtendEdges,
                                    float* scratch)
        : source(picture.source),
          extendEdges(newExtendEdges),
          pixels(source),
          right(static_cast<float>(source.lastColumn)),
          bottom(static_cast<float>(source.lastRow)),
          flowScaleY(static_cast<float>(picture.flow.lastRow) / bottom),
          travelX(picture.amount / FlowScaleX(picture)),
          travelY(picture.amount / flowScaleY),
          flow(picture.flow, source.width, FlowScaleX(picture), scratch) {}

    // `covered` may be null.
    [[gnu::noinline]] void Row(int row, Value* out, std::uint8_t* covered) {
        const float y = static_cast<float>(row);
        flow.MoveTo(y * flowScaleY);
        // Copies, as far as a compiler can tell what is stored might change the members.
        const FlowLines vectors = flow;
        const PictureLanes<Form> picture = pixels;
        const float toX = travelX, toY = travelY;
        const int width = source.width;
        for (int column = 0; column < width; column += kLanes) {
            Floats u, v;
            vectors.At(column, u, v);
            const Floats sx = ToFloats(LaneNumbers() + column) + toX * u;
            const Floats sy = y + toY * v;
            const int left = width - column;
            if (left >= kLanes && picture.HoldsAll(sx, sy)) {
                picture.Read(sx, sy, out + column * kChannels);
                if (covered) std::memset(covered + column, 255, kLanes);
            } else {
                const int count = left < kLanes ? left : kLanes;
                PixelByPixel(sx, sy, column, count, y, out, covered);
            }
        }
    }

  private:
    VELORIN_ALWAYS_INLINE static float FlowScaleX(const MovedPicture& picture) {
        return static_cast<float>(picture.flow.lastColumn) /
               static_cast<float>(picture.source.lastColumn);
    }

    // Where some place of a vector is off the image, and at a row's end.
    [[gnu::noinline]] void PixelByPixel(Floats sx, Floats sy, int column, int count, float y,
                                        Value* out, std::uint8_t* covered) {
        for (int i = 0; i < count; ++i) {
            const float x = static_cast<float>(column + i);
            const Place place{sx[i], sy[i]};
            Value* pixel = out + (column + i) * kChannels;
            std::uint8_t coverage = 255;
            if (place.Inside(right, bottom)) {
                pixels.ReadOne(place.sx, place.sy, pixel);
            } else if (extendEdges) {
                ReadPulled(place, x, y, pixel);
            } else {
                coverage = ReadBorder(place, x, y, pixel);
            }
            if (covered) covered[column + i] = coverage;
        }
    }

    VELORIN_ALWAYS_INLINE void ReadPulled(const Place& place, float x, float y, Value* out) const {
        const Place inside = PullInside(place, x, y, right, bottom);
        pixels.ReadOne(inside.sx, inside.sy, out);
    }

    // A place off the image, without extended edges. Answers the coverage.
    VELORIN_ALWAYS_INLINE std::uint8_t ReadBorder(const Place& place, float x, float y,
                                                  Value* out) {
        if (place.Off(static_cast<float>(source.width), static_cast<float>(source.height))) {
            for (int c = 0; c < kChannels; ++c) out[c] = 0;
            return 0;
        }
        Fade(place, source, edgeWeight);
        ReadPulled(place, x, y, out);
        for (int c = 0; c < kChannels; ++c) {
            out[c] = RoundInside<Value>(static_cast<float>(out[c]) * edgeWeight);
        }
        return FadedCoverage(edgeWeight);
    }

    const ZPImage& source;
    bool extendEdges;
    PictureLanes<Form> pixels;
    float right;
    float bottom;
    float flowScaleY;
    float travelX;
    float travelY;
    FlowLines flow;
    float edgeWeight = 1.0f;
};

}  // namespace velorin::VELORIN_KERNEL_SET
