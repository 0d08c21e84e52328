#include "cli/option_values.h"

#include <algorithm>

namespace velorin {

namespace {

// What stands for the name of a file.
constexpr std::string_view kFileParts[] = {"INPUT", "OUTPUT",  "CLIP",     "FILE",
                                           "SHEET", "PICTURE", "PLUGIN.so"};

std::vector<std::string_view> PartsOf(std::string_view value) {
    std::vector<std::string_view> parts;
    for (;;) {
        const std::size_t bar = value.find('|');
        parts.push_back(value.substr(0, bar));
        if (bar == std::string_view::npos) return parts;
        value.remove_prefix(bar + 1);
    }
}

}  // namespace

bool HasPart(std::string_view value, std::string_view name) {
    const std::vector<std::string_view> parts = PartsOf(value);
    return std::find(parts.begin(), parts.end(), name) != parts.end();
}

bool TakesFile(std::string_view value) {
    return std::any_of(std::begin(kFileParts), std::end(kFileParts),
                       [&](std::string_view part) { return HasPart(value, part); });
}

std::vector<std::string_view> WordsOf(std::string_view value) {
    std::vector<std::string_view> words = PartsOf(value);
    std::erase_if(words, [](std::string_view part) {
        return part.empty() || part[0] < 'a' || part[0] > 'z';
    });
    return words;
}

std::vector<std::string_view> WordsFor(const OptionEntry& option) {
    std::vector<std::string_view> words = WordsOf(option.value);
    for (const Choice& choice : option.choices) words.push_back(choice.word);
    return words;
}

std::string_view DefaultOf(const OptionEntry& option) {
    const bool ofChoices = !option.choices.empty() && option.traits.firstIsDefault;
    return ofChoices ? option.choices[0].word : option.traits.whenNone;
}

std::string DescriptionOf(const OptionEntry& option) {
    std::string text(option.help);
    if (!option.choices.empty()) {
        text.append(": ").append(CommaList(WordsFor(option)));
        if (option.traits.firstIsDefault) text.append(" (first: default)");
    } else if (!option.traits.whenNone.empty()) {
        text.append("; ").append(option.traits.whenNone).append(" when not given");
    }
    return text;
}

std::string CommaList(const std::vector<std::string_view>& words) {
    std::string list;
    for (const std::string_view word : words) list.append(list.empty() ? "" : ", ").append(word);
    return list;
}

}  // namespace velorin
