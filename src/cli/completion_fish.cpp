#include "cli/completion_parts.h"
#include "cli/option_values.h"
#include "cli/verb_texts.h"

namespace velorin {

namespace {

std::string FishOption(const VerbText& verb, const OptionEntry& option) {
    std::string text = "complete -c velorin -n '__velorin_verb " + std::string(verb.word) + "'";
    if (!option.letter.empty()) text.append(" -s ").append(option.letter.substr(1));
    text.append(" -l ").append(option.name.substr(2));
    const std::vector<std::string_view> words = WordsFor(option);
    const bool files = !option.IsFlag() && TakesFile(option.value);
    if (!option.IsFlag()) text.append(files ? " -r -F" : " -x");
    if (!words.empty()) text.append(" -a ").append(ShellQuoted(WithSpaces(words)));
    return text + " -d " + ShellQuoted(Brief(option.help)) + "\n";
}

}  // namespace

std::string FishCompletion() {
    std::string text =
        "# Completion of velorin for fish, written by velorin completion fish.\n"
        "function __velorin_verb\n"
        "    set -l words (commandline -opc)\n"
        "    if test (count $words) -lt 2\n"
        "        test (count $argv) -eq 0\n"
        "    else\n"
        "        contains -- $words[2] $argv\n"
        "    end\n"
        "end\n"
        "complete -c velorin -n __velorin_verb -f\n"
        "complete -c velorin -s h -l help -d 'tell all options'\n"
        "complete -c velorin -n __velorin_verb -l version -d 'tell the version'\n";
    for (const VerbText& verb : VerbTexts()) {
        text.append("complete -c velorin -n __velorin_verb -a ").append(verb.word);
        text.append(" -d ").append(ShellQuoted(verb.summary)).append("\n");
    }
    for (const VerbText& verb : VerbTexts()) {
        const std::string_view input = InputOf(verb);
        if (!TakesFile(input)) {
            text.append("complete -c velorin -f -n '__velorin_verb ").append(verb.word);
            text.append("' -a ").append(ShellQuoted(WithSpaces(WordsOf(input)))).append("\n");
        }
        for (const OptionEntry* option : OptionsOf(verb.verb)) {
            text.append(FishOption(verb, *option));
        }
    }
    return text;
}

}  // namespace velorin
