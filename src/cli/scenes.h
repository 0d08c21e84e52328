#pragma once

#include "cli/options.h"

namespace velorin {

// `velorin scenes`: finds the cuts of a clip. Answers the exit code.
int Scenes(const Options& options);

}  // namespace velorin
