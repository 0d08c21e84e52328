#pragma once

#include <span>
#include <string_view>

#include "cli/options.h"

namespace velorin {

// An option of the program. The one table of them serves the parser and the help of all verbs.
struct OptionEntry {
    int verbs;                // those that take it, a sum of Verb
    std::string_view group;   // heading in the help; empty for those above all headings
    std::string_view letter;  // "-o", or empty
    std::string_view name;    // "--output"
    std::string_view value;   // stands for the value in the help; empty for a flag
    std::string_view help;
    std::span<const Choice> choices;  // empty: any text; else the default first
    void (*set)(Options& options, const Argument& argument);
    bool required = false;
    int mostTimes = 1;  // that it may be given; `set` is called for each
};

std::span<const OptionEntry> OptionTable();

// What the help of a verb says above its options.
struct VerbText {
    Verb verb;
    std::string_view word;
    std::string_view form;  // "INPUT -o OUTPUT"
    std::string_view about;
    std::string_view examples;
};

const VerbText& TextOf(Verb verb);

}  // namespace velorin
