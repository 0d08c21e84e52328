#pragma once

#include <OpenImageIO/imageio.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "media/clip.h"

namespace velorin {

// What is read of one still. A sequence must be alike in it up to `straightAlpha`.
struct StillShape {
    Window data;     // where the stored pixels lie
    Window display;  // the part of the plane that is shown
    int channels = 0;
    std::string content;  // "RGB", or the names of two chosen channels
    SampleDepth depth = SampleDepth::kByte;
    int storedBits = 0;
    bool straightAlpha = true;
    Rational rate;         // frames a second; 0/1 if the header does not tell
    Rational pixelAspect;  // 1/1 if it does not
    // The file's channels that are gray (and alpha), or red, green, blue (and alpha).
    std::array<int, 4> source{};
    std::optional<Timecode> timecode;
    bool sceneLinear = false;  // samples are proportional to light

    // "1920 x 1080, RGB, 8 bits"
    std::string Text() const;
};

// Two channels of a still by their numbers.
using ChannelPair = std::array<int, 2>;

// Reads the header of an open still, of the part that it is at. Without `pair` gray or colours are
// looked for by their names; a pair is read as red and green, and blue repeats the second. What the
// still holds may be unusable: then the answer is empty and `problem` says why.
std::optional<StillShape> DescribeStill(const OIIO::ImageInput& input,
                                        const std::optional<ChannelPair>& pair,
                                        std::string& problem);

// The number of the channel of that name, -1 if there is none.
int ChannelNamed(const std::vector<std::string>& names, const std::string& name);

// The rectangle that holds both.
Window Union(const Window& a, const Window& b);
bool Contains(const Window& outer, const Window& inner);

// The type in which OpenImageIO hands over and takes samples of that depth.
OIIO::TypeDesc TransferType(SampleDepth depth);
// The type in which a file stores them.
OIIO::TypeDesc StoredType(SampleDepth depth);

}  // namespace velorin
