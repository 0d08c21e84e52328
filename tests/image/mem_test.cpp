#include "image/mem.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "image/err.h"
#include "support/failing_allocator.h"

namespace velorin {
namespace {

struct Thing : KQMem {
    int value = 7;
};

TEST(Mem, ClassesAllocateThroughTheHooks) {
    FailingAllocator allocator(3);
    auto* plain = new Thing;
    auto* withLine = new (120) Thing;
    EXPECT_EQ(allocator.Live(), 2);
    EXPECT_THROW(new Thing, ZPErr);
    delete plain;
    delete withLine;
    delete static_cast<Thing*>(nullptr);
    EXPECT_EQ(allocator.Live(), 0);
}

TEST(Mem, NullPointersReachTheHookOnlyUnchecked) {
    int releases = 0;
    KQSetAllocator(
        &releases, [](void*, std::size_t size) { return std::malloc(size); },
        [](void* context, void* pointer) {
            ++*static_cast<int*>(context);
            std::free(pointer);
        });
    KQFreeChecked(nullptr);
    EXPECT_EQ(releases, 0);
    KQFree(nullptr);
    EXPECT_EQ(releases, 1);
    KQSetAllocator(nullptr, nullptr, nullptr);
}

TEST(Mem, OnlyTheThrowingFormThrows) {
    FailingAllocator first(1);
    EXPECT_EQ(KQAlloc(8), nullptr);
    FailingAllocator second(1);
    EXPECT_THROW(KQAllocOrThrow(8), ZPErr);
}

}  // namespace
}  // namespace velorin
