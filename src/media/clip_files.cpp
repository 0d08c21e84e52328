#include "media/clip_files.h"

#include <sys/stat.h>

#include <filesystem>

namespace velorin {

namespace {

namespace fs = std::filesystem;

std::string IdentityOfFile(const std::string& name) {
    constexpr std::int64_t kMicroseconds = 1000000;
    const std::string own = fs::path(name).filename().string();
    struct stat status = {};
    if (stat(name.c_str(), &status) != 0) return own + " missing";
    const std::int64_t changed = static_cast<std::int64_t>(status.st_mtim.tv_sec) * kMicroseconds +
                                 status.st_mtim.tv_nsec / 1000;
    return own + " " + std::to_string(status.st_size) + " " + std::to_string(changed);
}

}  // namespace

std::optional<SequenceName> SequenceNameOf(const ClipInfo& clip) {
    std::error_code ignored;
    if (clip.isMovie) return {};
    return fs::is_directory(clip.name, ignored) ? FindSequenceInFolder(clip.name, Holes::kKeep).name
                                                : ParseSequenceName(clip.name);
}

ClipFiles::ClipFiles(const ClipInfo& clip)
    : movie(clip.name), sequence(SequenceNameOf(clip)), firstNumber(clip.firstNumber) {
    if (!sequence) movieIdentity = IdentityOfFile(movie);
}

std::string ClipFiles::IdentityOf(std::int64_t frame) const {
    return sequence ? IdentityOfFile(sequence->FileName(firstNumber + frame)) : movieIdentity;
}

std::string ClipFiles::Name() const {
    return fs::path(sequence ? sequence->Pattern() : movie).filename().string();
}

}  // namespace velorin
