#pragma once

#include "cli/options.h"

namespace velorin {

// `velorin info`: writes what is known of a clip to the standard output. Answers the exit code,
// throws MediaError.
int Info(const Options& options);

}  // namespace velorin
