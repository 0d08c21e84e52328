#pragma once

#include "cli/layer_clips.h"
#include "cli/progress_line.h"

namespace velorin {

// Looks at a few frames of each matte that the plan's output frames read and tells the user, in
// one line for each, of one that is nowhere white or nowhere anything else, and of mattes that no
// output frame reads. The clips are those that were opened, not yet read ahead.
void NoteMatteRanges(const Options& options, const RunPlan& plan, const RunClips& clips,
                     ProgressLine& progress);

}  // namespace velorin
