#pragma once

#include <memory>
#include <string>

#include "media/clip.h"

namespace velorin {

// Writes a movie: mp4 with H.264, mov with ProRes, mkv with FFV1, which loses nothing. The rate is
// the source's, or 24 frames a second where it has none. Colours are coded and marked as those of a
// movie that is the source, and as ITU-R BT.709 for stills; FFV1 holds RGB. Throws MediaError.
std::unique_ptr<ClipWriter> CreateMovie(const std::string& name, const OutputSettings& settings);

}  // namespace velorin
