#include "media/still_end.h"

#include <algorithm>
#include <fstream>

namespace velorin {
namespace {

// What stands at the end of a whole file: the JPEG library fills what a cut one lacks with gray and
// says nothing, and the PNG library prints a line of its own. Null for a format that needs no look.
const char* EndMark(const std::string& format) {
    if (format == "jpeg") return "\xff\xd9";
    return format == "png" ? "IEND" : nullptr;
}

// Whether the mark is there; some cameras append data of their own after it.
bool HasEnd(const std::string& fileName, const char* mark) {
    constexpr std::streamoff kMostAppended = 65536;
    std::ifstream file(fileName, std::ios::binary | std::ios::ate);
    const std::streamoff size = file.tellg();
    std::string tail(static_cast<std::size_t>(std::min(size, kMostAppended)), '\0');
    file.seekg(size - static_cast<std::streamoff>(tail.size()));
    file.read(tail.data(), static_cast<std::streamsize>(tail.size()));
    return tail.find(mark) != std::string::npos;
}

}  // namespace

bool IsCutShort(const std::string& fileName, const std::string& format) {
    const char* mark = EndMark(format);
    return mark != nullptr && !HasEnd(fileName, mark);
}

}  // namespace velorin
