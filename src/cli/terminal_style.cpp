#include "cli/terminal_style.h"

#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace velorin {

namespace {

bool IsSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value && *value;
}

}  // namespace

bool TakesColour(int descriptor) {
    if (IsSet("NO_COLOR") || !IsSet("TERM") || !isatty(descriptor)) return false;
    return std::string_view(std::getenv("TERM")) != "dumb";
}

std::string Bold(const std::string& text, bool inColour) {
    return inColour ? "\033[1m" + text + "\033[0m" : text;
}

std::string BoldRed(const std::string& text, bool inColour) {
    return inColour ? "\033[1;31m" + text + "\033[0m" : text;
}

}  // namespace velorin
