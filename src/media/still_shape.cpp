#include "media/still_shape.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <string_view>

#include "media/timecode.h"

namespace velorin {
namespace {

// "diffuse." of "diffuse.R", empty for a channel of no layer.
std::string LayerOf(const std::string& name) {
    return name.substr(0, name.rfind('.') + 1);
}

// The numbers of a layer's red, green and blue; nothing unless all are there.
std::optional<std::array<int, 3>> ColoursOf(const std::vector<std::string>& names,
                                            const std::string& layer) {
    const std::array<int, 3> colours{ChannelNamed(names, layer + "R"),
                                     ChannelNamed(names, layer + "G"),
                                     ChannelNamed(names, layer + "B")};
    if (*std::min_element(colours.begin(), colours.end()) < 0) return {};
    return colours;
}

// The one layer that has colours. Empty where channels of no layer are colours, and where several
// layers have some.
std::string LayerWithColours(const std::vector<std::string>& names) {
    std::string found;
    if (ColoursOf(names, found)) return found;
    for (const std::string& name : names) {
        const std::string layer = LayerOf(name);
        if (layer == found || !ColoursOf(names, layer)) continue;
        if (!found.empty()) return {};
        found = layer;
    }
    return found;
}

// By the channels' names, which may stand in any order and among others; a single channel is gray
// whatever its name. Colours of a layer are taken where no others are there.
bool ChooseColours(const OIIO::ImageSpec& layout, StillShape& shape) {
    constexpr const char* kLayouts[] = {"", "gray", "gray and alpha", "RGB", "RGB and alpha"};
    const std::vector<std::string>& names = layout.channelnames;
    const int gray = layout.nchannels == 1 ? 0 : ChannelNamed(names, "Y");
    const std::string layer = gray < 0 ? LayerWithColours(names) : "";
    const int alpha = ChannelNamed(names, layer + "A");
    if (const auto colours = ColoursOf(names, layer)) {
        const auto [red, green, blue] = *colours;
        shape.source = {red, green, blue, alpha};
        shape.channels = alpha >= 0 ? 4 : 3;
    } else if (gray >= 0 && ChannelNamed(names, "RY") < 0) {
        shape.source = {gray, alpha, 0, 0};
        shape.channels = alpha >= 0 && alpha != gray ? 2 : 1;
    } else {
        return false;
    }
    shape.content = kLayouts[shape.channels];
    return true;
}

void ChoosePair(const OIIO::ImageSpec& layout, const ChannelPair& pair, StillShape& shape) {
    const auto [first, second] = pair;
    shape.source = {first, second, second, -1};
    shape.channels = 3;
    shape.content = layout.channelnames[first] + " and " + layout.channelnames[second];
}

bool DepthOf(OIIO::TypeDesc type, SampleDepth& depth) {
    if (type == OIIO::TypeDesc::UINT8) {
        depth = SampleDepth::kByte;
    } else if (type == OIIO::TypeDesc::UINT16) {
        depth = SampleDepth::kWord;
    } else if (type == OIIO::TypeDesc::HALF) {
        depth = SampleDepth::kHalf;
    } else if (type == OIIO::TypeDesc::FLOAT) {
        depth = SampleDepth::kFloat;
    } else {
        return false;
    }
    return true;
}

// The chosen channels may differ in depth (EXR); the deepest of them counts.
bool ChooseDepth(const OIIO::ImageSpec& layout, StillShape& shape) {
    const int used = shape.channels;
    for (int i = 0; i < used; ++i) {
        SampleDepth depth;
        if (!DepthOf(layout.channelformat(shape.source[i]), depth)) return false;
        shape.depth = i == 0 ? depth : std::max(shape.depth, depth);
    }
    return true;
}

Rational Reduced(std::int64_t numerator, std::int64_t denominator) {
    const std::int64_t common = std::gcd(numerator, denominator);
    return {numerator / common, denominator / common};
}

bool IsPositive(float value) {
    return std::isfinite(value) && value > 0.0f;
}

Rational RateOf(const OIIO::ImageSpec& layout) {
    if (const auto* exact = layout.find_attribute("FramesPerSecond", OIIO::TypeRational)) {
        const int* ratio = static_cast<const int*>(exact->data());
        if (ratio[0] > 0 && ratio[1] > 0) return {ratio[0], ratio[1]};
    }
    const float rate = layout.get_float_attribute("dpx:FrameRate", 0.0f);
    if (!IsPositive(rate) || rate > 10000.0f) return {};
    // A float cannot hold 24000/1001: what is not whole is taken for a rate of that kind if near.
    const auto whole = static_cast<std::int64_t>(std::lround(rate));
    if (std::abs(rate - static_cast<float>(whole)) < 0.0005f) return {whole, 1};
    if (std::abs(rate - static_cast<float>(whole) / 1.001f) < 0.005f) return {whole * 1000, 1001};
    return Reduced(std::llround(rate * 1000.0f), 1000);
}

std::optional<Timecode> TimecodeOf(const OIIO::ImageSpec& layout) {
    const auto* code = layout.find_attribute("smpte:TimeCode", OIIO::TypeTimeCode);
    if (!code) return {};
    const std::uint32_t word = *static_cast<const std::uint32_t*>(code->data());
    return TimecodeOfWord(word, TimecodeRate(RateOf(layout)));
}

// An EXR holds light unless it says otherwise, and so OpenImageIO reads it.
bool IsSceneLinear(const OIIO::ImageSpec& layout) {
    const std::string space = layout.get_string_attribute("oiio:ColorSpace");
    return space == "Linear" || space == "linear" || space == "scene_linear" ||
           space.compare(0, 4, "lin_") == 0;
}

Rational AspectOf(const OIIO::ImageSpec& layout) {
    const float aspect = layout.get_float_attribute("PixelAspectRatio", 1.0f);
    if (!IsPositive(aspect) || aspect < 0.01f || aspect > 100.0f) return {1, 1};
    return Reduced(std::llround(aspect * 10000.0f), 10000);
}

}  // namespace

std::string StillShape::Text() const {
    constexpr const char* kDepths[] = {"8 bits", "16 bits", "half", "float"};
    const std::string bits =
        storedBits > 0 ? std::to_string(storedBits) + " bits" : kDepths[static_cast<int>(depth)];
    return std::to_string(data.width) + " x " + std::to_string(data.height) + ", " + content +
           ", " + bits;
}

int ChannelNamed(const std::vector<std::string>& names, const std::string& name) {
    const auto found = std::find(names.begin(), names.end(), name);
    return found == names.end() ? -1 : static_cast<int>(found - names.begin());
}

std::optional<StillShape> DescribeStill(const OIIO::ImageInput& input,
                                        const std::optional<ChannelPair>& pair,
                                        std::string& problem) {
    const OIIO::ImageSpec& layout = input.spec();
    // The formats that place their picture by a data and a display window.
    const bool placed = std::string_view(input.format_name()) == "openexr";
    StillShape shape;
    if (pair) ChoosePair(layout, *pair, shape);
    if (layout.deep) {
        problem = "holds deep samples; flatten it first";
    } else if (layout.depth > 1) {
        problem = "is a volume; a flat picture is wanted";
    } else if (layout.get_string_attribute("tiff:ColorSpace") == "CMYK") {
        problem = "holds CMYK; write it as RGB";
    } else if (!pair && !ChooseColours(layout, shape)) {
        problem = "has the channels " + ListOf(layout.channelnames) + "; R, G, B, or Y, are wanted";
    } else if (!ChooseDepth(layout, shape)) {
        problem = "has samples of type " + std::string(layout.format.c_str()) +
                  "; 8 or 16 bits, half or float are wanted";
    } else {
        shape.data = {placed ? layout.x : 0, placed ? layout.y : 0, layout.width, layout.height};
        shape.display =
            placed ? Window{layout.full_x, layout.full_y, layout.full_width, layout.full_height}
                   : shape.data;
        const int bits = layout.get_int_attribute("oiio:BitsPerSample");
        const int full = shape.depth == SampleDepth::kByte ? 8 : 16;
        if (shape.depth <= SampleDepth::kWord && bits > 0 && bits < full) shape.storedBits = bits;
        shape.straightAlpha = layout.get_int_attribute("oiio:UnassociatedAlpha") != 0;
        shape.rate = RateOf(layout);
        shape.pixelAspect = AspectOf(layout);
        shape.timecode = TimecodeOf(layout);
        shape.sceneLinear = IsSceneLinear(layout);
        return shape;
    }
    return {};
}

Window Union(const Window& a, const Window& b) {
    const int x = std::min(a.x, b.x);
    const int y = std::min(a.y, b.y);
    return {x, y, std::max(a.x + a.width, b.x + b.width) - x,
            std::max(a.y + a.height, b.y + b.height) - y};
}

bool Contains(const Window& outer, const Window& inner) {
    return Union(outer, inner) == outer;
}

OIIO::TypeDesc TransferType(SampleDepth depth) {
    if (depth == SampleDepth::kByte) return OIIO::TypeDesc::UINT8;
    return depth == SampleDepth::kWord ? OIIO::TypeDesc::UINT16 : OIIO::TypeDesc::FLOAT;
}

OIIO::TypeDesc StoredType(SampleDepth depth) {
    return depth == SampleDepth::kHalf ? OIIO::TypeDesc::HALF : TransferType(depth);
}

}  // namespace velorin
