#pragma once

#include "cli/fingerprint.h"
#include "cli/options.h"
#include "cli/progress_line.h"
#include "cli/run_plan.h"

namespace velorin {

// Takes out of the plan what a run before it has finished: frames, or a movie, that are whole and
// bear the stamp that this run would give them. Removes what killed runs left half-written of the
// output. Says what is kept and what is rendered anew. Ends early when the user asks to stop.
void KeepFinished(const Options& options, RunPlan& plan, const Fingerprints& prints,
                  ProgressLine& progress);

}  // namespace velorin
