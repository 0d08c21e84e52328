#include "media/stamp.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "media/safe_file.h"

namespace velorin {

namespace {

constexpr char kProgram[] = "velorin ";
constexpr char kNoDigest[] = "-";
constexpr std::size_t kJobDigits = 16;
constexpr std::size_t kPictureDigits = 32;

bool IsHex(const std::string& text, std::size_t digits) {
    return text.size() == digits && text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

bool ReadNumber(const std::string& text, std::int64_t& number) {
    const char* end = text.data() + text.size();
    const auto [rest, failure] = std::from_chars(text.data(), end, number);
    return failure == std::errc() && rest == end && number >= 0;
}

std::optional<StampFile::Line> ParseLine(const std::string& text) {
    const std::size_t first = text.find(' ');
    const std::size_t second = text.find(' ', first + 1);
    if (first == std::string::npos || second == std::string::npos) return {};
    StampFile::Line line;
    line.digest = text.substr(first + 1, second - first - 1);
    const std::optional<Stamp> stamp = ParseStamp(text.substr(second + 1));
    if (!stamp || !ReadNumber(text.substr(0, first), line.number)) return {};
    if (line.digest != kNoDigest && !IsHex(line.digest, kPictureDigits)) return {};
    if (line.digest == kNoDigest) line.digest.clear();
    line.stamp = *stamp;
    return line;
}

}  // namespace

std::string StampText(const Stamp& stamp) {
    return stamp.program + " " + std::to_string(stamp.frame) + "/" + std::to_string(stamp.frames) +
           " " + stamp.job + " " + stamp.picture;
}

std::optional<Stamp> ParseStamp(const std::string& text) {
    if (!text.starts_with(kProgram)) return {};
    std::istringstream words(text.substr(sizeof kProgram - 1));
    std::string version, count, more;
    Stamp stamp;
    if (!(words >> version >> count >> stamp.job >> stamp.picture) || words >> more) return {};
    stamp.program = kProgram + version;
    const std::size_t slash = count.find('/');
    if (slash == std::string::npos || !ReadNumber(count.substr(0, slash), stamp.frame) ||
        !ReadNumber(count.substr(slash + 1), stamp.frames) || !IsHex(stamp.job, kJobDigits) ||
        !IsHex(stamp.picture, kPictureDigits)) {
        return {};
    }
    return stamp;
}

bool KeepsStamp(const std::string& extension) {
    return extension != "ppm";
}

StampFile::StampFile(const SequenceName& sequence) {
    std::string stem = sequence.prefix;
    while (!stem.empty() && std::string("._- ").find(stem.back()) != std::string::npos) {
        stem.pop_back();
    }
    if (stem.empty()) stem = "frames";
    const std::string fileName = "." + stem + sequence.suffix + ".velorin";
    name = (std::filesystem::path(sequence.folder) / fileName).string();
}

// Between line ends on both sides, so that a line that another process left torn takes no other
// with it; and in one piece, which local disks add without a gap.
void StampFile::Append(std::int64_t number, const std::string& digest, const Stamp& stamp) const {
    const std::string line = "\n" + std::to_string(number) + " " +
                             (digest.empty() ? kNoDigest : digest) + " " + StampText(stamp) + "\n";
    const int file = open(name.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (file < 0) throw WriteFailure(name, errno);
    const ssize_t written = write(file, line.data(), line.size());
    const int reason = written < 0 ? errno : ENOSPC;
    const bool closed = close(file) == 0;
    if (written != static_cast<ssize_t>(line.size())) throw WriteFailure(name, reason);
    if (!closed) throw WriteFailure(name, errno);
}

std::vector<StampFile::Line> StampFile::Read() const {
    std::vector<Line> lines;
    std::ifstream file(name, std::ios::binary);
    for (std::string text; std::getline(file, text);) {
        if (std::optional<Line> line = ParseLine(text)) lines.push_back(*std::move(line));
    }
    return lines;
}

}  // namespace velorin
