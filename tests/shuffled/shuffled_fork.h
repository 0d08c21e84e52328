#pragma once

#include <vector>

namespace velorin {

// A host's fork that runs its workers one after the other on the calling thread, in an order that
// changes with every job. This program has it instead of the pool of src/standalone, so nothing in
// it may call UseThreads.

// Sets the number of threads and, by `seed`, the orders to come.
void UseShuffledFork(int threads, unsigned seed);

// From now on the first `missing` threads of each order do not run, until the next UseShuffledFork.
void LoseThreads(int missing);

// The thread numbers of the last job in the order in which they ran.
const std::vector<int>& LastOrder();

}  // namespace velorin
