#include "cli/completion.h"

#include <algorithm>
#include <cstdio>

#include "cli/completion_parts.h"
#include "cli/exit_codes.h"
#include "cli/option_values.h"
#include "cli/verb_texts.h"

namespace velorin {

namespace {

struct Shell {
    std::string_view name;
    std::string (*completion)();
};

constexpr Shell kShells[] = {
    {"bash", BashCompletion}, {"zsh", ZshCompletion}, {"fish", FishCompletion}};

}  // namespace

std::string_view InputOf(const VerbText& verb) {
    return verb.form.substr(0, verb.form.find(' '));
}

std::string WithSpaces(const std::vector<std::string_view>& words) {
    std::string text;
    for (const std::string_view word : words) text.append(text.empty() ? "" : " ").append(word);
    return text;
}

std::vector<std::string_view> NamesOf(const OptionEntry& option) {
    if (option.letter.empty()) return {option.name};
    return {option.letter, option.name};
}

std::string_view Brief(std::string_view text) {
    const std::size_t pause = std::min(text.find("; "), text.find(": "));
    return text.substr(0, pause);
}

std::string ShellQuoted(std::string_view text) {
    std::string quoted = "'";
    for (const char letter : text) {
        if (letter == '\'') {
            quoted.append("'\\''");
        } else {
            quoted.push_back(letter);
        }
    }
    return quoted + "'";
}

std::vector<std::string_view> CompletionShells() {
    std::vector<std::string_view> names;
    for (const Shell& shell : kShells) names.push_back(shell.name);
    return names;
}

std::string CompletionFor(std::string_view name) {
    const auto shell = std::find_if(std::begin(kShells), std::end(kShells),
                                    [&](const Shell& one) { return one.name == name; });
    if (shell != std::end(kShells)) return shell->completion();
    throw UsageError(std::string(name) + ": give one of " + CommaList(CompletionShells()));
}

int Completion(const Options& options) {
    std::fputs(CompletionFor(options.input).c_str(), stdout);
    return kExitDone;
}

}  // namespace velorin
