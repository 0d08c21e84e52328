#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>

#include "image/err.h"
#include "image/mem.h"

namespace velorin {

// While it lives, every allocation of the library comes through here, and the one numbered
// `failing` (from 1; 0 for none) gets null. Counts what is taken and not given back.
class FailingAllocator {
  public:
    explicit FailingAllocator(int failing) : failingCall(failing) {
        KQSetAllocator(this, &Allocate, &Release);
    }
    ~FailingAllocator() { KQSetAllocator(nullptr, nullptr, nullptr); }

    FailingAllocator(const FailingAllocator&) = delete;
    FailingAllocator& operator=(const FailingAllocator&) = delete;

    int Calls() const { return calls; }
    int Live() const { return live; }
    bool Failed() const { return failingCall > 0 && calls >= failingCall; }

  private:
    static void* Allocate(void* context, std::size_t size) {
        auto& self = *static_cast<FailingAllocator*>(context);
        if (++self.calls == self.failingCall) return nullptr;
        ++self.live;
        return std::malloc(size);
    }
    static void Release(void* context, void* pointer) {
        if (pointer) --static_cast<FailingAllocator*>(context)->live;
        std::free(pointer);
    }

    const int failingCall;
    std::atomic<int> calls{0};
    std::atomic<int> live{0};
};

// Calls work() with the first allocation failing, then with the second, and so on until a call of
// it comes through with none failing. check(failed, live) follows each: whether an allocation
// failed, and how many blocks the call left behind.
template <typename Work, typename Check>
void FailEachAllocation(Work&& work, Check&& check) {
    bool failed = true;
    for (int failing = 1; failed; ++failing) {
        const FailingAllocator allocator(failing);
        work();
        failed = allocator.Failed();
        check(failed, allocator.Live());
    }
}

// The same of work that throws ZPErrNoMemory where an allocation failed that it cannot do without,
// as some must be, and leaves no block behind.
template <typename Work>
void ExpectCleanFailures(Work&& work) {
    int thrown = 0;
    FailEachAllocation(
        [&] {
            try {
                work();
            } catch (ZPErr failure) {
                EXPECT_EQ(failure, ZPErrNoMemory);
                ++thrown;
            }
        },
        [](bool, int live) { EXPECT_EQ(live, 0); });
    EXPECT_GT(thrown, 0);
}

}  // namespace velorin
