#pragma once

#include "cli/options.h"

namespace velorin {

// `velorin plan`: tells what a run would do. Answers the program's exit code.
int Plan(const Options& options);

}  // namespace velorin
