#pragma once

#include <string>

#include "media/clip.h"

namespace velorin {

// What the files of one still format can hold.
struct StillFormat {
    const char* extension;  // small letters, without the dot
    bool word;
    bool half;
    bool single;  // 32-bit float
    bool alpha;
    bool grayAlpha;
};

// Looks up the format by the name's extension, in small or capital letters. Null for another.
const StillFormat* FindStillFormat(const std::string& name);

// "png, tif, ..." for messages.
std::string StillExtensions();

// The depth in which the format holds samples of `wanted`: see DepthForOutput.
SampleDepth StillDepth(const StillFormat& format, SampleDepth wanted);

// The layout of channels in which the format keeps that of `channels`.
int StillChannels(const StillFormat& format, int channels);

}  // namespace velorin
