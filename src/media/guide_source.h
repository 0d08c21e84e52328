#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "media/guide_tracks.h"

namespace velorin {

// A guide file in memory.
struct GuideSource {
    std::string name;       // as the user wrote it
    std::string_view text;  // without a byte order mark
};

struct GuideLine {
    std::size_t number = 0;  // from 1
    std::string_view text;   // without the line's end
};

// Lines end as on any system: \n, \r\n or \r.
std::vector<GuideLine> LinesOf(std::string_view text);

// Without blank lines and those that begin with #.
std::vector<GuideLine> ContentOf(const std::vector<GuideLine>& lines);

// Without blanks and tabs around it.
std::string_view Trimmed(std::string_view text);

// Splits a line into its columns. Commas separate if there are any; else tabs, if there are three
// or more, as in a table of four columns; else blanks and tabs alike. So a name may hold blanks
// between commas or tabs, and anything in double quotes. A column that begins with # begins a
// comment.
std::vector<std::string> ColumnsOf(const GuideSource& source, const GuideLine& line);

// Empty for what is no number, or is not finite.
std::optional<double> NumberOf(std::string_view word);

// Empty for what is no whole number, or so large that a double could not tell it from the next.
// 12.0 is one.
std::optional<std::int64_t> WholeNumberOf(std::string_view word);
std::optional<std::int64_t> WholeNumberOf(double number);

// Empty, or how columns and numbers are written, for a line that seems to follow the custom of
// another language: semicolons between columns, or commas in numbers.
std::string CustomHint(std::string_view line);

GuidePosition PositionOf(const GuideSource& source, const GuideLine& line, std::string_view frame,
                         std::string_view x, std::string_view y);

// What a track is called where the file gives no name: the file's own, without extension.
std::string NameAfterFile(const GuideSource& source);

// A position together with where in the file it stands: the number of its line, or of its entry.
struct FoundPosition {
    GuidePosition position;
    std::size_t place = 0;
};

// Makes a track of positions in any order. Throws MediaError where two are of one frame; `describe`
// tells of a place how the user finds it.
GuideTrack MakeTrack(const GuideSource& source, std::string name, std::vector<FoundPosition> found,
                     const std::function<std::string(std::size_t place)>& describe);

std::string DescribeLine(std::size_t number);

// In double quotes, short enough for a message and without what a terminal cannot show.
std::string Quoted(std::string_view text);

// MediaErrors of kind kInput: of the file as a whole, and of one line, with its text. Of a line of
// columns a CustomHint is told instead of the reason where there is one.
[[noreturn]] void ThrowGuideError(const GuideSource& source, const std::string& reason);
[[noreturn]] void ThrowGuideError(const GuideSource& source, const GuideLine& line,
                                  const std::string& reason);
[[noreturn]] void ThrowColumnError(const GuideSource& source, const GuideLine& line,
                                   const std::string& reason);

}  // namespace velorin
