#pragma once

#include "cli/options.h"

namespace velorin {

// `velorin panel-dump`: writes the controls of a plug-in to the standard output. Answers the exit
// code, throws SparkHostError.
int PanelDump(const Options& options);

}  // namespace velorin
