#include "media/text_file.h"

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "media/clip.h"

namespace velorin {
namespace {

constexpr std::size_t kMostBytes = std::size_t{1} << 28;
constexpr std::size_t kReadBytes = std::size_t{1} << 16;

[[noreturn]] void Refuse(const std::string& name, const std::string& reason) {
    throw MediaError(MediaError::Kind::kInput, name + ": " + reason);
}

}  // namespace

std::string ReadTextFile(const std::string& name, const std::string& what) {
    std::error_code ignored;
    if (std::filesystem::is_directory(name, ignored)) {
        Refuse(name, "is a folder; a file with " + what + " is wanted");
    }
    std::ifstream file(name, std::ios::binary);
    if (!file) {
        Refuse(name, "the file with " + what + " cannot be read (" +
                         std::generic_category().message(errno) + ")");
    }
    std::string content;
    while (file) {
        const std::size_t before = content.size();
        content.resize(before + kReadBytes);
        file.read(content.data() + before, kReadBytes);
        content.resize(before + static_cast<std::size_t>(file.gcount()));
        if (content.size() > kMostBytes) Refuse(name, "is too large for a file with " + what);
    }
    if (file.bad()) Refuse(name, "the file cannot be read to its end");
    if (content.starts_with("\xff\xfe") || content.starts_with("\xfe\xff")) {
        Refuse(name, "is text in UTF-16; save it as UTF-8 or as plain text");
    }
    return content;
}

std::string_view WithoutByteOrderMark(std::string_view text) {
    constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";
    return text.starts_with(kByteOrderMark) ? text.substr(kByteOrderMark.size()) : text;
}

}  // namespace velorin
