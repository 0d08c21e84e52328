#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "media/guide_formats.h"

namespace velorin {
namespace {

using Words = std::vector<std::string>;

// Which column of a table is what.
struct Columns {
    std::optional<std::size_t> name;  // none: a single track
    std::size_t frame = 0;
    std::size_t x = 0;
    std::size_t y = 0;
    std::size_t count = 0;     // that a line needs
    bool mayHaveMore = false;  // columns of numbers that are not looked at
    bool areTitled = false;
};

constexpr Columns kUnnamed{std::nullopt, 0, 1, 2, 3, false, false};
constexpr Columns kNamed{0, 1, 2, 3, 4, true, false};

std::string Lower(std::string word) {
    for (char& letter : word) {
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    }
    return word;
}

// "x", "x and y"
std::string ListOf(const Words& words) {
    std::string list;
    for (std::size_t i = 0; i < words.size(); ++i) {
        list += (i == 0 ? "" : i + 1 < words.size() ? ", " : " and ") + words[i];
    }
    return list;
}

// The columns by their titles, in any order; empty if the words are none, or lack some: `missing`.
std::optional<Columns> ColumnsByTitle(const Words& titles, Words& missing) {
    const auto find = [&](std::string_view wanted) -> std::optional<std::size_t> {
        const auto at = std::find_if(titles.begin(), titles.end(), [&](const std::string& title) {
            return Lower(title) == wanted;
        });
        if (at == titles.end()) return std::nullopt;
        return static_cast<std::size_t>(at - titles.begin());
    };
    const auto frame = find("frame"), x = find("x"), y = find("y");
    if (!frame || !x || !y) {
        const bool areTitles =
            (frame || x || y) && std::none_of(titles.begin(), titles.end(), NumberOf);
        if (areTitles && !frame) missing.push_back("frame");
        if (areTitles && !x) missing.push_back("x");
        if (areTitles && !y) missing.push_back("y");
        return std::nullopt;
    }
    std::optional<std::size_t> name;
    for (const std::string_view title : {"name", "track", "tracker", "point"}) {
        if (!name) name = find(title);
    }
    const std::size_t last = std::max({*frame, *x, *y, name.value_or(0)});
    return Columns{name, *frame, *x, *y, last + 1, true, true};
}

class TableReader {
  public:
    explicit TableReader(const GuideSource& newSource) : source(newSource) {}

    void Read(const std::vector<GuideLine>& lines) {
        for (const GuideLine& line : lines) {
            const Words words = ColumnsOf(source, line);
            if (!columns) {
                columns = ReadTitles(line, words);
                if (columns) continue;
                columns = words.size() == kUnnamed.count ? kUnnamed : kNamed;
            }
            CheckColumns(line, words);
            TrackOf(words).push_back({PositionOf(source, line, words[columns->frame],
                                                 words[columns->x], words[columns->y]),
                                      line.number});
        }
    }

    std::vector<GuideTrack> Tracks() {
        std::vector<GuideTrack> tracks;
        for (std::size_t i = 0; i < names.size(); ++i) {
            tracks.push_back(
                MakeTrack(source, std::move(names[i]), std::move(found[i]), DescribeLine));
        }
        return tracks;
    }

  private:
    std::optional<Columns> ReadTitles(const GuideLine& line, const Words& words) const {
        Words missing;
        std::optional<Columns> titled = ColumnsByTitle(words, missing);
        if (missing.empty()) return titled;
        ThrowColumnError(
            source, line,
            "these titles lack " + ListOf(missing) +
                "; frame, x and y are wanted, and name where there are several tracks");
    }

    void CheckColumns(const GuideLine& line, const Words& words) const {
        const Words missing = MissingIn(words);
        if (!missing.empty()) {
            ThrowColumnError(
                source, line,
                ListOf(missing) + (missing.size() == 1 ? " is" : " are") + " missing; " + Wanted());
        }
        if (words.size() > columns->count && !columns->mayHaveMore) {
            ThrowColumnError(source, line, Wanted());
        }
        if (columns->name) CheckName(line, words);
        for (std::size_t i = 0; i < words.size(); ++i) {
            if (i == columns->name || words[i].empty() || NumberOf(words[i])) continue;
            if (i == columns->frame || i == columns->x || i == columns->y) continue;
            ThrowColumnError(source, line,
                             Quoted(words[i]) + " is one column too many; " + Wanted());
        }
    }

    // What the line lacks of the columns, in their order.
    Words MissingIn(const Words& words) const {
        std::vector<std::pair<std::size_t, const char*>> wanted = {
            {columns->frame, "the frame"}, {columns->x, "x"}, {columns->y, "y"}};
        if (columns->name) wanted.emplace_back(*columns->name, "the name");
        std::sort(wanted.begin(), wanted.end());
        Words missing;
        for (const auto& [column, what] : wanted) {
            if (column >= words.size() || words[column].empty()) missing.emplace_back(what);
        }
        return missing;
    }

    // A name that is a number, or has too many words, is a sign of other columns than were meant.
    void CheckName(const GuideLine& line, const Words& words) const {
        if (NumberOf(words[*columns->name]) && !WholeNumberOf(words[columns->frame])) {
            ThrowColumnError(source, line,
                             "the first of four columns is the track's name; a table without names "
                             "has three, or titles in its first line, as in \"frame,x,y,error\"");
        }
        const bool byBlanks = line.text.find(',') == std::string_view::npos;
        const bool hasMore = words.size() > columns->count;
        if (byBlanks && hasMore && !NumberOf(words[columns->frame])) {
            ThrowColumnError(source, line,
                             Quoted(words[columns->frame]) +
                                 " is no frame; a name with blanks stands in double quotes");
        }
    }

    std::string Wanted() const {
        if (columns->areTitled) return "each line has the columns of the titles";
        if (!columns->name) return "a frame, x and y are wanted, as in \"12 640 360.5\"";
        return "a name, a frame, x and y are wanted, as in \"nose 12 640 360.5\"; a name with "
               "blanks stands in double quotes";
    }

    std::vector<FoundPosition>& TrackOf(const Words& words) {
        std::string name = columns->name ? words[*columns->name] : NameAfterFile(source);
        const auto [entry, isNew] = indices.try_emplace(name, names.size());
        if (isNew) {
            names.push_back(std::move(name));
            found.emplace_back();
        }
        return found[entry->second];
    }

    const GuideSource& source;
    std::optional<Columns> columns;
    std::unordered_map<std::string, std::size_t> indices;
    std::vector<std::string> names;
    std::vector<std::vector<FoundPosition>> found;
};

}  // namespace

GuideFile ReadGuideTable(const GuideSource& source, const std::vector<GuideLine>& lines) {
    TableReader reader(source);
    reader.Read(lines);
    return {reader.Tracks()};
}

}  // namespace velorin
