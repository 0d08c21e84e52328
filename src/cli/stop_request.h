#pragma once

namespace velorin {

// From now on SIGINT, SIGTERM and SIGUSR1 no longer end the program: the run asks below between
// frames and ends by itself. Nor do writes that fail (SIGXFSZ, SIGPIPE).
void WatchForStop();

// The code to exit with: kExitInterrupted after SIGINT, kExitStopped after the others, 0 when the
// run may go on.
int StopRequested();

// A second SIGINT: not even the frame in hand is wanted. A third one is not waited for.
bool StopAtOnce();

}  // namespace velorin
