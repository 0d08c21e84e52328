#include "cli/stop_request.h"

#include <atomic>
#include <csignal>

#include "cli/exit_codes.h"

namespace velorin {

namespace {

// Without locks, and so fit for a signal handler, on whichever thread it runs.
std::atomic<int> gStopCode{0};
std::atomic<int> gInterrupts{0};
static_assert(std::atomic<int>::is_always_lock_free);

void HandleSignal(int number) {
    gStopCode = number == SIGINT ? kExitInterrupted : kExitStopped;
    // After a second one the next ends the program as it stands: it may hang in a write to a pipe
    // that nobody empties.
    if (number == SIGINT && ++gInterrupts > 1) signal(SIGINT, SIG_DFL);
}

}  // namespace

void WatchForStop() {
    struct sigaction action = {};
    action.sa_handler = HandleSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (const int number : {SIGINT, SIGTERM, SIGUSR1}) sigaction(number, &action, nullptr);
    // A limit on file sizes and a pipe without a reader fail as writes do, where they are told.
    for (const int number : {SIGXFSZ, SIGPIPE}) signal(number, SIG_IGN);
}

int StopRequested() {
    return gStopCode;
}

bool StopAtOnce() {
    return gInterrupts > 1;
}

}  // namespace velorin
