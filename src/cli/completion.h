#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cli/options.h"

namespace velorin {

// The shells that CompletionFor knows.
std::vector<std::string_view> CompletionShells();

// What makes that shell complete verbs, options and their values.
std::string CompletionFor(std::string_view shell);

// `velorin completion`: writes it to the standard output. Answers the exit code, throws UsageError.
int Completion(const Options& options);

}  // namespace velorin
