#pragma once

namespace velorin {

// Supplies sparkMpFork and sparkMpInfo to programs that run without a host: threads that stay alive
// between jobs, one an equal share of pixels, in thread order. Link this library and call
// UseThreads before the first parallel operation.

// Makes the pool hold `count` threads, the calling one included, and tells the library so. 1 to 64;
// other counts are brought into this range. Not during a job.
void UseThreads(int count);

// Lends the pool to a plug-in, which has a copy of this library of its own, as long as this lives:
// the shares are those of a frame of `pixels` pixels, the last thread's with what is left over, and
// `onFork` is called before each job unless it is null. Not during a job, one at a time.
class PoolLoan {
  public:
    PoolLoan(int pixels, void (*onFork)());
    ~PoolLoan();
    PoolLoan(const PoolLoan&) = delete;
    PoolLoan& operator=(const PoolLoan&) = delete;
};

// The processors that this process may run on, at most 64.
int AvailableProcessors();

}  // namespace velorin
