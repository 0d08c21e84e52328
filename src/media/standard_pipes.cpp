#include "media/standard_pipes.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <new>
#include <utility>

#include "media/clip.h"

namespace velorin {

namespace {

constexpr int kBufferBytes = 1 << 16;
// Far enough for distances back from there.
constexpr std::int64_t kStandingPlace = std::int64_t{1} << 50;
// What a syncpoint of NUT begins with.
constexpr std::array<std::uint8_t, 8> kSyncpoint = {'N', 'K', 0xe4, 0xad, 0xee, 0xca, 0x45, 0x69};
constexpr int kWaitMilliseconds = 100;

std::uint8_t* MakeBuffer() {
    auto* buffer = static_cast<std::uint8_t*>(av_malloc(kBufferBytes));
    if (buffer == nullptr) throw std::bad_alloc();
    return buffer;
}

}  // namespace

StandardInput::StandardInput(std::function<bool()> newStops) : stops(std::move(newStops)) {
    if (isatty(STDIN_FILENO)) {
        throw MediaError(MediaError::Kind::kInput,
                         "standard input is a terminal; pipe y4m or NUT into the program, or name "
                         "a file");
    }
    io.reset(avio_alloc_context(MakeBuffer(), kBufferBytes, 0, this, &Read, nullptr, nullptr));
    if (!io) throw std::bad_alloc();
    io->seekable = 0;
}

void StandardInput::StandAtSyncpoint() {
    // Has bytes come, and goes back over the first of them.
    avio_r8(io.get());
    if (avio_feof(io.get()) || avio_seek(io.get(), -1, SEEK_CUR) < 0) return;
    const auto there = static_cast<std::size_t>(io->buf_end - io->buf_ptr);
    if (there < kSyncpoint.size()) return;
    if (!std::equal(kSyncpoint.begin(), kSyncpoint.end(), io->buf_ptr)) return;
    io->pos += kStandingPlace - avio_tell(io.get());
}

int StandardInput::Read(void* self, std::uint8_t* bytes, int count) {
    return static_cast<StandardInput*>(self)->ReadSome(bytes, count);
}

int StandardInput::ReadSome(std::uint8_t* bytes, int count) {
    while (true) {
        if (stops()) {
            stopped = true;
            return AVERROR_EXIT;
        }
        pollfd wanted{STDIN_FILENO, POLLIN, 0};
        if (poll(&wanted, 1, kWaitMilliseconds) <= 0) continue;
        const ssize_t got = read(STDIN_FILENO, bytes, static_cast<std::size_t>(count));
        if (got == 0) return AVERROR_EOF;
        if (got < 0 && (errno == EINTR || errno == EAGAIN)) continue;
        if (got < 0) return AVERROR(errno);
        taken += got;
        return static_cast<int>(got);
    }
}

StandardOutput::StandardOutput() {
    if (isatty(STDOUT_FILENO)) {
        throw MediaError(MediaError::Kind::kFailure,
                         "-o -: standard output is a terminal; pipe it into a program, or name a "
                         "file");
    }
    // One that was closed is held by a file that is not open to write.
    const int flags = fcntl(STDOUT_FILENO, F_GETFL);
    const bool isOpen = flags >= 0 && (flags & O_ACCMODE) != O_RDONLY;
    if (isOpen) descriptor = dup(STDOUT_FILENO);
    if (descriptor < 0 || dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
        throw MediaError(MediaError::Kind::kFailure, "-o -: standard output is closed");
    }
    io.reset(avio_alloc_context(MakeBuffer(), kBufferBytes, 1, this, nullptr, &Write, nullptr));
    if (!io) throw std::bad_alloc();
    io->seekable = 0;
}

StandardOutput::~StandardOutput() {
    std::fflush(stdout);
    dup2(descriptor, STDOUT_FILENO);
    close(descriptor);
}

int StandardOutput::Write(void* self, std::uint8_t* bytes, int count) {
    const int to = static_cast<StandardOutput*>(self)->descriptor;
    for (int done = 0; done < count;) {
        const ssize_t put = write(to, bytes + done, static_cast<std::size_t>(count - done));
        if (put < 0 && errno == EINTR) continue;
        if (put < 0) return AVERROR(errno);
        done += static_cast<int>(put);
    }
    return count;
}

}  // namespace velorin
