#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "cli/progress_line.h"
#include "media/clip.h"

namespace velorin {

// What a look at every frame of a clip tells of it; an entry for each frame.
struct ClipSurvey {
    // How surely a scene begins there, 0 to 100: see CutScorer. 0 in the holes of a sequence;
    // behind a hole the frame before it counts.
    std::vector<float> cutScores;
    // What changed since the frame before: see ChangeBetween. Beyond all bounds for the first
    // frame and in holes.
    std::vector<float> changes;
};

// Reads each frame once, in order, and keeps two and a few shrunken ones. Pictures of scene-linear
// light are looked at with compressed tones. Nothing when the user asked to stop.
std::optional<ClipSurvey> SurveyClip(std::unique_ptr<ClipReader> clip, ProgressLine& progress);

}  // namespace velorin
