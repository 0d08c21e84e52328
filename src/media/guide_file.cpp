#include "media/guide_file.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>
#include <vector>

#include "media/guide_formats.h"
#include "media/guide_source.h"

namespace velorin {
namespace {

// Far more than points ever take: keeps a movie given by mistake out of memory.
constexpr std::size_t kMostBytes = std::size_t{1} << 28;
constexpr std::size_t kReadBytes = std::size_t{1} << 16;

std::string ContentOfFile(const std::string& name) {
    const GuideSource source{name, {}};
    std::error_code ignored;
    if (std::filesystem::is_directory(name, ignored)) {
        ThrowGuideError(source, "is a folder; a file with tracked points is wanted");
    }
    std::ifstream file(name, std::ios::binary);
    if (!file) {
        ThrowGuideError(source, "the file with tracked points cannot be read (" +
                                    std::generic_category().message(errno) + ")");
    }
    std::string content;
    while (file) {
        const std::size_t before = content.size();
        content.resize(before + kReadBytes);
        file.read(content.data() + before, kReadBytes);
        content.resize(before + static_cast<std::size_t>(file.gcount()));
        if (content.size() > kMostBytes) {
            ThrowGuideError(source, "is too large for a file of tracked points");
        }
    }
    if (file.bad()) ThrowGuideError(source, "the file cannot be read to its end");
    return content;
}

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
    const std::string content = ContentOfFile(name);
    GuideSource source{name, content};
    constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";
    if (source.text.starts_with("\xff\xfe") || source.text.starts_with("\xfe\xff")) {
        ThrowGuideError(source, "is text in UTF-16; save it as UTF-8 or as plain text");
    }
    if (source.text.starts_with(kByteOrderMark)) source.text.remove_prefix(kByteOrderMark.size());
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
