#include "image/mem.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace velorin
