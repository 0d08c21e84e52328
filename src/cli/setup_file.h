#pragma once

#include <string>
#include <vector>

#include "cli/given_options.h"

namespace velorin {

// Options out of a TOML file: a key for each, by the option's name without its dashes. A flag is
// true or false; an option that may be given several times has one value or a list of them; a list
// of tables with frame, value and perhaps way is a list of keys.
//
// `text` is the file's, `file` its name in messages. All values are looked at, those of `verb` are
// returned. Throws UsageError for what is wrong, with its line.
std::vector<GivenOption> ParseSetup(const std::string& text, const std::string& file, Verb verb);

// The same of a file. Throws MediaError of kind kInput where it cannot be read.
std::vector<GivenOption> ReadSetup(const std::string& file, Verb verb);

}  // namespace velorin
