#include "media/guide_source.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <utility>

#include "media/clip.h"

namespace velorin {
namespace {

constexpr std::size_t kMostQuoted = 60;
constexpr double kMostWhole = 9007199254740992.0;  // 2^53

bool IsBlank(char letter) {
    return letter == ' ' || letter == '\t';
}

// The bytes of the UTF-8 letter that `text` begins with; 0 if a terminal cannot show it.
std::size_t LetterBytes(std::string_view text) {
    const auto first = static_cast<unsigned char>(text.front());
    if (first < 0x80) return first >= 0x20 && first != 0x7f ? 1 : 0;
    if (first < 0xc2 || first > 0xf4) return 0;
    const std::size_t bytes = first < 0xe0 ? 2 : (first < 0xf0 ? 3 : 4);
    if (text.size() < bytes) return 0;
    const bool whole = std::all_of(text.begin() + 1, text.begin() + bytes, [](char letter) {
        return (static_cast<unsigned char>(letter) & 0xc0) == 0x80;
    });
    return whole ? bytes : 0;
}

struct LineShape {
    std::string_view content;  // without a comment
    std::string_view separators;
};

LineShape ShapeOf(const GuideSource& source, const GuideLine& line) {
    std::string_view text = line.text;
    bool quoted = false;
    bool hasComma = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '"') quoted = !quoted;
        if (quoted) continue;
        if (text[i] == ',') hasComma = true;
        if (text[i] == '#' && (i == 0 || IsBlank(text[i - 1]) || text[i - 1] == ',')) {
            text = text.substr(0, i);
        }
    }
    if (quoted) ThrowGuideError(source, line, "a quotation mark is missing");
    text = Trimmed(text);
    if (hasComma) return {text, ","};
    return {text, std::count(text.begin(), text.end(), '\t') >= 3 ? "\t" : " \t"};
}

double CoordinateOf(const GuideSource& source, const GuideLine& line, std::string_view word) {
    const std::optional<double> number = NumberOf(word);
    if (number) return *number;
    ThrowColumnError(source, line,
                     Quoted(word) + " is no coordinate; a number such as 812.25 is wanted");
}

bool IsDigit(char letter) {
    return letter >= '0' && letter <= '9';
}

// As in "812,25".
bool IsNumberWithComma(std::string_view word) {
    const std::size_t comma = word.find(',');
    if (comma == std::string_view::npos || comma == 0 || comma + 1 == word.size()) return false;
    return NumberOf(word.substr(0, comma)) &&
           std::all_of(word.begin() + static_cast<std::ptrdiff_t>(comma) + 1, word.end(), IsDigit);
}

}  // namespace

std::vector<GuideLine> LinesOf(std::string_view text) {
    std::vector<GuideLine> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
        lines.push_back({lines.size() + 1, text.substr(0, end)});
        text.remove_prefix(end);
        text.remove_prefix(text.starts_with("\r\n") ? 2 : (text.empty() ? 0 : 1));
    }
    return lines;
}

std::vector<GuideLine> ContentOf(const std::vector<GuideLine>& lines) {
    std::vector<GuideLine> content;
    std::copy_if(lines.begin(), lines.end(), std::back_inserter(content),
                 [](const GuideLine& line) {
                     const std::string_view text = Trimmed(line.text);
                     return !text.empty() && !text.starts_with('#');
                 });
    return content;
}

std::string_view Trimmed(std::string_view text) {
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
    return text;
}

std::vector<std::string> ColumnsOf(const GuideSource& source, const GuideLine& line) {
    const auto [content, separators] = ShapeOf(source, line);
    std::vector<std::string> columns;
    std::string column;
    const auto finish = [&, keepsEmpty = separators == ","] {
        const std::string_view trimmed = Trimmed(column);
        if (!trimmed.empty() || keepsEmpty) columns.emplace_back(trimmed);
        column.clear();
    };
    bool quoted = false;
    for (std::size_t i = 0; i < content.size(); ++i) {
        if (content[i] == '"') {
            // Two quotation marks within quotes stand for one of the text.
            if (quoted && content.substr(i + 1).starts_with('"')) {
                column += content[i++];
            } else {
                quoted = !quoted;
            }
        } else if (!quoted && separators.find(content[i]) != std::string_view::npos) {
            finish();
        } else {
            column += content[i];
        }
    }
    finish();
    while (!columns.empty() && columns.back().empty()) columns.pop_back();
    return columns;
}

