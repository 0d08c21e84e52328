#include "cli/setup_text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "cli/option_help.h"
#include "cli/option_values.h"
#include "cli/setup_file.h"
#include "cli/verb_texts.h"
#include "media/safe_file.h"

namespace velorin {

namespace {

constexpr std::size_t kDashes = 2;
constexpr std::size_t kWidth = 96;
constexpr std::size_t kMostDigits = 15;  // of a number that is read as it is written

bool IsDigit(char letter) {
    return letter >= '0' && letter <= '9';
}

// Whether the text is a number that comes out of the file as it goes in.
bool IsPlainNumber(std::string_view text) {
    if (text == "-0") return false;
    if (text.starts_with('-')) text.remove_prefix(1);
    const std::size_t point = text.find('.');
    const std::string_view whole = text.substr(0, point);
    const std::string_view part =
        point == std::string_view::npos ? std::string_view("1") : text.substr(point + 1);
    const auto isDigits = [](std::string_view digits) {
        return !digits.empty() && std::all_of(digits.begin(), digits.end(), IsDigit);
    };
    return isDigits(whole) && isDigits(part) && !part.ends_with('0') &&
           (whole == "0" || whole[0] != '0') && whole.size() + part.size() <= kMostDigits;
}

std::string Quoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char letter : text) {
        const auto code = static_cast<unsigned char>(letter);
        if (letter == '"' || letter == '\\') {
            quoted.append({'\\', letter});
        } else if (code < 0x20 || code == 0x7f) {
            std::array<char, 8> escape;
            std::snprintf(escape.data(), escape.size(), "\\u%04X", static_cast<unsigned>(code));
            quoted.append(escape.data());
        } else {
            quoted.push_back(letter);
        }
    }
    return quoted + "\"";
}

std::string ScalarToml(std::string_view text) {
    std::string_view number = text;
    if (number.find('.') != std::string_view::npos) {
        number = number.substr(0, number.find_last_not_of('0') + 1);
        if (number.ends_with('.')) number.remove_suffix(1);
    }
    return IsPlainNumber(number) ? std::string(number) : Quoted(text);
}

// The table of a key such as "24:0.5~"; empty for other text.
std::string KeyTable(std::string_view key) {
    const std::size_t colon = key.find(':');
    const std::string_view frame = key.substr(0, colon);
    if (colon == std::string_view::npos || !IsPlainNumber(frame)) return {};
    std::string_view value = key.substr(colon + 1), way;
    if (value.ends_with('~')) way = "smooth";
    if (value.ends_with('|')) way = "hold";
    if (!way.empty()) value.remove_suffix(1);
    if (value.empty() || value.find_first_of(":~|") != std::string_view::npos) return {};
    std::string table = "{frame = " + std::string(frame) + ", value = " + ScalarToml(value);
    if (!way.empty()) table.append(", way = ").append(Quoted(way));
    return table + "}";
}

// A list of tables; empty for text that is no list of keys.
std::string KeysToml(std::string_view keys) {
    std::string list;
    for (;;) {
        const std::size_t comma = keys.find(',');
        const std::string table = KeyTable(keys.substr(0, comma));
        if (table.empty()) return {};
        list.append("    ").append(table).append(",\n");
        if (comma == std::string_view::npos) return "[\n" + list + "]";
        keys.remove_prefix(comma + 1);
    }
}

std::string ValueToml(const OptionEntry& option, const std::string& text) {
    if (option.IsFlag()) return text;
    const std::string keys = HasPart(option.value, "KEYS") ? KeysToml(text) : "";
    if (!keys.empty()) return keys;
    const bool isText = !option.choices.empty() || TakesFile(option.value);
    return isText ? Quoted(text) : ScalarToml(text);
}

std::string ValuesToml(const GivenOption& given) {
    const OptionEntry& option = *given.option;
    if (given.values.size() == 1) return ValueToml(option, given.values[0]);
    std::string list;
    for (const std::string& value : given.values) {
        list.append(list.empty() ? "[" : ", ").append(ValueToml(option, value));
    }
    return list + "]";
}

// What stands behind the name of an option that is not given and has no default.
std::string SampleToml(const OptionEntry& option) {
    if (option.IsFlag()) return "true";
    const bool isNumber = !TakesFile(option.value) && !HasPart(option.value, "KEYS") &&
                          option.value.find(',') == std::string_view::npos;
    return isNumber ? std::string(option.value) : Quoted(option.value);
}

bool Excludes(const OptionEntry& one, const OptionEntry& other) {
    return !one.traits.oneOf.empty() && one.traits.oneOf == other.traits.oneOf;
}

