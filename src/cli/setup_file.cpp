#include "cli/setup_file.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <fstream>

#include "cli/nearest_name.h"
#include "cli/option_values.h"
#include "cli/toml_text.h"

namespace velorin {

namespace {

constexpr std::size_t kLongestFile = 1 << 20;
constexpr std::size_t kDashes = 2;
// Each number of so many digits is told from all others by the double next to it.
constexpr std::size_t kExactDigits = 15;
// Room for every double without an exponent.
constexpr std::size_t kNumberRoom = 1100;

struct Way {
    std::string_view word;
    std::string_view mark;  // behind a value
};
constexpr Way kWays[] = {{"linear", ""}, {"smooth", "~"}, {"hold", "|"}};

// The digits as a user would write them.
std::string NumberOf(const TomlPlace& place, double number) {
    if (!std::isfinite(number)) place.Refuse("give a finite number");
    char room[kNumberRoom];
    char* end = std::to_chars(room, room + kNumberRoom, number, std::chars_format::fixed).ptr;
    const std::string text(room, end);
    const auto digits = std::count_if(text.begin(), text.end(),
                                      [](char letter) { return letter >= '0' && letter <= '9'; });
    if (static_cast<std::size_t>(digits) > kExactDigits) {
        place.Refuse("has more digits than a number of this file can hold; put it in quotes");
    }
    return text;
}

std::string ScalarText(const TomlPlace& outer, const toml::node& node) {
    const TomlPlace place = outer.At(node);
    if (const auto* text = node.as_string()) {
        if (text->get().find('\0') != std::string::npos) place.Refuse("a text ends in its middle");
        return text->get();
    }
    if (const auto* whole = node.as_integer()) return std::to_string(whole->get());
    if (const auto* number = node.as_floating_point()) return NumberOf(place, number->get());
    place.Refuse("give a number or a text in quotes");
}

// Several numbers of one value are joined by commas.
std::string ValueText(const TomlPlace& place, const toml::node& node) {
    const toml::array* list = node.as_array();
    if (!list) return ScalarText(place, node);
    std::string text;
    for (const toml::node& part : *list) {
        text.append(text.empty() ? "" : ",").append(ScalarText(place, part));
    }
    return text;
}

std::string_view WayMark(const TomlPlace& place, const std::string& word) {
    std::vector<std::string_view> words;
    for (const Way& way : kWays) {
        if (way.word == word) return way.mark;
        words.push_back(way.word);
    }
    place.Refuse("way " + word + ": give one of " + CommaList(words));
}

// One key, such as "24:0.5~".
std::string KeyText(const TomlPlace& outer, const toml::node& node) {
    const TomlPlace place = outer.At(node);
    const toml::table* table = node.as_table();
    if (!table)
        place.Refuse("give tables such as {frame = 24, value = 0.5}, or all keys as a text");
    std::string frame, value;
    std::string_view mark;
    for (const auto& [name, part] : *table) {
        const std::string text = ScalarText(place, part);
        if (text.empty() || text.find_first_of(",:~|") != std::string::npos) {
            place.At(part).Refuse("\"" + text + "\" is no " + std::string(name.str()));
        }
        if (name == "frame") {
            frame = text;
        } else if (name == "value") {
            value = text;
        } else if (name == "way") {
            mark = WayMark(place.At(part), text);
        } else {
            place.At(part).Refuse(std::string(name.str()) +
                                  " is not known of a key; it has frame, value and way");
        }
    }
    if (frame.empty() || value.empty()) place.Refuse("a key needs frame and value");
    return frame + ":" + value + std::string(mark);
}

std::string KeysText(const TomlPlace& place, const toml::array& list) {
    std::string text;
    for (const toml::node& key : list) {
        text.append(text.empty() ? "" : ",").append(KeyText(place, key));
    }
    return text;
}

std::vector<std::string> ValuesOf(const TomlPlace& place, const OptionEntry& option,
                                  const toml::node& node) {
    if (option.IsFlag()) {
        const auto* flag = node.as_boolean();
        if (!flag) place.Refuse("give true or false");
        return flag->get() ? std::vector<std::string>{"true"} : std::vector<std::string>{};
    }
    const toml::array* list = node.as_array();
    if (list && list->empty()) place.Refuse("the list is empty");
    if (list && option.traits.mostTimes > 1) {
        std::vector<std::string> values;
        for (const toml::node& value : *list) values.push_back(ValueText(place, value));
        return values;
    }
    const bool ofKeys = list && HasPart(option.value, "KEYS");
    return {ofKeys ? KeysText(place, *list) : ValueText(place, node)};
}

// A shot may be known by its frames, though a setup that a run writes leaves them to the next one.
bool MayStandInSetup(const OptionEntry& option) {
    return BelongsInSetup(option) || option.name == "--frames";
}

// Verbs whose options a setup may hold: all that take setups.
int VerbsOfSetups(Verb verb) {
    for (const OptionEntry& option : OptionTable()) {
        if (option.name == "--setup" && (option.verbs & verb)) return option.verbs;
    }
    return verb;
}

// The option of this name, preferably of `verb` itself. Null for an unknown one.
const OptionEntry* FindOption(std::string_view name, Verb verb, int verbs) {
    const OptionEntry* found = nullptr;
    for (const OptionEntry& option : OptionTable()) {
        if (option.name.substr(kDashes) != name || !(option.verbs & verbs)) continue;
        if (option.verbs & verb) return &option;
        if (!found) found = &option;
    }
    return found;
}

[[noreturn]] void RefuseKey(const TomlPlace& place, std::string_view name, int verbs) {
    std::vector<std::string_view> names;
    for (const OptionEntry& option : OptionTable()) {
        if ((option.verbs & verbs) && MayStandInSetup(option)) {
            names.push_back(option.name.substr(kDashes));
        }
    }
    const std::string_view nearest = NearestName(name, names);
    const std::string right = nearest.empty() ? "they have the names of options, without the dashes"
                                              : "the nearest is " + std::string(nearest);
    place.Refuse(std::string(name) + " is not a key of setups; " + right);
}

GivenOption GivenBy(const TomlPlace& place, std::string_view name, const toml::node& node,
                    Verb verb) {
    const int verbs = VerbsOfSetups(verb);
    const OptionEntry* option = FindOption(name, verb, verbs);
    if (!option) RefuseKey(place, name, verbs);
    if (!MayStandInSetup(*option)) {
        place.Refuse(std::string(name) + " is for one run; give " + std::string(option->name) +
                     " on the command line");
    }
    const TomlPlace known{place.file, place.line, name};
    const GivenOption given{option, ValuesOf(known, *option, node), place.Text()};
    Options unused;
    SetOption(unused, given);
    return given;
}

}  // namespace

std::vector<GivenOption> ParseSetup(const std::string& text, const std::string& file, Verb verb) {
    const toml::table table = ParseToml(text, file);
    // In the order of the file, so that the first of several faults is told.
    std::vector<std::pair<TomlPlace, toml::table::const_iterator>> keys;
    for (auto key = table.begin(); key != table.end(); ++key) {
        keys.emplace_back(TomlPlace{file, key->first.source().begin.line}, key);
    }
    std::stable_sort(keys.begin(), keys.end(), [](const auto& one, const auto& other) {
        return one.first.line < other.first.line;
    });
    std::vector<GivenOption> all;
    for (const auto& [place, key] : keys) {
        const GivenOption given = GivenBy(place, key->first.str(), key->second, verb);
        if (given.IsGiven() && (given.option->verbs & verb)) all.push_back(given);
    }
    return all;
}

std::vector<GivenOption> ReadSetup(const std::string& file, Verb verb) {
    errno = 0;
    std::ifstream stream(file, std::ios::binary);
    std::string text(kLongestFile + 1, '\0');
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (!stream.eof()) {
        const bool isLong = static_cast<std::size_t>(stream.gcount()) == text.size();
        throw MediaError(MediaError::Kind::kInput,
                         "--setup " + file + ": " +
                             (isLong ? "is too long for a setup"
                                     : std::string("cannot be read: ") + std::strerror(errno)));
    }
    text.resize(static_cast<std::size_t>(stream.gcount()));
    return ParseSetup(text, file, verb);
}

}  // namespace velorin
