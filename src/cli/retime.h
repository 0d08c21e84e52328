#pragma once

#include "cli/options.h"

namespace velorin {

// Renders what `options` ask for and answers the code to exit with, an ExitCode. Throws UsageError
// for options that do not fit the clip, MediaError for files and std::runtime_error for a frame
// that cannot be rendered; nothing then stands under a final name that is not whole.
int Retime(const Options& options);

}  // namespace velorin
