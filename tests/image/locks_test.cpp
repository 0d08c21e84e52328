#include "image/locks.h"

#include <gtest/gtest.h>

#include "image/err.h"
#include "image/parallel_rows.h"
#include "support/failing_allocator.h"
#include "support/forms.h"

namespace velorin {
namespace {

TEST(Locks, SemaphoreIsBornTakenOrOpen) {
    KQMP_BinarySemaphore open(true);
    EXPECT_EQ(pthread_mutex_trylock(&open.mutex), 0);
    open.Signal();
    KQMP_BinarySemaphore taken(false);
    EXPECT_NE(pthread_mutex_trylock(&taken.mutex), 0);
    taken.Signal();
    taken.Wait();
    EXPECT_NE(pthread_mutex_trylock(&taken.mutex), 0);
    taken.Signal();
}

TEST(Locks, RowLocksExclude) {
    RowLock** locks = CreateRowLocks(3);
    std::vector<long> sums(3, 0);
    ForEachThreadCount([&] {
        ParallelRows(3000, [&](int firstRow, int lastRow) {
            for (int i = firstRow; i <= lastRow; ++i) {
                LockRow(locks[i % 3]);
                sums[i % 3] += i;
                UnlockRow(locks[i % 3]);
            }
        });
    });
    DestroyRowLocks(locks, 3);
    EXPECT_EQ(sums[0] + sums[1] + sums[2], 4L * 3000 * 2999 / 2);
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
