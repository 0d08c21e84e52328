#pragma once

#include <memory>
#include <optional>

#include "media/clip.h"

namespace velorin {

// Values of a matte clip, as its files store them, that are taken for black and for white.
struct MatteLevels {
    float black = 0.0f;
    float white = 1.0f;  // above `black`
};

// How a clip becomes a matte.
struct MatteSettings {
    int channel = 0;                    // 0 red, 1 green, 2 blue
    std::optional<MatteLevels> levels;  // without them from 0 to white of the clip's own type
};

// One sample of a matte on its way from one pixel type to another: stretched by the levels, limited
// to black and white, scaled by the white points and rounded. NaN becomes 0. Without levels and
// with one type on both sides any sample stays as it is.
float ConvertMatteSample(float sample, int fromType, int toType,
                         const std::optional<MatteLevels>& levels);

// The smallest and the greatest value of the channel in a frame, as stored. NaN counts as 0.
struct ValueRange {
    float least = 0.0f;
    float greatest = 0.0f;
};
ValueRange RangeOf(const Picture& picture, int channel);

// The clip as a matte: pictures of one channel and of type `pixelType`.
std::unique_ptr<ClipReader> ReadAsMatte(std::unique_ptr<ClipReader> clip,
                                        const MatteSettings& settings, int pixelType);

// The clip in another pixel type, scaled by the white points and rounded; an integer type limits
// floats to black and white.
std::unique_ptr<ClipReader> ReadAsType(std::unique_ptr<ClipReader> clip, int pixelType);

}  // namespace velorin
