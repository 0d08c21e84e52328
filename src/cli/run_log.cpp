#include "cli/run_log.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <sstream>

#include "media/safe_file.h"

namespace velorin {

RunLog::RunLog(const std::string& newName) {
    if (newName.empty()) return;
    file = open(newName.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (file < 0) throw WriteFailure("--log " + newName, errno);
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
    std::strftime(front, sizeof front, "%Y-%m-%dT%H:%M:%SZ ", &parts);
    const std::string begin = front + std::to_string(getpid()) + " ";
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        line = begin + line + "\n";
        // In one piece, so that the lines of several runs do not mix.
        if (write(file, line.data(), line.size()) < 0) return;
    }
}

}  // namespace velorin
