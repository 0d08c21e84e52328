#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "media/guide_formats.h"

namespace velorin {
namespace {

bool IsWhole(const std::vector<GuideLine>& lines, std::size_t index) {
    return index < lines.size() && WholeNumberOf(Trimmed(lines[index].text)).has_value();
}

// A first line with a number is the count of blocks, unless it is a name: then the block's two
// numbers and a position follow at once.
bool HasBlockCount(const std::vector<GuideLine>& lines) {
    const bool nameIsNumber = IsWhole(lines, 1) && IsWhole(lines, 2) && !IsWhole(lines, 3);
    return IsWhole(lines, 0) && !nameIsNumber;
}

class BlockReader {
  public:
    BlockReader(const GuideSource& newSource, const std::vector<GuideLine>& newLines)
        : source(newSource), lines(newLines) {}

    std::vector<GuideTrack> Read() {
        std::vector<GuideTrack> tracks;
        if (!HasBlockCount(lines)) {
            while (next < lines.size()) tracks.push_back(ReadBlock());
            return tracks;
        }
        const GuideLine countLine = Take("the count of tracks");
        const std::int64_t count = CountOf(countLine, "the count of tracks");
        for (std::int64_t i = 0; i < count; ++i) tracks.push_back(ReadBlock());
        if (next < lines.size()) {
            ThrowGuideError(source, lines[next],
                            "stands after the last of the " + std::to_string(count) +
                                " tracks that line " + std::to_string(countLine.number) +
                                " counts; correct that count");
        }
        return tracks;
    }

  private:
    GuideLine Take(const std::string& wanted) {
        if (next < lines.size()) return lines[next++];
        ThrowGuideError(source, "ends after line " + std::to_string(lines.back().number) +
                                    " where " + wanted + " is wanted");
    }

    std::int64_t CountOf(const GuideLine& line, const std::string& wanted) const {
        const std::optional<std::int64_t> count = WholeNumberOf(Trimmed(line.text));
        if (count && *count >= 0) return *count;
        ThrowGuideError(source, line, wanted + " is wanted, a whole number from 0 on");
    }

    std::string TakeName() {
        std::string_view name = Trimmed(Take("the name of a track").text);
        if (name.size() >= 2 && name.starts_with('"') && name.ends_with('"')) {
            name = name.substr(1, name.size() - 2);
        }
        return std::string(name);
    }

    GuideTrack ReadBlock() {
        std::string name = TakeName();
        const std::string ofTrack = " of track " + Quoted(name);
        const GuideLine number = Take("the number" + ofTrack);
        if (!WholeNumberOf(Trimmed(number.text))) {
            ThrowGuideError(source, number, "the number" + ofTrack + " is wanted, a whole one");
        }
        const std::string wanted = "the count of positions" + ofTrack;
        const std::int64_t count = CountOf(Take(wanted), wanted);
        std::vector<FoundPosition> found;
        for (std::int64_t i = 1; i <= count; ++i) {
            const std::string position =
                "position " + std::to_string(i) + " of " + std::to_string(count) + ofTrack;
            const GuideLine line = Take(position);
            found.push_back({PositionIn(line, position), line.number});
        }
        return MakeTrack(source, std::move(name), std::move(found), DescribeLine);
    }

    GuidePosition PositionIn(const GuideLine& line, const std::string& position) const {
        const std::vector<std::string> words = ColumnsOf(source, line);
        bool good = words.size() >= 3;
        for (std::size_t i = 3; i < words.size(); ++i) good = good && NumberOf(words[i]);
        if (!good) {
            ThrowColumnError(source, line,
                             position + " is wanted: a frame, x and y, as in \"12 640 360.5\"");
        }
        return PositionOf(source, line, words[0], words[1], words[2]);
    }

    const GuideSource& source;
    const std::vector<GuideLine>& lines;
    std::size_t next = 0;
};

}  // namespace

bool AreGuideBlocks(const std::vector<GuideLine>& lines) {
    return IsWhole(lines, 0) || (IsWhole(lines, 1) && IsWhole(lines, 2));
}

GuideFile ReadGuideBlocks(const GuideSource& source, const std::vector<GuideLine>& lines) {
    return {BlockReader(source, lines).Read()};
}

}  // namespace velorin
