#include "cli/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>

#include "cli/given_options.h"
#include "cli/nearest_name.h"
#include "cli/option_table.h"
#include "cli/option_values.h"
#include "cli/setup_file.h"
#include "cli/setup_text.h"
#include "cli/verb_texts.h"

namespace velorin {

namespace {

std::string ParserName(const OptionEntry& option) {
    std::string names(option.letter);
    if (!names.empty()) names.append(",");
    return names.append(option.name);
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
    std::vector<std::string_view> names;
    for (const OptionEntry* option : OptionsOf(verb)) names.push_back(option->name);
    for (const std::string& extra : extras) {
        if (!extra.starts_with('-')) continue;
        const std::string name = extra.substr(0, extra.find('='));
        const std::string_view nearest = NearestName(name, names);
        throw UsageError(name + " is not an option of " + CallOf(verb) +
                         (nearest.empty() ? "" : "; the nearest is " + std::string(nearest)) +
                         "; see " + CallOf(verb) + " --help");
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

// What the words of a command line say.
struct CommandLine {
    bool asksForHelp = false;
    std::string input;
    std::vector<GivenOption> given;  // for each option of the verb
};

CommandLine ReadWords(Verb verb, int count, const char* const* words) {
    CLI::App parser;
    parser.set_help_flag();
    parser.allow_extras();
    const CLI::Option* help = parser.add_flag("-h,--help");
    CommandLine line;
    parser.add_option("input", line.input);
    const std::vector<const OptionEntry*> known = OptionsOf(verb);
    std::vector<CLI::Option*> found;
    for (const OptionEntry* option : known) {
        found.push_back(option->IsFlag() ? parser.add_flag(ParserName(*option))
                                         : parser.add_option(ParserName(*option))->expected(1));
        found.back()->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
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
    line.asksForHelp = help->count() > 0;
    if (line.asksForHelp) return line;
    for (std::size_t i = 0; i < known.size(); ++i) {
        line.given.push_back({known[i], {}, ""});
        if (found[i]->count() == 0) continue;
        line.given.back().values = found[i]->results();
        RefuseOptionAsValue(verb, known, *known[i], found[i]->results());
    }
    RefuseExtras(verb, parser.remaining());
    return line;
}

// An option of the command line takes the place of those of the file that it excludes, too.
bool WinsOver(const GivenOption& own, const GivenOption& kept) {
    const std::string_view oneOf = kept.option->traits.oneOf;
    const bool excludes = !oneOf.empty() && own.option->traits.oneOf == oneOf;
    return own.IsGiven() && own.origin.empty() && (own.option == kept.option || excludes);
}

// Adds what stands in the setup, if there is one.
void AddSetup(Verb verb, std::vector<GivenOption>& given) {
    Options named;
    for (const GivenOption& one : given) {
        if (one.option->name == "--setup") SetOption(named, one);
    }
    if (named.setup.from.empty()) return;
    for (const GivenOption& kept : ReadSetup(named.setup.from, verb)) {
        if (std::any_of(given.begin(), given.end(),
                        [&](const GivenOption& own) { return WinsOver(own, kept); })) {
            continue;
        }
        *std::find_if(given.begin(), given.end(),
                      [&](const GivenOption& own) { return own.option == kept.option; }) = kept;
    }
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
    Refuse("give one of " + CommaList(WordsFor(option)));
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
    CommandLine line = ReadWords(verb, count, words);
    if (line.asksForHelp) return std::nullopt;
    const bool wantsInput = !TextOf(verb).form.empty();
    if (line.input.empty() && wantsInput) RefuseMissing(verb, InputWord(verb));
    if (!line.input.empty() && !wantsInput) RefuseExtras(verb, {line.input});
    for (const GivenOption& one : line.given) {
        const OptionEntry& option = *one.option;
        if (!option.traits.required || one.IsGiven()) continue;
        RefuseMissing(verb, CalledName(option) + " " + std::string(option.value));
    }
    AddSetup(verb, line.given);
    Options options = MakeOptions(line.given);
    options.input = line.input;
    if (!options.setup.to.empty()) options.setup.text = SetupText(verb, line.given);
    return options;
}

}  // namespace velorin
