#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cli/option_table.h"

namespace velorin {

// What the table of options tells of values. The text that stands for one in the help has names in
// capitals and words in small letters, with bars between them.

// Whether `name`, such as "KEYS", is one of the parts.
bool HasPart(std::string_view value, std::string_view name);
// Whether the value can be the name of a file.
bool TakesFile(std::string_view value);
// The words that stand for themselves, such as those of "bash|zsh|fish".
std::vector<std::string_view> WordsOf(std::string_view value);

// What can be written for the option: its choices, or such words.
std::vector<std::string_view> WordsFor(const OptionEntry& option);
// The value that leaving the option out stands for; empty where there is none.
std::string_view DefaultOf(const OptionEntry& option);
// What the option does, its choices and its default.
std::string DescriptionOf(const OptionEntry& option);
// "blend, nearest"
std::string CommaList(const std::vector<std::string_view>& words);

}  // namespace velorin
