#pragma once

#include <string>

#include "media/clip.h"

namespace velorin {

// What one movie format is written with.
struct MovieFormat {
    const char* extension;  // small letters, without the dot
    const char* muxer;      // as the libraries call it
    const char* text;
};

// Looks up the format by the name's extension, in small or capital letters. Null for another.
const MovieFormat* FindMovieFormat(const std::string& name);

// Whether the name's extension is that of a movie that can be written.
bool IsMovieName(const std::string& name);

// "mp4 (H.264), ..." for messages.
std::string MovieExtensions();

// The depth in which that movie holds samples of `wanted`: see DepthForOutput.
SampleDepth MovieDepth(const std::string& name, SampleDepth wanted);

// See CanHoldAlpha and CanMarkFields; `name` is that of a movie.
bool MovieCanHoldAlpha(const std::string& name);
bool MovieCanMarkFields(const std::string& name, int height);

}  // namespace velorin
