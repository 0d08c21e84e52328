#pragma once

#include "cli/layer_clips.h"
#include "cli/progress_line.h"
#include "cli/run_plan.h"

namespace velorin {

// Tells before the first frame what a user might not expect of the run: holes of the input, what of
// its pixels and sound the output lacks, and options that change nothing.
void NoteRun(const Options& options, const RunPlan& plan, const RunClips& clips,
             ProgressLine& progress);

}  // namespace velorin
