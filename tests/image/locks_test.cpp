#include "image/locks.h"

#include <gtest/gtest.h>

#include "image/err.h"
#include "image/parallel_rows.h"
#include "support/failing_allocator.h"
#include "support/forms.h"

namespace velorin {
namespace {

TEST(Locks, RowLocksExclude) {
    constexpr int kSpans = 3000;
    constexpr int kSteps = 100;  // a span long enough to be met by another
    RowLock** locks = CreateRowLocks(3);
    std::vector<long> sums(3, 0);
    ForEachThreadCount([&] {
        ParallelRows(kSpans, [&](int firstRow, int lastRow) {
            for (int i = firstRow; i <= lastRow; ++i) {
                LockRow(locks[i % 3]);
                volatile long& sum = sums[i % 3];
                for (int step = 0; step < kSteps; ++step) sum = sum + i;
                UnlockRow(locks[i % 3]);
            }
        });
    });
    DestroyRowLocks(locks, 3);
    EXPECT_EQ(sums[0] + sums[1] + sums[2], 4L * kSteps * kSpans * (kSpans - 1) / 2);
}

TEST(Locks, FailureLeavesNothingBehind) {
    FailEachAllocation(
        [] {
            try {
                DestroyRowLocks(CreateRowLocks(5), 5);
            } catch (ZPErr failure) {
                EXPECT_EQ(failure, ZPErrNoMemory);
            }
        },
        [](bool /*failed*/, int live) { EXPECT_EQ(live, 0); });
    DestroyRowLocks(CreateRowLocks(0), 0);
}

}  // namespace
}  // namespace velorin
