#pragma once

#include "cli/options.h"
#include "cli/progress_line.h"
#include "cli/run_plan.h"

namespace velorin {

// Says what of the law of time will not do what the user expects.
void NoteTimes(const Options& options, const RunPlan& plan, ProgressLine& progress);

// Says what of it leads past the clip's ends. Of an open plan, once these were seen.
void NoteEnds(const Options& options, const RunPlan& plan, ProgressLine& progress);

}  // namespace velorin
