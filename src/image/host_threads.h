#pragma once

// What this library expects from outside to run on several threads: the host supplies it to the
// plug-in, src/standalone to programs without a host.

#pragma GCC visibility push(default)

extern "C" {

// Runs `worker(argument)` once on each of the host's processing threads and returns when all are
// done. `one` is 1 in every call.
void sparkMpFork(void (*worker)(void* argument), int one, void* argument);

// Inside a worker: this thread's first pixel of the frame and its count of pixels. Shares are equal
// and in thread order.
void sparkMpInfo(long long* firstPixel, long long* pixelCount);
}

#pragma GCC visibility pop

namespace velorin {

// Pixels of the frame that the shares above refer to.
int KQMPSparkGetNumberOfFramePixels();

}  // namespace velorin
