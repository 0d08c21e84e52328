#include "media/guide_file.h"

#include <string_view>
#include <vector>

#include "media/guide_formats.h"
#include "media/guide_source.h"
#include "media/text_file.h"

namespace velorin {
namespace {

bool IsJson(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    return first != std::string_view::npos && (text[first] == '{' || text[first] == '[');
}

GuideFile ReadInItsForm(const GuideSource& source) {
    if (IsJson(source.text)) return ReadGuideJson(source);
    const std::vector<GuideLine> lines = LinesOf(source.text);
    if (AreGuideKeyframes(lines)) return ReadGuideKeyframes(source, lines);
    const std::vector<GuideLine> content = ContentOf(lines);
    if (AreGuideBlocks(content)) return ReadGuideBlocks(source, content);
    return ReadGuideTable(source, content);
}

}  // namespace

GuideFile ReadGuideFile(const std::string& name) {
    const std::string content = ReadTextFile(name, "tracked points");
    const GuideSource source{name, WithoutByteOrderMark(content)};
    GuideFile file = ReadInItsForm(source);
    std::erase_if(file.tracks, [](const GuideTrack& track) { return track.positions.empty(); });
    if (file.tracks.empty()) {
        ThrowGuideError(source,
                        "holds no points; lines such as \"name frame x y\" are wanted, or another "
                        "of the known forms");
    }
    return file;
}

}  // namespace velorin
