#include "cli/standard_streams.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "media/safe_file.h"

namespace velorin {

// Input and output are the wrong way round, so that using them fails as it does when they are
// closed; messages may be lost.
void OccupyStandardStreams() {
    constexpr int kModes[] = {O_WRONLY, O_RDONLY, O_WRONLY};
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        if (fcntl(stream, F_GETFD) >= 0 || errno != EBADF) continue;
        // The lowest number that is free, which is this one.
        if (open("/dev/null", kModes[stream]) != stream) return;
    }
}

void FinishStandardOutput() {
    errno = 0;
    const bool failedBefore = std::ferror(stdout) != 0;
    if (std::fflush(stdout) != 0 || failedBefore) throw WriteFailure("standard output", errno);
}

}  // namespace velorin
