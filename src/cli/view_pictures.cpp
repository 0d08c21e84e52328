#include "cli/view_pictures.h"

#include <algorithm>
#include <cmath>

#include "image/bilinear.h"
#include "image/float4.h"
#include "image/parallel_rows.h"
#include "image/pixel_form.h"

namespace velorin {

namespace {

using Images = std::vector<const ZPImage*>;

// Red, green, blue and full alpha, 0 to 1.
using Colour = float[4];
constexpr Colour kBlack = {0, 0, 0, 1};
constexpr Colour kWhite = {1, 1, 1, 1};

// A corner of the colour wheel and the number of hues from it up to the next one: more where the
// eye tells more of them apart.
struct Corner {
    Colour colour;
    float hues;
};
constexpr Corner kWheel[] = {{{1, 0, 0, 1}, 15}, {{1, 1, 0, 1}, 6},  {{0, 1, 0, 1}, 4},
                             {{0, 1, 1, 1}, 11}, {{0, 0, 1, 1}, 13}, {{1, 0, 1, 1}, 6}};
// A full turn leads from hue 0, red, to the last of the 55, red with a sixth of blue, and not back
// to red: the wheel is drawn so everywhere, and colours have to be comparable.
constexpr float kLastHue = 54.0f;
constexpr float kFullTurn = 6.2831853f;

constexpr float kTooLong = 0.75f;

// The strongest colours first; the weak ones are for layers that few shots have. None is dark: that
// is how a thin matte looks.
constexpr Colour kPalette[] = {{1, 0, 0, 1},    {0, 1, 0, 1},       {0.1f, 0.3f, 1, 1},
                               {1, 1, 0, 1},    {1, 0, 1, 1},       {0, 1, 1, 1},
                               {1, 0.5f, 0, 1}, {1, 0.6f, 0.8f, 1}, {1, 1, 1, 1}};

// `hue` counts from 0 to kLastHue and may lie between two.
Float4 ColourOfHue(float hue) {
    const Corner* from = kWheel;
    for (; hue >= from->hues; ++from) hue -= from->hues;
    const Corner* to = from + 1 == std::end(kWheel) ? kWheel : from + 1;
    return Mix(Float4::Load(from->colour), Float4::Load(to->colour), hue / from->hues);
}

// `right`, `down` and `fullScale` in pixels of the frame.
Float4 ColourOfMotion(float right, float down, float fullScale) {
    const float length = std::hypot(right, down);
    if (!std::isfinite(length)) return Float4::Load(kBlack);
    float turn = std::atan2(down, right);
    if (turn < 0.0f) turn += kFullTurn;
    const Float4 colour = ColourOfHue(turn / kFullTurn * kLastHue);
    if (length > fullScale) return Mix(Float4::Load(kBlack), colour, kTooLong);
    return Mix(Float4::Load(kWhite), colour, length / fullScale);
}

// How a flow, possibly null, is read at the pixels of a picture.
class MotionColours {
  public:
    MotionColours(const ZPImage* newFlow, const Picture& target, float newFullScale)
        : flow(newFlow), fullScale(newFullScale) {
        if (!flow) return;
        toFrameX = static_cast<float>(target.width) / static_cast<float>(flow->width);
        toFrameY = static_cast<float>(target.height) / static_cast<float>(flow->height);
    }

    Float4 At(int x, int y) const {
        if (!flow) return Float4::Load(kWhite);
        const float fx = (static_cast<float>(x) + 0.5f) / toFrameX - 0.5f;
        const float fy = (static_cast<float>(y) + 0.5f) / toFrameY - 0.5f;
        const FloatLanes<2> vector = SamplePixel<PixelForm<float, 2>>(
            *flow, std::clamp(fx, 0.0f, static_cast<float>(flow->lastColumn)),
            std::clamp(fy, 0.0f, static_cast<float>(flow->lastRow)));
        return ColourOfMotion(vector.lanes[0] * toFrameX, -vector.lanes[1] * toFrameY, fullScale);
    }

  private:
    const ZPImage* flow;
    float fullScale;
    float toFrameX = 1.0f;
    float toFrameY = 1.0f;
};

// Zero stands first in std::max: a NaN counts as black.
template <typename Value>
float ShareOf(Value matte) {
    const float share = static_cast<float>(matte) / PictureType<Value>::kWhite;
    return std::min(std::max(0.0f, share), 1.0f);
}

// Layer i has colourOf(i, x, y), y being a logical row; what lies behind them all is the layer
// after the last matte's.
template <typename Value, typename ColourOf>
void PaintRows(ZPImage& target, const Images& mattes, const ColourOf& colourOf, int firstRow,
               int lastRow) {
    const int background = static_cast<int>(mattes.size());
    for (int y = firstRow; y <= lastRow; ++y) {
        Value* pixel = target.Row<Value>(y);
        for (int x = 0; x < target.width; ++x, pixel += 4) {
            Float4 colour = colourOf(background, x, y);
            for (int i = background - 1; i >= 0; --i) {
                const float share = ShareOf(mattes[i]->Row<Value>(y)[x]);
                colour = Mix(colour, colourOf(i, x, y), share);
            }
            StoreClamped(colour * PictureType<Value>::kWhite, pixel);
        }
    }
}

template <typename ColourOf>
void PaintLayers(Picture& target, const Images& mattes, const ColourOf& colourOf) {
    // Its first line in memory is the top line, the last logical row.
    ZPImage image(target.pixels.data(), target.width, target.height, 4, target.pixelType, 1);
    WithPictureType(target.pixelType, [&](auto value) {
        ParallelRows(image.height, [&](int firstRow, int lastRow) {
            PaintRows<decltype(value)>(image, mattes, colourOf, firstRow, lastRow);
        });
    });
}

}  // namespace

void PaintFlow(Picture& target, const std::vector<const ZPImage*>& flows,
               const std::vector<const ZPImage*>& mattes, float fullScale) {
    std::vector<MotionColours> layers;
    for (const ZPImage* flow : flows) layers.emplace_back(flow, target, fullScale);
    PaintLayers(target, mattes, [&](int layer, int x, int y) { return layers[layer].At(x, y); });
}

void PaintMattes(Picture& target, const std::vector<const ZPImage*>& mattes) {
    const int background = static_cast<int>(mattes.size());
    PaintLayers(target, mattes, [&](int layer, int /*x*/, int /*y*/) {
        if (layer == background) return Float4::Load(kBlack);
        return Float4::Load(background == 1 ? kWhite : kPalette[layer]);
    });
}

}  // namespace velorin