std::optional<double> NumberOf(std::string_view word) {
    if (word.starts_with('+')) word.remove_prefix(1);
    double number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (error != std::errc() || end != word.data() + word.size()) return std::nullopt;
    if (!std::isfinite(number)) return std::nullopt;
    return number;
}

std::optional<std::int64_t> WholeNumberOf(double number) {
    if (!(std::abs(number) < kMostWhole) || number != std::floor(number)) return std::nullopt;
    return static_cast<std::int64_t>(number);
}

std::optional<std::int64_t> WholeNumberOf(std::string_view word) {
    const std::optional<double> number = NumberOf(word);
    return number ? WholeNumberOf(*number) : std::nullopt;
}

std::string CustomHint(std::string_view line) {
    if (std::count(line.begin(), line.end(), ';') >= 2) {
        return "columns are separated by commas, tabs or blanks, not by semicolons, and numbers "
               "have a point, as in \"nose,12,640,360.5\"";
    }
    int words = 0;
    bool hasComma = false;
    for (line = Trimmed(line); !line.empty(); line = Trimmed(line)) {
        const std::size_t end = std::min(line.find_first_of(" \t"), line.size());
        ++words;
        hasComma = hasComma || IsNumberWithComma(line.substr(0, end));
        line.remove_prefix(end);
    }
    if (words < 3 || !hasComma) return "";
    return "a comma separates columns; numbers have a point, as in \"nose 12 640 360.5\"";
}

GuidePosition PositionOf(const GuideSource& source, const GuideLine& line, std::string_view frame,
                         std::string_view x, std::string_view y) {
    const std::optional<std::int64_t> number = WholeNumberOf(frame);
    if (!number) {
        ThrowColumnError(source, line, Quoted(frame) + " is no frame; a whole number is wanted");
    }
    return {*number, CoordinateOf(source, line, x), CoordinateOf(source, line, y)};
}

std::string NameAfterFile(const GuideSource& source) {
    return std::filesystem::path(source.name).stem().string();
}

GuideTrack MakeTrack(const GuideSource& source, std::string name, std::vector<FoundPosition> found,
                     const std::function<std::string(std::size_t place)>& describe) {
    std::stable_sort(found.begin(), found.end(),
                     [](const FoundPosition& a, const FoundPosition& b) {
                         return a.position.frame < b.position.frame;
                     });
    GuideTrack track{std::move(name), {}};
    track.positions.reserve(found.size());
    for (std::size_t i = 0; i < found.size(); ++i) {
        const GuidePosition& position = found[i].position;
        if (i > 0 && position.frame == track.positions.back().frame) {
            ThrowGuideError(source, describe(found[i].place) + ": track " + Quoted(track.name) +
                                        " has a position at frame " +
                                        std::to_string(position.frame) + " already, at " +
                                        describe(found[i - 1].place) +
                                        "; each track has at most one a frame");
        }
        track.positions.push_back(position);
    }
    return track;
}

std::string DescribeLine(std::size_t number) {
    return "line " + std::to_string(number);
}

std::string Quoted(std::string_view text) {
    std::string shown;
    for (text = Trimmed(text); !text.empty();) {
        const std::size_t bytes = LetterBytes(text);
        if (shown.size() + std::max<std::size_t>(bytes, 1) > kMostQuoted)
            return '"' + shown + "\"...";
        if (bytes == 0) shown += text.front() == '\t' ? ' ' : '?';
        shown += text.substr(0, bytes);
        text.remove_prefix(std::max<std::size_t>(bytes, 1));
    }
    return '"' + shown + '"';
}

void ThrowGuideError(const GuideSource& source, const std::string& reason) {
    throw MediaError(MediaError::Kind::kInput, source.name + ": " + reason);
}

void ThrowGuideError(const GuideSource& source, const GuideLine& line, const std::string& reason) {
    ThrowGuideError(source, DescribeLine(line.number) + ", " + Quoted(line.text) + ": " + reason);
}

void ThrowColumnError(const GuideSource& source, const GuideLine& line, const std::string& reason) {
    const std::string hint = CustomHint(line.text);
    ThrowGuideError(source, line, hint.empty() ? reason : hint);
}

}  // namespace velorin
