#pragma once

#include "cli/options.h"
#include "cli/run_plan.h"

namespace velorin {

// Draws the law of time of a plan into the picture options.plot: the source frame and the speed of
// each output frame, the keys of a curve, scenes, and the borders of the clip. Throws MediaError.
void PlotLaw(const Options& options, const RunPlan& plan);

}  // namespace velorin
