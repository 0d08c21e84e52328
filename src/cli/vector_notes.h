#pragma once

#include <string>

#include "cli/layer_clips.h"
#include "cli/progress_line.h"

namespace velorin {

// Looks at a few frames of each vector clip that the plan's output frames read, up to the first one
// that has a vector, and tells the user in one line of a clip where none has. The clips are those
// that were opened, not yet read ahead.
void NoteEmptyVectors(const Options& options, const RunPlan& plan, const RunClips& clips,
                      ProgressLine& progress);

// The vector clips and how they are read, for the user who wants to know, each on a line that
// begins with a line break.
std::string VectorsText(const Options& options, const RunClips& clips);

}  // namespace velorin
