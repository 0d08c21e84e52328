#pragma once

#include "cli/options.h"

namespace velorin {

// `velorin spark-render`: renders clips through a plug-in. Answers the exit code, throws
// UsageError, MediaError and SparkHostError.
int SparkRender(const Options& options);

}  // namespace velorin
