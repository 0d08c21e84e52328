#include "warp/zp_image2.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "image/pixel_type.h"
#include "support/failing_allocator.h"

namespace velorin {
namespace {

TEST(ZPImage2, WrapsRowsInEitherOrder) {
    std::vector<std::uint8_t> block(3 * 8);
    for (int bottomUp : {0, 1}) {
        ZPImage2 image(1, block.data(), 2, 3, 8, 1, ZPPixUShort, bottomUp);
        EXPECT_EQ(image.Row<std::uint8_t>(0), block.data() + (bottomUp ? 16 : 0));
        EXPECT_EQ(image.Row<std::uint8_t>(2), block.data() + (bottomUp ? 0 : 16));
        EXPECT_EQ(image.pixelBytes, 2);
        EXPECT_EQ(image.ownsBlocks, 0u);
    }
    ZPImage2 none(1, nullptr, 2, 3, 8, 1, ZPPixUShort, 0);
    EXPECT_EQ(none.width, 0);
    ClearImage(&none);
    ClearImage(static_cast<ZPImage2*>(nullptr));
}

// Grants no block above a limit.
struct Limit {
    std::size_t most;
    std::vector<std::size_t> granted;
    static void* Allocate(void* context, std::size_t size) {
        Limit& limit = *static_cast<Limit*>(context);
        if (size > limit.most) return nullptr;
        limit.granted.push_back(size);
        return std::malloc(size);
    }
    static void Release(void*, void* block) { std::free(block); }
};

TEST(ZPImage2, TakesItsRowsFromAsManyBlocksAsItMust) {
    constexpr std::size_t kRow = 4000 * 4;
    Limit limit{3 * kRow + 5, {}};
    KQSetAllocator(&limit, &Limit::Allocate, &Limit::Release);
    {
        ZPImage2 image(1, 4000, 7, 4, ZPPixUChar, 0);
        // Two tables, then blocks of three rows, and one for what is left.
        ASSERT_EQ(limit.granted.size(), 5u);
        EXPECT_EQ(limit.granted[2], 3 * kRow);
        EXPECT_EQ(limit.granted[4], kRow);
        EXPECT_EQ(image.Row<std::uint8_t>(5), image.Row<std::uint8_t>(6) + kRow);
        EXPECT_EQ(image.blocks[6], reinterpret_cast<std::byte*>(image.Row<std::uint8_t>(6)));
        EXPECT_EQ(image.blocks[5], nullptr);
        for (int y = 0; y < 7; ++y) std::memset(image.Row<std::uint8_t>(y), 7, kRow);
        ClearImage(&image);
        EXPECT_EQ(image.Row<std::uint8_t>(0)[kRow - 1], 0);
    }
    KQSetAllocator(nullptr, nullptr, nullptr);
}

TEST(ZPImage2, FailureLeavesACodeAndNoMemory) {
    for (int failing : {1, 2}) {  // the tables; a block of fewer rows serves as well
        FailingAllocator allocator(failing);
        EXPECT_THROW(ZPImage2(1, 4, 7, 4, ZPPixUChar, 0), ZPErr);
        EXPECT_EQ(allocator.Live(), 0);
    }
    Limit limit{100, {}};
    KQSetAllocator(&limit, &Limit::Allocate, &Limit::Release);
    {
        const ZPImage2 image(0, 30, 7, 4, ZPPixUChar, 0);  // not even one row
        EXPECT_EQ(image.error, static_cast<std::uint32_t>(ZPErrNoMemory));
        EXPECT_EQ(image.rows, nullptr);
    }
    KQSetAllocator(nullptr, nullptr, nullptr);
}

}  // namespace
}  // namespace velorin
