#include "media/safe_file.h"

#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

namespace velorin {
namespace {

namespace fs = std::filesystem;

std::string FolderOf(const std::string& target) {
    const std::string folder = fs::path(target).parent_path().string();
    return folder.empty() ? "." : folder;
}

MediaError ExistsAlready(const std::string& target) {
    return MediaError(MediaError::Kind::kOutputExists,
                      target + ": is there already; choose another name or allow overwriting");
}

// The stem only tells a person whose file this is; the whole name has to fit where the target's
// does.
constexpr std::size_t kStemBytes = 100;

std::string TemporaryNameFor(const std::string& target, int attempt) {
    const fs::path path(target);
    std::string name = ".";
    name += path.stem().string().substr(0, kStemBytes);
    name += ".velorin-" + std::to_string(getpid()) + "-" + std::to_string(attempt);
    name += path.extension().string();
    return (path.parent_path() / name).string();
}

}  // namespace

MediaError WriteFailure(const std::string& target, int reason) {
    std::string text = target + ": cannot be written";
    if (reason != 0) text += " (" + std::generic_category().message(reason) + ")";
    if (reason == ENOSPC || reason == EDQUOT || reason == EFBIG) {
        text += "; make room or write to another disk";
    } else if (reason == EACCES || reason == EPERM || reason == EROFS) {
        text += "; choose a folder that you may write to";
    }
    return MediaError(MediaError::Kind::kFailure, text);
}

void CheckTarget(const std::string& target, bool overwrite) {
    const std::string folder = FolderOf(target);
    std::error_code ignored;
    if (!fs::is_directory(folder, ignored)) {
        throw MediaError(MediaError::Kind::kFailure,
                         target + ": there is no folder " + folder + "; make it first");
    }
    if (access(folder.c_str(), W_OK | X_OK) != 0) throw WriteFailure(target, errno);
    const fs::file_status status = fs::status(target, ignored);
    if (!fs::exists(status)) return;
    if (!fs::is_regular_file(status)) {
        throw MediaError(MediaError::Kind::kFailure,
                         target + ": is no plain file and is not replaced; choose another name");
    }
    if (!overwrite) throw ExistsAlready(target);
}

SafeFile::SafeFile(const std::string& targetName, bool mayOverwrite)
    : target(targetName), overwrite(mayOverwrite) {
    CheckTarget(target, overwrite);
    // The numbers are for writers of one process, and for processes with the same id on machines
    // that share the folder.
    for (int attempt = 0; descriptor < 0; ++attempt) {
        temporary = TemporaryNameFor(target, attempt);
        descriptor = open(temporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor < 0 && errno != EEXIST) throw WriteFailure(target, errno);
    }
}

SafeFile::~SafeFile() {
    if (descriptor >= 0) close(descriptor);
    if (!temporary.empty()) unlink(temporary.c_str());
}

void SafeFile::Commit() {
    if (fsync(descriptor) != 0) throw WriteFailure(target, errno);
    const int closing = std::exchange(descriptor, -1);
    if (close(closing) != 0) throw WriteFailure(target, errno);
    GiveName();
    temporary.clear();
}

void SafeFile::GiveName() {
    if (!overwrite) {
        if (renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) ==
            0) {
            return;
        }
        if (errno == EEXIST) throw ExistsAlready(target);
        // Some network file systems know plain renames only.
        if (errno != EINVAL && errno != ENOSYS) throw WriteFailure(target, errno);
        CheckTarget(target, overwrite);
    }
    if (rename(temporary.c_str(), target.c_str()) != 0) throw WriteFailure(target, errno);
}

}  // namespace velorin
