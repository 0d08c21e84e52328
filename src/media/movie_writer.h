#pragma once

#include <memory>
#include <string>

#include "media/clip.h"

namespace velorin {

// Whether the name's extension is that of a movie that can be written.
bool IsMovieName(const std::string& name);

// "mp4 (H.264), ..." for messages.
std::string MovieExtensions();

// The depth in which that movie holds samples of `wanted`: see DepthForOutput.
SampleDepth MovieDepth(const std::string& name, SampleDepth wanted);

// See CanHoldAlpha and CanMarkFields; `name` is that of a movie.
bool MovieCanHoldAlpha(const std::string& name);
bool MovieCanMarkFields(const std::string& name, int height);

// Writes a movie: mp4 with H.264, mov with ProRes, mkv with FFV1, which loses nothing. The rate is
// the source's, or 24 frames a second where it has none. Colours are coded and marked as those of a
// movie that is the source, and as ITU-R BT.709 for stills; FFV1 holds RGB. Throws MediaError.
std::unique_ptr<ClipWriter> CreateMovie(const std::string& name, const OutputSettings& settings);

}  // namespace velorin
