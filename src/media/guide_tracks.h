#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace velorin {

// Where a point was found on one frame, in pixels.
struct GuidePosition {
    std::int64_t frame = 0;
    double x = 0;
    double y = 0;
    bool operator==(const GuidePosition&) const = default;
};

// A point that an artist or a tracker followed through a clip: at most one position a frame, in
// the order of frames. Frames may be missing.
struct GuideTrack {
    std::string name;
    std::vector<GuidePosition> positions;
};

// Whether y counts from the bottom line upwards, as the engine's rows do, or from the top line
// downwards.
enum class GuideOrigin { kBottom, kTop };

struct GuidePlacement {
    GuideOrigin origin = GuideOrigin::kBottom;
    int width = 0;  // of the clip's frames
    int height = 0;
    std::int64_t firstFrame = 0;  // the number that the file gives to frame 0 of the clip
};

struct PlacedGuides {
    std::vector<GuideTrack> tracks;  // those that have a position left
    std::size_t dropped = 0;         // positions outside the picture
};

// Brings a file's tracks to the frames and pixels of a clip: frames count from 0, x from the left
// column, y from the bottom line, and whole numbers are the centres of pixels. Positions beyond the
// centres of the outermost pixels are dropped.
PlacedGuides PlaceGuides(const std::vector<GuideTrack>& tracks, const GuidePlacement& placement);

struct GuideSpan {
    std::int64_t first = 0;
    std::int64_t last = 0;
};

// The first and the last frame at which there is a position; at least one track has one.
GuideSpan SpanOf(const std::vector<GuideTrack>& tracks);

// For each frame of a clip of `frames` but the last: whether a track has a position on it and on
// the one after it.
std::vector<bool> GuidedPairs(const std::vector<GuideTrack>& tracks, std::int64_t frames);

// The places of the same points at two times, index by index.
struct GuidePairs {
    std::vector<float> xA, yA, xB, yB;
};

// Pairs the positions of all tracks that have one at both times, in frames. Between two
// neighbouring frames a point moves evenly; where either of them has no position, it has none
// between them.
GuidePairs PairGuides(const std::vector<GuideTrack>& tracks, double timeA, double timeB);

}  // namespace velorin
