#include "cli/run_log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <sstream>
#include <utility>

#include "media/safe_file.h"

namespace velorin {

namespace {

constexpr char kTimeForm[] = "%Y-%m-%dT%H:%M:%SZ ";

// Whether the file, if it is a plain one that holds something, begins as a log does.
bool MayBeLog(int file) {
    struct stat status = {};
    if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) return true;
    char front[64] = {};
    std::tm unused{};
    const ssize_t length = pread(file, front, sizeof front - 1, 0);
    return length == 0 || (length > 0 && strptime(front, kTimeForm, &unused));
}

}  // namespace

// A picture or a movie whose name was given by mistake would be damaged by a single line.
RunLog::RunLog(const std::string& newName) {
    if (newName.empty()) return;
    file = open(newName.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (file < 0) throw WriteFailure("--log " + newName, errno);
    if (MayBeLog(file)) return;
    close(std::exchange(file, -1));
    throw MediaError(MediaError::Kind::kFailure,
                     "--log " + newName +
                         ": is there already and is no log of this program; "
                         "choose another name");
}

RunLog::~RunLog() {
    if (file >= 0) close(file);
}

void RunLog::Add(const std::string& text) {
    if (file < 0) return;
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&now, &parts);
    char front[64];
    std::strftime(front, sizeof front, kTimeForm, &parts);
    const std::string begin = front + std::to_string(getpid()) + " ";
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        line = begin + line + "\n";
        // In one piece, so that the lines of several runs do not mix.
        if (write(file, line.data(), line.size()) < 0) return;
    }
}

}  // namespace velorin
