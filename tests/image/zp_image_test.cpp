#include "image/zp_image.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "support/failing_allocator.h"

namespace velorin {
namespace {

TEST(ZPImage, RowsFollowTheRowOrder) {
    std::uint8_t block[36] = {};
    const ZPImage down(block, 4, 3, 12, 2, ZPPixUChar, 0);
    const ZPImage up(block, 4, 3, 12, 2, ZPPixUChar, 1);
    for (int y = 0; y < 3; ++y) {
        EXPECT_EQ(down.Row<std::uint8_t>(y), block + 12 * y);
        EXPECT_EQ(up.Row<std::uint8_t>(y), block + 12 * (2 - y));
    }
    EXPECT_EQ(down.rowStep, 12);
    EXPECT_EQ(up.rowStep, -12);
    EXPECT_EQ(down.RowPixelBytes(), 8u);
    EXPECT_EQ(ZPImage(block, 4, 3, 2, ZPPixUShort, 0).rowBytes, 16);
}

TEST(ZPImage, WrappingNeverOwns) {
    FailingAllocator allocator(0);
    void* block = KQAlloc(64);
    {
        ZPImage image(4, 4, 1, ZPPixFloat, 0);
        void* own = image.data;
        image.ResetOnto(block, 4, 4, 16, 1, ZPPixFloat, 1);
        EXPECT_EQ(image.ownsData, 0u);
        EXPECT_EQ(image.data, block);
        KQFree(own);  // the reset did not release it
    }
    EXPECT_EQ(allocator.Live(), 1);
    KQFree(block);
}

TEST(ZPImage, AllocationFailureIsThrownOrKept) {
    {
        FailingAllocator allocator(1);
        EXPECT_THROW(ZPImage(2, 2, 1, ZPPixUChar, 0), ZPErr);
    }
    FailingAllocator allocator(1);
    const ZPImage quiet(0, 2, 2, 1, ZPPixUChar, 0);
    EXPECT_EQ(quiet.error, static_cast<std::uint32_t>(ZPErrNoMemory));
    EXPECT_EQ(quiet.data, nullptr);
    EXPECT_EQ(quiet.ownsData, 0u);
}

TEST(ZPImage, BlockSizeIs64Bits) {
    std::size_t asked = 0;
    const auto refuse = [](void* context, std::size_t size) -> void* {
        *static_cast<std::size_t*>(context) = size;
        return nullptr;
    };
    KQSetAllocator(&asked, refuse, [](void*, void*) {});
    const ZPImage image(0, 40000, 40000, 4, ZPPixFloat, 0);
    KQSetAllocator(nullptr, nullptr, nullptr);
    EXPECT_EQ(asked, 25600000000u);
}

}  // namespace
}  // namespace velorin