bool GoesWith(const std::vector<GivenOption>& others, const GivenOption& one) {
    std::vector<GivenOption> all = others;
    all.push_back(one);
    try {
        MakeOptions(all);
    } catch (const UsageError&) {
        return false;
    }
    return std::none_of(others.begin(), others.end(), [&](const GivenOption& other) {
        return Excludes(*one.option, *other.option);
    });
}

// Of the options that setups hold, those that are given, and those defaults that go with them and
// with each other and mean no more than to leave the option out.
std::vector<GivenOption> InEffect(const std::vector<GivenOption>& given) {
    std::vector<GivenOption> held;
    for (const GivenOption& one : given) {
        if (one.IsGiven() && BelongsInSetup(*one.option)) held.push_back(one);
    }
    for (const GivenOption& one : given) {
        const std::string_view usual = DefaultOf(*one.option);
        if (one.IsGiven() || !BelongsInSetup(*one.option) || usual.empty()) continue;
        const GivenOption left{one.option, {std::string(usual)}, ""};
        if (!one.option->traits.toldWhenNone && GoesWith(held, left)) held.push_back(left);
    }
    return held;
}

void AppendKey(std::string& text, const OptionEntry& option, const std::vector<GivenOption>& held) {
    text.append("\n# ");
    AppendWrapped(text, DescriptionOf(option), "# ", kWidth);
    text.append("\n");
    const auto found = std::find_if(held.begin(), held.end(),
                                    [&](const GivenOption& one) { return one.option == &option; });
    const bool isHeld = found != held.end();
    const std::string usual(DefaultOf(option));
    text.append(isHeld ? "" : "#").append(option.name.substr(kDashes)).append(" = ");
    text.append(isHeld          ? ValuesToml(*found)
                : usual.empty() ? SampleToml(option)
                                : ValueToml(option, usual));
    text.append("\n");
}

// What is written must be read again; names of files may have bytes that are no text.
void CheckReadsBack(const std::string& text, Verb verb, const std::vector<GivenOption>& held) {
    std::string fault = "what is read back from it is not the same";
    try {
        const std::vector<GivenOption> again = ParseSetup(text, "the setup", verb);
        const bool same = std::all_of(held.begin(), held.end(), [&](const GivenOption& one) {
            return std::any_of(again.begin(), again.end(), [&](const GivenOption& other) {
                return other.option == one.option && ValuesToml(other) == ValuesToml(one);
            });
        });
        if (same && again.size() == held.size()) return;
    } catch (const UsageError& failure) {
        fault = failure.what();
    }
    throw UsageError("--write-setup: " + fault + "; names of files need letters in UTF-8");
}

// Even where files may be replaced: what is no setup, such as a frame, is lost by mistake.
void CheckIsSetup(const std::string& file) {
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(file, ignored)) return;
    try {
        ReadSetup(file, kVerbRetime);
    } catch (const std::runtime_error& failure) {
        throw MediaError(MediaError::Kind::kFailure, "--write-setup " + file +
                                                         ": is there already and is no setup (" +
                                                         failure.what() + "); choose another name");
    }
}

}  // namespace

std::string SetupText(Verb verb, const std::vector<GivenOption>& given) {
    const std::vector<GivenOption> held = InEffect(given);
    std::string text = "# Written by velorin " VELORIN_VERSION " for velorin " +
                       std::string(TextOf(verb).word) +
                       " --setup. The command line wins over what stands here.\n"
                       "# Lines that begin with # do not count.\n";
    std::string_view group;
    for (const OptionEntry* option : OptionsOf(verb)) {
        if (!BelongsInSetup(*option)) continue;
        if (option->group != group) {
            group = option->group;
            text.append("\n## ").append(group).append("\n");
        }
        AppendKey(text, *option, held);
    }
    CheckReadsBack(text, verb, held);
    return text;
}

std::string WithFoundScenes(std::string text, const std::string& keys) {
    const std::string wanted = "\nscenes = \"auto\"\n";
    const std::size_t place = text.find(wanted);
    if (place == std::string::npos) return text;
    return text.replace(place, wanted.size(), "\nscenes = " + KeysToml(keys) + "\n");
}

void WriteSetup(const Options& options) {
    const SetupOptions& setup = options.setup;
    if (setup.to.empty()) return;
    const bool replaces = options.overwrite || options.job.resume;
    if (replaces) CheckIsSetup(setup.to);
    SafeFile file(setup.to, replaces);
    std::ofstream stream(file.TemporaryName(), std::ios::binary);
    stream << setup.text;
    stream.close();
    if (!stream) throw WriteFailure(setup.to, errno);
    file.Commit();
}

}  // namespace velorin
