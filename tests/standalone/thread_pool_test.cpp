#include "standalone/thread_pool.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <chrono>
#include <mutex>
#include <set>
#include <thread>
#include <utility>
#include <vector>

#include "image/host_threads.h"
#include "image/parallel_rows.h"

namespace velorin {
namespace {

struct Share {
    long long firstPixel, pixelCount;
    std::thread::id thread;
};

// The shares that one fork hands out.
std::vector<Share> SharesOfAFork() {
    struct {
        std::mutex mutex;
        std::vector<Share> shares;
    } roll;
    const auto enrol = [](void* argument) {
        auto& to = *static_cast<decltype(roll)*>(argument);
        Share share{-1, -1, std::this_thread::get_id()};
        sparkMpInfo(&share.firstPixel, &share.pixelCount);
        const std::lock_guard<std::mutex> guard(to.mutex);
        to.shares.push_back(share);
    };
    sparkMpFork(enrol, 1, &roll);
    return roll.shares;
}

TEST(ThreadPool, EqualSharesInThreadOrderOneAThread) {
    for (int threads : {1, 2, 3, 8, 64, 5, 1, 2}) {
        UseThreads(threads);
        EXPECT_EQ(GetThreadCount(), threads);
        const long long size = KQMPSparkGetNumberOfFramePixels() / threads;
        std::set<std::thread::id> ids;  // of all forks: the threads stay
        for (int i = 0; i < 100; ++i) {
            std::set<long long> starts;
            for (const Share& share : SharesOfAFork()) {
                EXPECT_EQ(share.pixelCount, size);
                EXPECT_EQ(share.firstPixel % size, 0);
                EXPECT_EQ(share.firstPixel == 0, share.thread == std::this_thread::get_id());
                starts.insert(share.firstPixel);
                ids.insert(share.thread);
            }
            ASSERT_EQ(starts.size(), static_cast<std::size_t>(threads));
            EXPECT_EQ(*starts.begin(), 0);
            EXPECT_EQ(*starts.rbegin(), size * (threads - 1));
        }
        EXPECT_EQ(ids.size(), static_cast<std::size_t>(threads));
    }
    UseThreads(1);
}

TEST(ThreadPool, CountsAreBroughtIntoRange) {
    for (const auto& [asked, count] : {std::pair{0, 1}, {65, 64}, {-3, 1}}) {
        UseThreads(asked);
        EXPECT_EQ(GetThreadCount(), count);
    }
    EXPECT_GE(AvailableProcessors(), 1);
    EXPECT_LE(AvailableProcessors(), 64);
}

// Jobs close upon each other, and after pauses in which the threads fall asleep. Each row reads
// what another worker wrote in the job before.
TEST(ThreadPool, ManyShortJobs) {
    UseThreads(4);
    std::vector<int> from(256, 0);
    std::vector<int> to(256, 0);
    for (int job = 0; job < 10000; ++job) {
        if (job % 2000 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(2));
        ParallelRows(256, [&](int firstRow, int lastRow) {
            for (int i = firstRow; i <= lastRow; ++i) to[i] = from[255 - i] + 1;
        });
        std::swap(from, to);
    }
    EXPECT_EQ(from, std::vector<int>(256, 10000));
    UseThreads(1);
}

TEST(ThreadPool, StacksHoldTheLineBuffersAndDenormalsAreKept) {
    UseThreads(3);
    ParallelRows(64, [](int firstRow, int /*lastRow*/) {
        volatile float tiny = 0x1p-126f;
        volatile float smaller = tiny / 8.0f;
        EXPECT_GT(smaller, 0.0f);
        EXPECT_EQ(smaller * 8.0f, tiny);
        volatile char lines[3 << 18];
        for (std::size_t i = 0; i < sizeof lines; i += 1024) lines[i] = 1;
        EXPECT_EQ(lines[0], 1);
        if (firstRow == 0) return;
        pthread_attr_t attributes;
        std::size_t bytes = 0;
        pthread_getattr_np(pthread_self(), &attributes);
        pthread_attr_getstacksize(&attributes, &bytes);
        pthread_attr_destroy(&attributes);
        EXPECT_GE(bytes, std::size_t{2} << 20);
    });
    UseThreads(1);
}

}  // namespace
}  // namespace velorin
