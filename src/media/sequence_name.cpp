#include "media/sequence_name.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string_view>
#include <vector>

#include "media/clip.h"
#include "media/number_ranges.h"
#include "media/still_format.h"

namespace velorin {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void ThrowInput(const std::string& text) {
    throw MediaError(MediaError::Kind::kInput, text);
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// Numbers of nine digits and fewer fit an int; longer ones (dates with times) count no frames.
constexpr std::size_t kMostDigits = 9;

// The number that `digits` stand for, if a sequence that fills up to `width` writes it like that.
std::optional<int> NumberOf(std::string_view digits, std::size_t width) {
    if (digits.size() < width || digits.size() > std::max(width, kMostDigits)) return {};
    if (digits.size() > width && digits.front() == '0') return {};
    int number = 0;
    const auto [end, error] = std::from_chars(digits.begin(), digits.end(), number);
    if (error != std::errc() || end != digits.end()) return {};
    return number;
}

// The names of the plain files in a folder.
std::vector<std::string> FilesIn(const std::string& folder) {
    std::error_code error;
    std::vector<std::string> names;
    for (auto entry = fs::directory_iterator(folder.empty() ? "." : folder, error);
         !error && entry != fs::end(entry); entry.increment(error)) {
        std::error_code unknown;
        if (entry->is_regular_file(unknown)) names.push_back(entry->path().filename().string());
    }
    if (error) ThrowInput(folder + ": the folder cannot be read (" + error.message() + ")");
    return names;
}

// More are no holes: a number of another meaning, such as a date, stands among those of frames.
constexpr std::size_t kMostHoles = 1000000;

FoundSequence CheckNumbers(const SequenceName& name, std::vector<int> numbers, Holes holes) {
    std::sort(numbers.begin(), numbers.end());
    FoundSequence found{name, numbers.front(), numbers.back() - numbers.front() + 1, {}};
    const auto lacking = static_cast<std::size_t>(found.count) - numbers.size();
    if (lacking > kMostHoles) {
        ThrowInput(name.Pattern() + ": " + std::to_string(lacking) +
                   " frames are missing between " + std::to_string(numbers.front()) + " and " +
                   std::to_string(numbers.back()) +
                   "; move files away whose number is not that of a frame");
    }
    for (std::size_t i = 1; i < numbers.size(); ++i) {
        for (int number = numbers[i - 1] + 1; number < numbers[i]; ++number) {
            found.missing.push_back(number - found.first);
        }
    }
    if (holes == Holes::kKeep || found.missing.empty()) return found;
    for (std::int64_t& number : found.missing) number += found.first;
    ThrowInput(name.Pattern() + ": frames are missing between " + std::to_string(found.first) +
               " and " + std::to_string(numbers.back()) + ": " + NumberRanges(found.missing) +
               "; every number of a sequence is needed");
}

// A file's name with its last run of digits taken out.
struct NumberedFile {
    std::string prefix;
    std::string suffix;
    std::string digits;
};

std::optional<NumberedFile> SplitAtNumber(const std::string& fileName) {
    const std::size_t stem = fileName.rfind('.');
    if (stem == std::string::npos || stem == 0) return {};
    std::size_t end = stem;
    while (end > 0 && !IsDigit(fileName[end - 1])) --end;
    std::size_t begin = end;
    while (begin > 0 && IsDigit(fileName[begin - 1])) --begin;
    if (begin == end || end - begin > kMostDigits) return {};
    return NumberedFile{fileName.substr(0, begin), fileName.substr(end),
                        fileName.substr(begin, end - begin)};
}

struct Candidate {
    SequenceName name;
    std::vector<int> numbers;
};

// Sorts files that differ in their number alone by the way in which it is written: the shortest
// number gives the width, and what that width would not write (007 beside 07) is another sequence.
void AddCandidates(const std::string& folder, const NumberedFile& around,
                   std::vector<std::string> digits, std::vector<Candidate>& candidates) {
    while (!digits.empty()) {
        std::size_t width = digits.front().size();
        for (const std::string& d : digits) width = std::min(width, d.size());
        Candidate candidate{{folder, around.prefix, around.suffix, static_cast<int>(width)}, {}};
        std::vector<std::string> others;
        for (std::string& d : digits) {
            if (const auto number = NumberOf(d, width)) {
                candidate.numbers.push_back(*number);
            } else {
                others.push_back(std::move(d));
            }
        }
        candidates.push_back(std::move(candidate));
        digits = std::move(others);
    }
}

std::vector<Candidate> CandidatesIn(const std::string& folder) {
    std::map<std::pair<std::string, std::string>, std::vector<std::string>> digits;
    for (const std::string& fileName : FilesIn(folder)) {
        if (fileName.front() == '.' || !FindStillFormat(fileName)) continue;
        const auto file = SplitAtNumber(fileName);
        if (file) digits[{file->prefix, file->suffix}].push_back(file->digits);
    }
    std::vector<Candidate> candidates;
    for (auto& [around, numbers] : digits) {
        AddCandidates(folder, {around.first, around.second, {}}, std::move(numbers), candidates);
    }
    const auto isLong = [](const Candidate& c) { return c.numbers.size() > 1; };
    if (std::any_of(candidates.begin(), candidates.end(), isLong)) {
        std::erase_if(candidates, [&](const Candidate& c) { return !isLong(c); });
    }
    return candidates;
}

// Where the number stands in a pattern: begin, length and width. Length 0 where there is none.
struct Placeholder {
    std::size_t begin = 0;
    std::size_t length = 0;
    int digits = 1;
};

Placeholder FindPercent(const std::string& name) {
    for (std::size_t begin = name.find('%'); begin != std::string::npos;
         begin = name.find('%', begin + 1)) {
        std::size_t end = begin + 1;
        while (end < name.size() && IsDigit(name[end])) ++end;
        if (end == name.size() || name[end] != 'd') continue;
        const std::string width = name.substr(begin + 1, end - begin - 1);
        // %4d would fill up with spaces.
        if (width.size() > 2 || (!width.empty() && width.front() != '0')) continue;
        return {begin, end + 1 - begin, width.size() < 2 ? 1 : std::max(1, width.back() - '0')};
    }
    return {};
}

Placeholder FindHashes(const std::string& name) {
    const std::size_t last = name.rfind('#');
    if (last == std::string::npos) return {};
    const std::size_t before = name.find_last_not_of('#', last);
    const std::size_t begin = before == std::string::npos ? 0 : before + 1;
    return {begin, last + 1 - begin, static_cast<int>(last + 1 - begin)};
}

}  // namespace

std::string SequenceName::FileName(std::int64_t number) const {
    std::string text = std::to_string(number);
    if (static_cast<int>(text.size()) < digits) text.insert(0, digits - text.size(), '0');
    return (fs::path(folder) / (prefix + text + suffix)).string();
}

std::string SequenceName::Pattern() const {
    const std::string number = digits > 1 ? "%0" + std::to_string(digits) + "d" : "%d";
    return (fs::path(folder) / (prefix + number + suffix)).string();
}

std::optional<int> NumberIn(std::string_view fileName, const SequenceName& sequence) {
    const std::size_t around = sequence.prefix.size() + sequence.suffix.size();
    if (fileName.size() <= around || !fileName.starts_with(sequence.prefix) ||
        !fileName.ends_with(sequence.suffix)) {
        return {};
    }
    const auto digits = fileName.substr(sequence.prefix.size(), fileName.size() - around);
    if (!std::all_of(digits.begin(), digits.end(), IsDigit)) return {};
    return NumberOf(digits, static_cast<std::size_t>(sequence.digits));
}

std::optional<SequenceName> ParseSequenceName(const std::string& name) {
    const fs::path path(name);
    const std::string fileName = path.filename().string();
    Placeholder place = FindPercent(fileName);
    if (place.length == 0) place = FindHashes(fileName);
    if (place.length == 0) return {};
    return SequenceName{path.parent_path().string(), fileName.substr(0, place.begin),
                        fileName.substr(place.begin + place.length), place.digits};
}

std::string SuggestedPattern(const std::string& fileName) {
    const fs::path path(fileName);
    const auto file = SplitAtNumber(path.filename().string());
    SequenceName name{path.parent_path().string(), path.stem().string() + ".",
                      path.extension().string(), 4};
    if (file) {
        name.prefix = file->prefix;
        name.suffix = file->suffix;
        name.digits = static_cast<int>(file->digits.size());
    }
    return name.Pattern();
}

FoundSequence FindSequence(const std::string& name, Holes holes) {
    const auto sequence = ParseSequenceName(name);
    if (!sequence) ThrowInput(name + ": a sequence is written as in shot.%04d.png");
    if (!sequence->folder.empty() && !fs::is_directory(sequence->folder)) {
        ThrowInput(name + ": there is no folder " + sequence->folder);
    }
    if (!FindStillFormat(name)) {
        ThrowInput(name + ": pictures of a sequence are " + StillExtensions());
    }
    std::vector<int> numbers;
    for (const std::string& fileName : FilesIn(sequence->folder)) {
        if (const auto number = NumberIn(fileName, *sequence)) numbers.push_back(*number);
    }
    if (numbers.empty()) {
        ThrowInput(name + ": no frame of this sequence is there; its first would be named like " +
                   sequence->FileName(1));
    }
    return CheckNumbers(*sequence, std::move(numbers), holes);
}

std::optional<FoundSequence> FindSequenceMeant(const std::string& name, Holes holes) {
    std::error_code ignored;
    if (fs::is_directory(name, ignored)) return FindSequenceInFolder(name, holes);
    if (fs::is_regular_file(name, ignored) || !ParseSequenceName(name)) return {};
    return FindSequence(name, holes);
}

FoundSequence FindSequenceInFolder(const std::string& folder, Holes holes) {
    std::vector<Candidate> candidates = CandidatesIn(folder);
    if (candidates.empty()) {
        ThrowInput(folder + ": no sequence in this folder; numbered pictures are wanted (" +
                   StillExtensions() + ")");
    }
    if (candidates.size() > 1) {
        std::string names;
        for (const Candidate& c : candidates) names += "\n  " + c.name.Pattern();
        ThrowInput(folder + ": several sequences in this folder; name one of them:" + names);
    }
    return CheckNumbers(candidates.front().name, std::move(candidates.front().numbers), holes);
}

}  // namespace velorin
