#pragma once

#include "cli/options.h"

namespace velorin {

// `velorin verify`: looks through an output of `velorin retime` and writes on the standard output
// what is wrong with it. Returns the program's exit code; throws as Retime does.
int Verify(const Options& options);

}  // namespace velorin
