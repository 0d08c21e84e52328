#pragma once

#include <string>
#include <vector>

#include "cli/option_table.h"

namespace velorin {

// What was written for one option.
struct GivenOption {
    const OptionEntry* option = nullptr;
    std::vector<std::string> values;  // one for each time; "true" of a flag; empty: not given
    std::string origin;               // "slow.toml, line 3"; empty: the command line

    bool IsGiven() const { return !values.empty(); }
};

// How messages call an option: as most users write it.
std::string CalledName(const OptionEntry& option);

// Sets the option, if it is given. Throws UsageError, which names the line of a file.
void SetOption(Options& options, const GivenOption& given);

// Sets all that is given and looks whether it goes together. Throws UsageError.
Options MakeOptions(const std::vector<GivenOption>& given);

// `text` and where each option that it names comes from, unless that is the command line.
std::string WithOrigins(const std::string& text, const SetupOptions& setup);

}  // namespace velorin
