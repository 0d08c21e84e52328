#pragma once

#include <OpenImageIO/imageio.h>

#include <array>
#include <optional>
#include <string>

#include "media/clip.h"

namespace velorin {

// What one still holds. But for the last three members a sequence must be alike in it.
struct StillShape {
    Window data;     // where the stored pixels lie
    Window display;  // the part of the plane that is shown
    int channels = 0;
    SampleDepth depth = SampleDepth::kByte;
    int storedBits = 0;
    bool straightAlpha = true;
    Rational rate;         // frames a second; 0/1 if the header does not tell
    Rational pixelAspect;  // 1/1 if it does not
    // The file's channels that are gray (and alpha), or red, green, blue (and alpha).
    std::array<int, 4> source{};

    // "1920 x 1080, RGB, 8 bits"
    std::string Text() const;
};

// Reads the header of one still. `placed`: the format has a data and a display window (EXR). What
// it holds may be unusable: then the answer is empty and `problem` says why.
std::optional<StillShape> DescribeStill(const OIIO::ImageSpec& layout, bool placed,
                                        std::string& problem);

// The rectangle that holds both.
Window Union(const Window& a, const Window& b);
bool Contains(const Window& outer, const Window& inner);

// The type in which OpenImageIO hands over and takes samples of that depth.
OIIO::TypeDesc TransferType(SampleDepth depth);
// The type in which a file stores them.
OIIO::TypeDesc StoredType(SampleDepth depth);

}  // namespace velorin
