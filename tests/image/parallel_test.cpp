#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <stdexcept>
#include <utility>
#include <vector>

#include "image/parallel_rows.h"
#include "support/forms.h"

namespace velorin {
namespace {

TEST(Parallel, ChooseWorkersKeepsSixteenItemsEach) {
    SetThreadCount(8);
    constexpr int kItems[] = {0, 1, 2, 31, 32, 47, 48, 127, 128, 1000};
    constexpr int kWorkers[] = {0, 1, 1, 1, 2, 2, 3, 7, 8, 8};
    for (int i = 0; i < 10; ++i) EXPECT_EQ(ChooseWorkers(kItems[i]), kWorkers[i]) << kItems[i];
    SetThreadCount(3);
    EXPECT_EQ(ChooseWorkers(1000), 3);
    UseThreads(1);
}

TEST(Parallel, ThreadCountIsOneOnceAsked) {
    SetThreadCount(0);
    EXPECT_EQ(EffectiveThreadCount(), 1);
    EXPECT_EQ(GetThreadCount(), 1);
    SetThreadCount(65);
    EXPECT_EQ(GetThreadCount(), 64);
    UseThreads(1);
}

TEST(Parallel, RowsAreCoveredOnce) {
    ForEachThreadCount([] {
        for (int rows : {0, 1, 15, 16, 31, 32, 33, 100, 127, 128, 129, 1000}) {
            std::vector<int> visits(rows, 0);
            ParallelRows(rows, [&](int firstRow, int lastRow) {
                for (int y = firstRow; y <= lastRow; ++y) ++visits[y];
            });
            EXPECT_EQ(visits, std::vector<int>(rows, 1)) << rows;
        }
    });
}

TEST(Parallel, ExceptionsReachTheCallerOnceAllAreDone) {
    constexpr int kAll = -1;
    ForEachThreadCount([] {
        for (int thrower : {0, 50, 999, kAll}) {
            std::atomic<int> done{0};
            const auto run = [&](auto failure) {
                ParallelRows(1000, [&](int firstRow, int lastRow) {
                    done += lastRow - firstRow + 1;
                    if (thrower == kAll) throw failure;
                    if (firstRow <= thrower && thrower <= lastRow) throw failure;
                });
            };
            EXPECT_THROW(run(ZPErrInterrupted), ZPErr);
            EXPECT_THROW(run(std::runtime_error("carried")), std::runtime_error);
            // Nothing of a failure is left for the next job, and an error of 0 is none.
            EXPECT_NO_THROW(run(ZPErrNone));
            EXPECT_EQ(done, 3000);
        }
    });
}

// Reads an int by address and a double, in the order in which ParallelFor got them.
void SumKernel(int slot, int zero, int firstRow, int lastRow, va_list* arguments) {
    auto* sums = va_arg(*arguments, std::atomic<int>*);
    const double factor = va_arg(*arguments, double);
    EXPECT_EQ(zero, 0);
    for (int i = firstRow; i <= lastRow; ++i) sums[slot] += static_cast<int>(i * factor);
}

TEST(Parallel, KernelReadsItsArguments) {
    UseThreads(3);
    // With fewer workers than threads the others stay idle.
    const std::pair<int, std::array<int, 4>> kEnds[] = {{2, {0, 50, 100, 100}},
                                                        {3, {0, 33, 66, 100}}};
    for (const auto& [workers, ends] : kEnds) {
        std::atomic<int> sums[3] = {};
        ParallelFor(workers, 100, SumKernel, sums, 2.0);
        for (int slot = 0; slot < 3; ++slot) {
            const int first = ends[slot], end = ends[slot + 1];
            EXPECT_EQ(sums[slot], end * (end - 1) - first * (first - 1));
        }
    }
    UseThreads(1);
}

}  // namespace
}  // namespace velorin
