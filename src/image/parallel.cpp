#include "image/parallel.h"

#include <array>
#include <atomic>
#include <exception>
#include <mutex>

#include "image/host_threads.h"

namespace velorin {

namespace {

struct WorkEntry {
    int firstRow = -1;
    int lastRow = -1;
    va_list arguments;
    ParallelKernel kernel = nullptr;
    int slot = 0;
    int itemCount = 0;
    int workerCount = 0;
    std::atomic<bool> taken = false;
};

int gThreadCount = 0;
std::array<WorkEntry, kMaxThreads> gWorkTable;

// What a worker threw: the fork is the host's, and an exception that meets it ends the program.
std::mutex gFailureMutex;
std::exception_ptr gFailure;

// Once, whoever comes first.
void RunEntry(WorkEntry& entry) {
    if (entry.taken.exchange(true, std::memory_order_relaxed)) return;
    va_list arguments;
    va_copy(arguments, entry.arguments);
    try {
        entry.kernel(entry.slot, 0, entry.firstRow, entry.lastRow, &arguments);
    } catch (...) {
        const std::lock_guard<std::mutex> guard(gFailureMutex);
        if (!gFailure) gFailure = std::current_exception();
    }
    va_end(arguments);
}

// Runs on each of the host's threads and finds its own slot from the host's split of the frame.
void RunWorker(void* table) {
    long long firstPixel = 0;
    long long pixelCount = 0;
    sparkMpInfo(&firstPixel, &pixelCount);
    const long long share = KQMPSparkGetNumberOfFramePixels() / GetThreadCount();
    if (share < 1) return;
    const long long slot = firstPixel / share;
    if (slot < 0 || slot >= GetThreadCount()) return;
    WorkEntry& entry = static_cast<WorkEntry*>(table)[slot];
    if (slot >= entry.itemCount || slot >= entry.workerCount) return;
    RunEntry(entry);
}

void FillTable(int workers, int items, ParallelKernel kernel, va_list* arguments) {
    for (int slot = 0; slot < GetThreadCount(); ++slot) {
        WorkEntry& entry = gWorkTable[slot];
        entry.kernel = kernel;
        va_copy(entry.arguments, *arguments);
        entry.slot = slot;
        entry.itemCount = items;
        entry.workerCount = workers;
        entry.taken.store(false, std::memory_order_relaxed);
    }
    for (int slot = 0; slot < workers; ++slot) {
        const int size = items / workers;
        gWorkTable[slot].firstRow = size * slot;
        gWorkTable[slot].lastRow = slot == workers - 1 ? items - 1 : size * slot + size - 1;
    }
}

void ThrowKeptFailure() {
    if (!gFailure) return;
    const std::exception_ptr failure = gFailure;
    gFailure = nullptr;
    std::rethrow_exception(failure);
}

void Fork(int workers, int items, ParallelKernel kernel, va_list* arguments) {
    FillTable(workers, items, kernel, arguments);
    sparkMpFork(RunWorker, 1, gWorkTable.data());
    // A host that has fewer threads than it told, or shares too small to tell them apart, leaves
    // slots behind.
    for (int slot = 0; slot < workers; ++slot) RunEntry(gWorkTable[slot]);
    for (int slot = 0; slot < GetThreadCount(); ++slot) va_end(gWorkTable[slot].arguments);
}

}  // namespace

void SetThreadCount(int count) {
    gThreadCount = count < kMaxThreads ? count : kMaxThreads;
}

int GetThreadCount() {
    return gThreadCount;
}

int EffectiveThreadCount() {
    if (gThreadCount <= 0) gThreadCount = 1;
    return gThreadCount;
}

int ChooseWorkers(int items) {
    const int threads = EffectiveThreadCount();
    int workers = threads < items ? threads : items;
    while (workers > 1 && items / workers <= 15) --workers;
    return workers;
}

void ParallelFor(int workers, int items, ParallelKernel kernel, ...) {
    va_list arguments;
    va_start(arguments, kernel);
    if (workers == 1 || items == 1) {
        try {
            kernel(0, 0, 0, items - 1, &arguments);
        } catch (...) {
            va_end(arguments);
            throw;
        }
        va_end(arguments);
        return;
    }
    Fork(workers, items, kernel, &arguments);
    va_end(arguments);
    ThrowKeptFailure();
}

}  // namespace velorin
