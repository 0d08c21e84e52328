#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
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
    EXPECT_EQ(GetThreadCount(), 0);
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

TEST(Parallel, ShortJobsStayOnTheCallingThread) {
    UseThreads(8);
    ParallelRows(31, [caller = std::this_thread::get_id()](int firstRow, int lastRow) {
        EXPECT_EQ(std::this_thread::get_id(), caller);
        EXPECT_EQ(firstRow, 0);
        EXPECT_EQ(lastRow, 30);
    });
    UseThreads(1);
}

TEST(Parallel, ExceptionsReachTheCallerOnceAllAreDone) {
    ForEachThreadCount([] {
        for (int thrower : {0, 50, 999}) {
            std::atomic<int> done{0};
            try {
                ParallelRows(1000, [&](int firstRow, int lastRow) {
                    done += lastRow - firstRow + 1;
                    if (firstRow <= thrower && thrower <= lastRow) throw ZPErrInterrupted;
                });
                FAIL() << "no exception";
            } catch (ZPErr failure) {
                EXPECT_EQ(failure, ZPErrInterrupted);
            }
            EXPECT_EQ(done, 1000);
        }
        // Nothing of the failure is left for the next job.
        EXPECT_NO_THROW(ParallelRows(1000, [](int, int) {}));
    });
}

TEST(Parallel, AnyExceptionIsCarriedAndZeroIsDropped) {
    ForEachThreadCount([] {
        EXPECT_NO_THROW(ParallelRows(1000, [](int, int) { throw ZPErrNone; }));
        try {
            ParallelRows(1000, [](int, int) { throw std::runtime_error("carried"); });
            FAIL() << "no exception";
        } catch (const std::runtime_error& error) {
            EXPECT_EQ(std::string(error.what()), "carried");
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
    std::atomic<int> sums[3] = {};
    ParallelFor(3, 100, SumKernel, sums, 2.0);
    EXPECT_EQ(sums[0], 32 * 33);
    EXPECT_EQ(sums[1], 65 * 66 - 32 * 33);
    EXPECT_EQ(sums[2], 99 * 100 - 65 * 66);
    // Fewer workers than threads: the others stay idle.
    std::atomic<int> two[3] = {};
    ParallelFor(2, 100, SumKernel, two, 2.0);
    EXPECT_EQ(two[0], 49 * 50);
    EXPECT_EQ(two[1], 99 * 100 - 49 * 50);
    EXPECT_EQ(two[2], 0);
    UseThreads(1);
}

}  // namespace
}  // namespace velorin
