#pragma once

#include <string>

#include "cli/options.h"

namespace velorin {

// The manual page velorin(1), as its formatter wants it.
std::string ManPage();

// `velorin man`: writes it to the standard output. Answers the exit code.
int Man(const Options& options);

}  // namespace velorin
