#pragma once

#include "cli/options.h"

namespace velorin {

// `velorin vectors`: writes how the pixels of a clip move. Answers an exit code; throws UsageError
// and what media and the engine throw.
int Vectors(const Options& options);

}  // namespace velorin
