#include <map>

#include "cli/completion_parts.h"
#include "cli/option_values.h"
#include "cli/verb_texts.h"

namespace velorin {

namespace {

std::string VerbWords() {
    std::vector<std::string_view> words;
    for (const VerbText& verb : VerbTexts()) words.push_back(verb.word);
    return WithSpaces(words);
}

constexpr char kBashStart[] =
    "# Completion of velorin for bash, written by velorin completion bash.\n"
    "_velorin() {\n"
    "    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}\n"
    "    local options='-h --help' words= files=\n"
    "    # The shell takes --option=value for three words.\n"
    "    if [[ $word == '=' ]]; then\n"
    "        word=\n"
    "    elif [[ $before == '=' ]]; then\n"
    "        before=${COMP_WORDS[COMP_CWORD - 2]}\n"
    "    fi\n"
    "    COMPREPLY=()\n"
    "    if ((COMP_CWORD == 1)); then\n";

constexpr char kBashEnd[] =
    "    esac fi\n"
    "    if [[ $word == -* && -n $options ]]; then\n"
    "        mapfile -t COMPREPLY < <(compgen -W \"$options\" -- \"$word\")\n"
    "    elif [[ -n $words ]]; then\n"
    "        mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$word\")\n"
    "    fi\n"
    "    [[ -z $files || ${#COMPREPLY[@]} -gt 0 ]] || compopt -o default\n"
    "}\n"
    "complete -F _velorin velorin\n";

// What a value brings: words, the names of files, or neither.
std::string BashValue(const std::vector<std::string_view>& words, bool files) {
    std::string text;
    if (!words.empty()) text.append("words=").append(ShellQuoted(WithSpaces(words))).append(" ");
    if (files) text.append("files=1 ");
    return text;
}

std::string BashVerb(const VerbText& verb) {
    const std::vector<const OptionEntry*> options = OptionsOf(verb.verb);
    std::string names;
    std::map<std::string, std::string> patterns;  // by what is to be done
    for (const OptionEntry* option : options) {
        names.append(" ").append(WithSpaces(NamesOf(*option)));
        if (option->IsFlag()) continue;
        std::string& pattern = patterns[BashValue(WordsFor(*option), TakesFile(option->value))];
        for (const std::string_view name : NamesOf(*option)) {
            pattern.append(pattern.empty() ? "" : " | ").append(name);
        }
    }
    std::string text = "        " + std::string(verb.word) + ")\n            case $before in\n";
    for (const auto& [action, pattern] : patterns) {
        text.append("                ").append(pattern).append(") options= ");
        text.append(action).append(";;\n");
    }
    text.append("                *) options+=").append(ShellQuoted(names)).append(" ");
    text.append(BashValue(WordsOf(InputOf(verb)), TakesFile(InputOf(verb)))).append(";;\n");
    return text + "            esac\n            ;;\n";
}

}  // namespace

// A case for each verb, and in it one for the word before that to be completed.
std::string BashCompletion() {
    std::string text = kBashStart;
    text.append("        options+=' --version' words=").append(ShellQuoted(VerbWords()));
    text.append("\n    else case ${COMP_WORDS[1]} in\n");
    for (const VerbText& verb : VerbTexts()) text.append(BashVerb(verb));
    return text + kBashEnd;
}

}  // namespace velorin
