#include "cli/options.h"

#include <CLI/CLI.hpp>
#include <charconv>

#include "cli/job_options.h"
#include "cli/layer_options.h"
#include "cli/motion_options.h"
#include "cli/option_table.h"
#include "cli/time_options.h"

namespace velorin {

namespace {

constexpr std::size_t kHelpColumn = 26;
constexpr std::size_t kHelpWidth = 96;

// Appends `text` from the help column on, broken at spaces.
void AppendWrapped(std::string& help, std::string_view text) {
    const std::size_t room = kHelpWidth - kHelpColumn;
    while (text.size() > room) {
        const std::size_t space = text.rfind(' ', room);
        help.append(text.substr(0, space)).append("\n").append(kHelpColumn, ' ');
        text.remove_prefix(space + 1);
    }
    help.append(text).append("\n");
}

std::string ListOf(std::span<const Choice> choices) {
    std::string list;
    for (const Choice& choice : choices) {
        list.append(list.empty() ? "" : ", ").append(choice.word);
    }
    return list;
}

void AppendOption(std::string& help, const OptionEntry& option) {
    std::string left = option.letter.empty() ? "      " : "  " + std::string(option.letter) + ", ";
    left.append(option.name);
    if (!option.value.empty()) left.append(" ").append(option.value);
    if (left.size() + 2 > kHelpColumn) {
        help.append(left).append("\n");
        left.clear();
    }
    left.resize(kHelpColumn, ' ');
    help.append(left);
    std::string right(option.help);
    if (!option.choices.empty()) right.append(": " + ListOf(option.choices) + " (first: default)");
    AppendWrapped(help, right);
}

std::string ParserName(const OptionEntry& option) {
    std::string names(option.letter);
    if (!names.empty()) names.append(",");
    return names.append(option.name);
}

// How messages call an option: as most users write it.
std::string CalledName(const OptionEntry& option) {
    return std::string(option.letter.empty() ? option.name : option.letter);
}

void SetFrom(Options& options, const OptionEntry& option, const std::vector<std::string>& values) {
    if (values.size() > 1 && option.mostTimes == 1) {
        throw UsageError(CalledName(option) + " is given twice");
    }
    if (values.size() > static_cast<std::size_t>(option.mostTimes)) {
        throw UsageError(CalledName(option) + " is given " + std::to_string(values.size()) +
                         " times; " + std::to_string(option.mostTimes) + " are the most");
    }
    if (option.value.empty() && values[0] != "true") {
        throw UsageError(CalledName(option) + " takes no value");
    }
    for (const std::string& value : values) option.set(options, {option, value});
}

std::string CallOf(Verb verb) {
    return "velorin " + std::string(TextOf(verb).word);
}

std::string FormOf(Verb verb) {
    return CallOf(verb) + " " + std::string(TextOf(verb).form);
}

// What stands for the name that comes without an option.
std::string InputWord(Verb verb) {
    const std::string_view form = TextOf(verb).form;
    return std::string(form.substr(0, form.find(' ')));
}

// An option whose value is missing takes the next one for it.
void RefuseOptionAsValue(Verb verb, const std::vector<const OptionEntry*>& known,
                         const OptionEntry& option, const std::vector<std::string>& values) {
    for (const OptionEntry* other : known) {
        for (const std::string& value : values) {
            if (value != other->name && (other->letter.empty() || value != other->letter)) continue;
            throw UsageError(CalledName(option) + " needs a value before " + value + "; see " +
                             CallOf(verb) + " --help");
        }
    }
}

// What the parser could not place: options that are not known, or words beyond the first.
void RefuseExtras(Verb verb, const std::vector<std::string>& extras) {
    if (extras.empty()) return;
    for (const std::string& extra : extras) {
        if (extra.starts_with('-')) {
            throw UsageError(extra.substr(0, extra.find('=')) + " is not an option of " +
                             CallOf(verb) + "; see " + CallOf(verb) + " --help");
        }
    }
    throw UsageError(extras[0] + " is one name too many: " + FormOf(verb));
}

[[noreturn]] void RefuseMissing(Verb verb, const std::string& what) {
    throw UsageError(what + " is missing: " + FormOf(verb));
}

// Takes a number off the front of `text` and `mark`, if any, behind it.
bool TakeCount(std::string_view& text, std::string_view mark, int& number) {
    const char* end = text.data() + text.size();
    const auto [rest, failure] = std::from_chars(text.data(), end, number);
    if (failure != std::errc() || number < 0) return false;
    text.remove_prefix(static_cast<std::size_t>(rest - text.data()));
    if (!text.starts_with(mark)) return false;
    text.remove_prefix(mark.size());
    return true;
}

std::vector<const OptionEntry*> OptionsOf(Verb verb) {
    std::vector<const OptionEntry*> options;
    for (const OptionEntry& option : OptionTable()) {
        if (option.verbs & verb) options.push_back(&option);
    }
    return options;
}

}  // namespace

void Argument::Refuse(const std::string& whatWouldBeRight) const {
    const std::string given = text.empty() ? "needs a value" : std::string(text);
    throw UsageError(CalledName(option) + " " + given + ": " + whatWouldBeRight);
}

int Argument::AsChoice() const {
    for (const Choice& choice : option.choices) {
        if (choice.word == text) return choice.value;
    }
    Refuse("give one of " + ListOf(option.choices));
}

std::int64_t Argument::AsInteger(std::int64_t low, std::int64_t high) const {
    std::int64_t value = 0;
    const char* end = text.data() + text.size();
    const auto [rest, failure] = std::from_chars(text.data(), end, value);
    if (failure != std::errc() || rest != end || value < low || value > high) {
        Refuse("give a whole number from " + std::to_string(low) + " to " + std::to_string(high));
    }
    return value;
}

Decimal Argument::AsDecimal(std::int64_t low, std::int64_t high) const {
    const std::optional<Decimal> value = ParseDecimal(text);
    if (!value || value->numerator < low * value->denominator ||
        value->numerator > high * value->denominator) {
        Refuse("give a number from " + std::to_string(low) + " to " + std::to_string(high) +
               " with at most 9 digits after the point and without an exponent");
    }
    return *value;
}

Window Argument::AsWindow() const {
    Window window;
    std::string_view rest = text;
    const bool whole = TakeCount(rest, ",", window.x) && TakeCount(rest, ",", window.y) &&
                       TakeCount(rest, "x", window.width) && TakeCount(rest, "", window.height) &&
                       rest.empty();
    if (!whole || window.width < 1 || window.height < 1) {
        Refuse("give X,Y,WxH in pixels from the top left, such as 800,420,480x270");
    }
    return window;
}

std::string_view ChoiceWord(std::string_view option, int value) {
    for (const OptionEntry& entry : OptionTable()) {
        if (entry.name != option) continue;
        for (const Choice& choice : entry.choices) {
            if (choice.value == value) return choice.word;
        }
    }
    return {};
}

std::optional<Options> ParseOptions(Verb verb, int count, const char* const* words) {
    CLI::App parser;
    parser.set_help_flag();
    parser.allow_extras();
    const CLI::Option* help = parser.add_flag("-h,--help");
    Options options;
    parser.add_option("input", options.input);
    const std::vector<const OptionEntry*> known = OptionsOf(verb);
    std::vector<CLI::Option*> given;
    for (const OptionEntry* option : known) {
        given.push_back(option->value.empty()
                            ? parser.add_flag(ParserName(*option))
                            : parser.add_option(ParserName(*option))->expected(1));
        given.back()->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    }
    try {
        // Words in reverse order, as the parser wants them.
        parser.parse(std::vector<std::string>(std::make_reverse_iterator(words + count),
                                              std::make_reverse_iterator(words)));
    } catch (const CLI::ArgumentMismatch&) {
        // Every option takes one value at most, so it is the last word that lacks its own.
        throw UsageError(std::string(words[count - 1]) + " needs a value; see " + CallOf(verb) +
                         " --help");
    } catch (const CLI::ParseError& failure) {
        throw UsageError(failure.what());
    }
    if (help->count() > 0) return std::nullopt;
    for (std::size_t i = 0; i < known.size(); ++i) {
        if (given[i]->count() > 0) RefuseOptionAsValue(verb, known, *known[i], given[i]->results());
    }
    RefuseExtras(verb, parser.remaining());
    if (options.input.empty()) RefuseMissing(verb, InputWord(verb));
    for (std::size_t i = 0; i < known.size(); ++i) {
        if (given[i]->count() > 0) {
            SetFrom(options, *known[i], given[i]->results());
        } else if (known[i]->required) {
            RefuseMissing(verb, CalledName(*known[i]) + " " + std::string(known[i]->value));
        }
    }
    CompleteLayerOptions(options);
    CompleteMotionOptions(options);
    CompleteTimeOptions(options);
    CompleteJobOptions(options);
    return options;
}

std::string HelpOf(Verb verb) {
    std::string help = "Examples:\n";
    help.append(TextOf(verb).examples);
    help.append("\nUsage: " + FormOf(verb) + " [options]\n\n");
    help.append(TextOf(verb).about).append("\n");
    std::string_view group;
    for (const OptionEntry* option : OptionsOf(verb)) {
        if (option->group != group) {
            group = option->group;
            help.append("\n").append(group).append(":\n");
        }
        AppendOption(help, *option);
    }
    return help;
}

}  // namespace velorin
