#pragma once

#include <string>
#include <vector>

#include "media/guide_tracks.h"

namespace velorin {

// What a file of tracked points holds, in its own frame numbers and pixels.
struct GuideFile {
    std::vector<GuideTrack> tracks;  // at least one, and each with a position
    int width = 0;                   // of the picture the points were followed on, where the file
    int height = 0;                  // tells it; else 0
};

// Reads tracked points. The content, not the name's extension, tells which form it has: a table of
// positions, blocks with counted positions, keyframes as text, or JSON. Throws MediaError of kind
// kInput that names the line, or the place in JSON, and says what would be right there.
GuideFile ReadGuideFile(const std::string& name);

}  // namespace velorin
