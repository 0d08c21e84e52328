#pragma once

#include <string>

namespace velorin {

// Whether text that goes to this descriptor may be in colour: it is a terminal that knows how, and
// its user has not set NO_COLOR.
bool TakesColour(int descriptor);

// The text as it is where not `inColour`.
std::string Bold(const std::string& text, bool inColour);
std::string BoldRed(const std::string& text, bool inColour);

}  // namespace velorin
