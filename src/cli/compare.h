#pragma once

#include "cli/options.h"

namespace velorin {

// Renders one moment of a clip by every method into one labelled picture and answers the code to
// exit with, an ExitCode. Throws as Retime does.
int Compare(const Options& options);

}  // namespace velorin
