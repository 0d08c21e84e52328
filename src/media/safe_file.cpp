#include "media/safe_file.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
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

constexpr char kTemporaryMark[] = ".velorin-";

std::string TemporaryNameFor(const std::string& target, int attempt) {
    const fs::path path(target);
    std::string name = ".";
    name += path.stem().string().substr(0, kStemBytes);
    name += kTemporaryMark + std::to_string(getpid()) + "-" + std::to_string(attempt);
    name += path.extension().string();
    return (path.parent_path() / name).string();
}

// The target's name, without its folder, of a name made as above; empty for any other.
std::string TargetOfTemporary(const std::string& name) {
    const std::size_t mark = name.rfind(kTemporaryMark);
    if (mark == std::string::npos || mark == 0 || name[0] != '.') return "";
    const std::size_t numbers = mark + sizeof kTemporaryMark - 1;
    const std::size_t end = std::min(name.find_first_not_of("0123456789-", numbers), name.size());
    if (end == numbers || (end < name.size() && name[end] != '.')) return "";
    return name.substr(1, mark - 1) + name.substr(end);
}

// A lock that others hold for writing means that the file is in use; so does a lock that cannot be
// had, where the file system knows none.
bool LockIfUnused(int descriptor) {
    return flock(descriptor, LOCK_EX | LOCK_NB) == 0;
}

}  // namespace

int RemoveAbandoned(const std::string& folder,
                    const std::function<bool(const std::string& targetName)>& isOurs) {
    int removed = 0;
    std::error_code error;
    for (auto entry = fs::directory_iterator(folder.empty() ? "." : folder, error);
         !error && entry != fs::end(entry); entry.increment(error)) {
        const std::string target = TargetOfTemporary(entry->path().filename().string());
        if (target.empty() || !isOurs(target)) continue;
        const int file = open(entry->path().c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
        if (file < 0) continue;
        if (LockIfUnused(file) && unlink(entry->path().c_str()) == 0) ++removed;
        close(file);
    }
    return removed;
}

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
    // The numbers are for writers of one process, for what killed ones left, and for processes with
    // the same id on machines that share the folder.
    for (int attempt = 0; !Open(attempt); ++attempt) continue;
}

// False where another file of that name stands in the way.
bool SafeFile::Open(int attempt) {
    temporary = TemporaryNameFor(target, attempt);
    descriptor = open(temporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor < 0 && errno != EEXIST) throw WriteFailure(target, errno);
    if (descriptor < 0) return false;
    // Who looks for abandoned files may have come first, and removes this one.
    const bool taken = flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    struct stat status = {};
    if (!taken && fstat(descriptor, &status) == 0 && status.st_nlink > 0) return true;
    close(std::exchange(descriptor, -1));
    return false;
}

SafeFile::~SafeFile() {
    if (descriptor >= 0) close(descriptor);
    if (!temporary.empty()) unlink(temporary.c_str());
}

void SafeFile::Commit() {
    if (fsync(descriptor) != 0) throw WriteFailure(target, errno);
    // Closing may fail and has to be asked; its twin holds the lock until the name is given.
    const int closing = std::exchange(descriptor, dup(descriptor));
    if (close(closing) != 0) throw WriteFailure(target, errno);
    GiveName();
    temporary.clear();
    if (descriptor >= 0) close(std::exchange(descriptor, -1));
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
