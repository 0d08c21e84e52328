#include "cli/completion_parts.h"
#include "cli/option_values.h"
#include "cli/verb_texts.h"

namespace velorin {

namespace {

// A description in the brackets of an option; colons and brackets would end it.
std::string ZshText(std::string_view text) {
    std::string plain;
    for (const char letter : text) {
        if (letter == '[' || letter == ']' || letter == ':' || letter == '\\')
            plain.push_back('\\');
        plain.push_back(letter);
    }
    return plain;
}

// What completes a value, after the colon.
std::string ZshValue(std::string_view value, const std::vector<std::string_view>& words) {
    std::string action = TakesFile(value) ? "_files" : " ";
    if (!words.empty()) {
        const std::string list = WithSpaces(words);
        action = TakesFile(value) ? "{compadd " + list + "; _files}" : "(" + list + ")";
    }
    return ":" + ZshText(value) + ":" + action;
}

void AppendZshOption(std::string& text, const OptionEntry& option) {
    const std::vector<std::string_view> names = NamesOf(option);
    const bool isRepeated = option.traits.mostTimes > 1;
    for (const std::string_view name : names) {
        std::string rule = isRepeated ? "*" : "(" + WithSpaces(names) + ")";
        rule.append(name);
        // Long names take their value behind an equals sign too.
        if (!option.IsFlag() && name.starts_with("--")) rule.append("=");
        rule.append("[").append(ZshText(Brief(option.help))).append("]");
        if (!option.IsFlag()) rule.append(ZshValue(option.value, WordsFor(option)));
        text.append(" \\\n                ").append(ShellQuoted(rule));
    }
}

}  // namespace

std::string ZshCompletion() {
    std::string text =
        "#compdef velorin\n"
        "# Completion of velorin for zsh, written by velorin completion zsh.\n"
        "_velorin() {\n"
        "    if ((CURRENT == 2)); then\n"
        "        local -a verbs=(\n";
    for (const VerbText& verb : VerbTexts()) {
        const std::string row = std::string(verb.word) + ":" + ZshText(verb.summary);
        text.append("            ").append(ShellQuoted(row)).append("\n");
    }
    text.append(
        "        )\n"
        "        _describe verb verbs\n"
        "        [[ $PREFIX != -* ]] || compadd -- -h --help --version\n"
        "        return\n"
        "    fi\n"
        "    local verb=$words[2]\n"
        "    shift words\n"
        "    ((CURRENT--))\n"
        "    case $verb in\n");
    for (const VerbText& verb : VerbTexts()) {
        text.append("        ").append(verb.word).append(")\n            _arguments");
        text.append(" '(-h --help)'{-h,--help}'[tell all options]'");
        for (const OptionEntry* option : OptionsOf(verb.verb)) AppendZshOption(text, *option);
        const std::string_view input = InputOf(verb);
        if (!input.empty()) {
            const bool isFile = TakesFile(input);
            const std::string rule =
                (isFile ? ZshValue(input, {}) : ZshValue(verb.word, WordsOf(input)));
            text.append(" \\\n                ").append(ShellQuoted(rule));
        }
        text.append("\n            ;;\n");
    }
    return text +
           "    esac\n"
           "}\n"
           "if [[ $funcstack[1] == _velorin ]]; then\n"
           "    _velorin \"$@\"\n"
           "else\n"
           "    compdef _velorin velorin\n"
           "fi\n";
}

}  // namespace velorin
