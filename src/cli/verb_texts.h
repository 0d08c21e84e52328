#pragma once

#include <span>
#include <string_view>

#include "cli/options.h"

namespace velorin {

// What the help of a verb says above its options.
struct VerbText {
    Verb verb;
    std::string_view word;
    std::string_view form;  // "INPUT -o OUTPUT"; its first word, if any, must be given
    std::string_view about;
    std::string_view examples;
    std::string_view summary;  // in a few words
};

std::span<const VerbText> VerbTexts();

const VerbText& TextOf(Verb verb);

}  // namespace velorin
