#pragma once

#include <cstdarg>

namespace velorin {

// Threads that a job may use: 0 until set, at most kMaxThreads.
inline constexpr int kMaxThreads = 64;

void SetThreadCount(int count);
int GetThreadCount();        // as it stands
int EffectiveThreadCount();  // as it stands if above 0; otherwise stores 1 and answers 1

// Workers for a job of `items` such that each gets at least 16; 0 for no items.
int ChooseWorkers(int items);

// Does items firstRow to lastRow, both inclusive, reading its arguments from the list in the order
// in which ParallelFor got them. `zero` is 0.
using ParallelKernel = void (*)(int slot, int zero, int firstRow, int lastRow, va_list* arguments);

// Spreads `items` over `workers` threads; the last worker takes the remainder. With one worker or
// one item the kernel runs on the calling thread. What a kernel throws is thrown again here, on the
// calling thread, once all workers are done; of several the first one kept.
//
// One job at a time: not reentrant, and called from the frame thread only. Use ParallelRows, the
// typed front of this.
void ParallelFor(int workers, int items, ParallelKernel kernel, ...);

}  // namespace velorin
