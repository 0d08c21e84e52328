#pragma once

#include "cli/options.h"
#include "cli/progress_line.h"
#include "cli/run_plan.h"

namespace velorin {

// Says what of the law of time will not do what the user expects.
void NoteTimes(const Options& options, const RunPlan& plan, ProgressLine& progress);

}  // namespace velorin
