#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cli/option_table.h"
#include "cli/verb_texts.h"

// What the completions of all shells are made of.
namespace velorin {

std::string BashCompletion();
std::string ZshCompletion();
std::string FishCompletion();

// What stands for the word behind the verb; empty where there is none.
std::string_view InputOf(const VerbText& verb);

// "-o" and "--output", as far as there are both.
std::vector<std::string_view> NamesOf(const OptionEntry& option);

// The description up to its first pause.
std::string_view Brief(std::string_view text);

std::string WithSpaces(const std::vector<std::string_view>& words);

// Between single quotes, as any of the shells reads it.
std::string ShellQuoted(std::string_view text);

}  // namespace velorin
