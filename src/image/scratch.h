#pragma once

#include <cstddef>
#include <cstring>

#include "image/mem.h"

namespace velorin {

// Floats for each of several workers, zeros at first.
class WorkerScratch {
  public:
    // Throws ZPErrNoMemory.
    WorkerScratch(int workers, std::size_t newFloatsEach)
        : floatsEach(newFloatsEach),
          floats(static_cast<float*>(KQAllocOrThrow(workers * floatsEach * sizeof(float)))) {
        std::memset(floats, 0, workers * floatsEach * sizeof(float));
    }
    ~WorkerScratch() { KQFree(floats); }
    WorkerScratch(const WorkerScratch&) = delete;
    WorkerScratch& operator=(const WorkerScratch&) = delete;

    float* Of(int worker) { return floats + worker * floatsEach; }

  private:
    const std::size_t floatsEach;
    float* floats;
};

}  // namespace velorin
