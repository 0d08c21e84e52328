#include <algorithm>
#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "media/guide_formats.h"

namespace velorin {
namespace {

using Cells = std::vector<std::string_view>;

// Between tabs; empty ones count.
Cells CellsOf(std::string_view text) {
    Cells cells;
    while (true) {
        const std::size_t tab = text.find('\t');
        cells.push_back(Trimmed(text.substr(0, tab)));
        if (tab == std::string_view::npos) return cells;
        text.remove_prefix(tab + 1);
    }
}

struct ValueColumns {
    std::size_t frame;
    std::size_t x;
    std::size_t y;
};

bool IsTitleLine(std::string_view text) {
    return text.starts_with('\t') && CellsOf(text)[1] == "Frame";
}

// Empty for values that are no positions, such as a scale in percent.
std::optional<ValueColumns> PositionColumns(std::string_view titleLine) {
    const Cells titles = CellsOf(titleLine);
    const auto find = [&](std::string_view title) {
        return static_cast<std::size_t>(std::find(titles.begin(), titles.end(), title) -
                                        titles.begin());
    };
    const ValueColumns columns{find("Frame"), find("X pixels"), find("Y pixels")};
    if (std::max({columns.frame, columns.x, columns.y}) >= titles.size()) return std::nullopt;
    return columns;
}

// "Effects <tab> Marker <tab> Centre" as Effects/Marker/Centre.
std::string NameOf(std::string_view heading) {
    std::string name;
    for (const std::string_view cell : CellsOf(heading)) {
        if (cell.empty()) continue;
        if (!name.empty()) name += '/';
        name += cell;
    }
    return name;
}

class KeyframeReader {
  public:
    explicit KeyframeReader(const GuideSource& newSource) : source(newSource) {}

    GuideFile Read(const std::vector<GuideLine>& lines) {
        for (const GuideLine& line : lines) {
            if (!line.text.starts_with('\t')) {
                EndBlock();
                if (!Trimmed(line.text).empty()) heading = line.text;
            } else if (IsTitleLine(line.text)) {
                EndBlock();
                columns = PositionColumns(line.text);
            } else if (columns) {
                ReadValues(line);
            }
            ReadSize(line, "Source Width", file.width);
            ReadSize(line, "Source Height", file.height);
        }
        EndBlock();
        return std::move(file);
    }

  private:
    void ReadValues(const GuideLine& line) {
        const Cells cells = CellsOf(line.text);
        if (Trimmed(line.text).empty()) return;
        // A value that is not animated stands there once, without a frame.
        if (cells[columns->frame].empty()) return;
        if (cells.size() <= std::max(columns->x, columns->y)) {
            ThrowGuideError(source, line,
                            "a frame, x and y are wanted, with tabs between them and before them");
        }
        found.push_back(
            {PositionOf(source, line, cells[columns->frame], cells[columns->x], cells[columns->y]),
             line.number});
    }

    void EndBlock() {
        if (columns) {
            file.tracks.push_back(
                MakeTrack(source, NameOf(heading), std::exchange(found, {}), DescribeLine));
        }
        columns.reset();
    }

    static void ReadSize(const GuideLine& line, std::string_view title, int& size) {
        const Cells cells = CellsOf(Trimmed(line.text));
        if (cells.size() < 2 || cells[0] != title) return;
        const auto number = WholeNumberOf(cells[1]);
        const bool fits = number && *number > 0 && *number <= std::numeric_limits<int>::max();
        if (fits) size = static_cast<int>(*number);
    }

    const GuideSource& source;
    GuideFile file;
    std::string_view heading;
    std::optional<ValueColumns> columns;  // while the lines of a position are read
    std::vector<FoundPosition> found;
};

}  // namespace

bool AreGuideKeyframes(const std::vector<GuideLine>& allLines) {
    return std::any_of(allLines.begin(), allLines.end(), [](const GuideLine& line) {
        return IsTitleLine(line.text) && PositionColumns(line.text);
    });
}

GuideFile ReadGuideKeyframes(const GuideSource& source, const std::vector<GuideLine>& allLines) {
    return KeyframeReader(source).Read(allLines);
}

}  // namespace velorin
