#include "cli/option_help.h"

#include "cli/option_table.h"
#include "cli/option_values.h"
#include "cli/terminal_style.h"
#include "cli/verb_texts.h"

namespace velorin {

namespace {

constexpr std::size_t kOptionColumn = 26;
constexpr std::size_t kVerbColumn = 37;
constexpr std::size_t kWidth = 96;

// `left` in a column of its own, which it may fill and leave a line of its own.
void AppendRow(std::string& help, std::string left, std::string_view right, std::size_t column) {
    if (left.size() + 2 > column) {
        help.append(left).append("\n");
        left.clear();
    }
    left.resize(column, ' ');
    help.append(left);
    AppendWrapped(help, right, std::string(column, ' '), kWidth);
    help.append("\n");
}

void AppendOption(std::string& help, const OptionEntry& option) {
    std::string left = option.letter.empty() ? "      " : "  " + std::string(option.letter) + ", ";
    left.append(option.name);
    if (!option.IsFlag()) left.append(" ").append(option.value);
    AppendRow(help, left, DescriptionOf(option), kOptionColumn);
}

}  // namespace

void AppendWrapped(std::string& page, std::string_view text, std::string_view margin,
                   std::size_t width) {
    const std::size_t room = width - margin.size();
    while (text.size() > room) {
        std::size_t space = text.rfind(' ', room);
        if (space == std::string_view::npos) space = text.find(' ', room);
        if (space == std::string_view::npos) break;
        page.append(text.substr(0, space)).append("\n").append(margin);
        text.remove_prefix(space + 1);
    }
    page.append(text);
}

std::string HelpOf(Verb verb, bool inColour) {
    const VerbText& text = TextOf(verb);
    const std::vector<const OptionEntry*> options = OptionsOf(verb);
    std::string help = Bold("Examples:", inColour) + "\n";
    help.append(text.examples);
    help.append("\n" + Bold("Usage:", inColour) + " velorin ").append(text.word);
    if (!text.form.empty()) help.append(" ").append(text.form);
    help.append(options.empty() ? "\n\n" : " [options]\n\n").append(text.about);
    if (!options.empty()) help.append("\n");
    std::string_view group;
    for (const OptionEntry* option : options) {
        if (option->group != group) {
            group = option->group;
            help.append("\n").append(Bold(std::string(group) + ":", inColour)).append("\n");
        }
        AppendOption(help, *option);
    }
    return help;
}

std::string HelpOfProgram(bool inColour) {
    std::string help = Bold("Usage:", inColour) +
                       " velorin VERB ...\n"
                       "\n"
                       "Computes the frames of a shot at another speed, by its motion.\n"
                       "\n" +
                       Bold("Verbs:", inColour) + "\n";
    for (const VerbText& verb : VerbTexts()) {
        std::string left = "  " + std::string(verb.word);
        if (!verb.form.empty()) left.append(" ").append(verb.form);
        AppendRow(help, left, verb.summary, kVerbColumn);
    }
    help.append("\nvelorin VERB --help tells all options of a verb.\n\n");
    AppendRow(help, "  -h, --help", "this text", kVerbColumn);
    AppendRow(help, "  --version", "the version of the program, and what it was built with",
              kVerbColumn);
    return help;
}

}  // namespace velorin
