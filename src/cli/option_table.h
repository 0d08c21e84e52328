#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "cli/options.h"

namespace velorin {

// What sets an option apart from most others.
struct OptionTraits {
    bool required = false;
    int mostTimes = 1;  // that it may be given; `set` is called for each
    // The value that leaving it out stands for, where it does not come from a clip.
    std::string_view whenNone = {};
    bool firstIsDefault = true;  // of choices
    // A note may tell the user that it is left out, which giving that value would end.
    bool toldWhenNone = false;
    // Options with the same word here exclude each other.
    std::string_view oneOf = {};
};

// An option of the program. The one table of them serves the parser, the help of all verbs, setup
// files, the manual page and the completion in shells.
struct OptionEntry {
    int verbs;                // those that take it, a sum of Verb
    std::string_view group;   // heading in the help; empty for those above all headings
    std::string_view letter;  // "-o", or empty
    std::string_view name;    // "--output"
    // Stands for the value in the help: names in capitals and words in small letters, with bars
    // between them. Empty for a flag.
    std::string_view value;
    std::string_view help;
    std::span<const Choice> choices;  // empty: any text; else the default first
    void (*set)(Options& options, const Argument& argument);
    OptionTraits traits = {};

    bool IsFlag() const { return value.empty(); }
};

std::span<const OptionEntry> OptionTable();
std::vector<const OptionEntry*> OptionsOf(Verb verb);

// Whether setup files hold it: it says how a clip is retimed, and not what one run does.
bool BelongsInSetup(const OptionEntry& option);

}  // namespace velorin
