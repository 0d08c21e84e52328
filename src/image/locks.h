#pragma once

#include <pthread.h>

#include <cstdint>

#include "image/mem.h"

namespace velorin {

// A lock that is born taken, or open with `startOpen`. Wait takes it, Signal gives it up. The
// constructor throws ZPErrNoMemory when the mutex cannot be made.
class KQMP_BinarySemaphore : public KQMem {
  public:
    explicit KQMP_BinarySemaphore(bool startOpen);
    virtual ~KQMP_BinarySemaphore();

    KQMP_BinarySemaphore(const KQMP_BinarySemaphore&) = delete;
    KQMP_BinarySemaphore& operator=(const KQMP_BinarySemaphore&) = delete;

    void Wait();
    void Signal();

    std::int32_t mutexValid = 0;
    pthread_mutex_t mutex;
    std::uint8_t created = 0;
};

// Locks of the forward warp, one a destination row, so that workers that write into one row exclude
// each other for the length of a span.
struct RowLock {
    std::int32_t mutexValid;
    pthread_mutex_t mutex;
};

// An array of `count` pointers into one block of locks. Throws ZPErrNoMemory, with nothing left
// behind.
RowLock** CreateRowLocks(int count);
void DestroyRowLocks(RowLock** locks, int count);

// Spins until the lock is free: a span is far shorter than a sleep.
void LockRow(RowLock* lock);
void UnlockRow(RowLock* lock);

}  // namespace velorin
