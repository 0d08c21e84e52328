#pragma once

namespace velorin {

// Supplies sparkMpFork and sparkMpInfo to programs that run without a host: threads that stay alive
// between jobs, one an equal share of pixels, in thread order. Link this library and call
// UseThreads before the first parallel operation.

// Makes the pool hold `count` threads, the calling one included, and tells the library so. 1 to 64;
// other counts are brought into this range. Not during a job.
void UseThreads(int count);

// The processors that this process may run on, at most 64.
int AvailableProcessors();

}  // namespace velorin
