#pragma once

#include "cli/options.h"
#include "cli/progress_line.h"
#include "cli/run_plan.h"

namespace velorin {

inline bool ReadsPipe(const Options& options) {
    return options.input == kPipeName;
}
inline bool WritesPipe(const Options& options) {
    return options.output == kPipeName;
}

// Refuses with a UsageError what cannot be done through pipes.
void CheckPipes(const Options& options);

// Refuses a law that would need the clip's length, or pictures of a pipe that have gone by, with a
// UsageError.
void CheckPipedLaw(const Options& options, const LawFacts& law);

// The format of standard output.
PipeFormat PipeFormatFor(const Options& options, const RunPlan& plan);

// Says what of the output a pipe's format cannot hold.
void NotePipe(const Options& options, const RunPlan& plan, ProgressLine& progress);

}  // namespace velorin
