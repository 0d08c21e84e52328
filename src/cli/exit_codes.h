#pragma once

namespace velorin {

// What scripts and render farms read from the program's end.
enum ExitCode {
    kExitDone = 0,
    kExitFailure = 1,
    kExitUsage = 2,
    kExitInput = 3,         // missing, unreadable or of an unusable size
    kExitOutputExists = 4,  // and neither --overwrite nor the like was given
    kExitSomeFailed = 5,    // some frames failed and the run went on
    kExitStopped = 75,      // SIGTERM or SIGUSR1, after the frame in hand; to be resumed
    kExitInterrupted = 130  // SIGINT
};

}  // namespace velorin
