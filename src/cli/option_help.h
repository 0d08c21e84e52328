#pragma once

#include <string>
#include <string_view>

#include "cli/options.h"

namespace velorin {

// Appends `text`, broken at spaces into lines that end before column `width`; all lines but the
// first begin with `margin`, and the first one is at its end already.
void AppendWrapped(std::string& page, std::string_view text, std::string_view margin,
                   std::size_t width);

// Examples first, then every option of the verb. Headings are in bold where `inColour`.
std::string HelpOf(Verb verb, bool inColour = false);

// The verbs.
std::string HelpOfProgram(bool inColour = false);

}  // namespace velorin
