#include "image/zp_image.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>

#include "support/failing_allocator.h"

namespace velorin {
namespace {

TEST(ZPImage, AllocatedImageHasEveryField) {
    const ZPImage image(5, 3, 4, ZPPixUShort, 1);
    EXPECT_EQ(image.channelBytes, 2);
    EXPECT_EQ(image.pixelBytes, 8);
    EXPECT_EQ(image.rowBytes, 40);
    EXPECT_EQ(image.rowStep, -40);
    EXPECT_EQ(image.ownsData, 1u);
    EXPECT_EQ(image.whitePoint, 65535.0f);
    EXPECT_EQ(image.alphaState, 3);
    EXPECT_EQ(image.reservedWord, 0);
    EXPECT_EQ(image.lastRow, 2);
    EXPECT_EQ(image.lastColumn, 4);
    EXPECT_EQ(image.error, 0u);
    EXPECT_EQ(image.readChannel, ChannelReader(ZPPixUShort));
}

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

TEST(ZPImage, NullBlockHasNoSize) {
    const ZPImage image(nullptr, 4, 3, 12, 2, ZPPixUChar, 0);
    EXPECT_EQ(image.width, 0);
    EXPECT_EQ(image.height, 0);
    EXPECT_EQ(image.data, nullptr);
    const ZPImage tight(nullptr, 4, 3, 2, ZPPixUChar, 0);
    EXPECT_EQ(tight.width, 0);
}

TEST(ZPImage, AllocationFailure) {
    {
        FailingAllocator allocator(1);
        EXPECT_THROW(ZPImage(2, 2, 1, ZPPixUChar, 0), ZPErr);
    }
    {
        FailingAllocator allocator(1);
        const ZPImage quiet(0, 2, 2, 1, ZPPixUChar, 0);
        EXPECT_EQ(quiet.error, static_cast<std::uint32_t>(ZPErrNoMemory));
        EXPECT_EQ(quiet.data, nullptr);
        EXPECT_EQ(quiet.ownsData, 0u);
    }
    FailingAllocator allocator(1);
    try {
        const ZPImage image(1, 2, 2, 1, ZPPixUChar, 0);
        FAIL() << "no exception";
    } catch (ZPErr failure) {
        EXPECT_EQ(failure, ZPErrNoMemory);
    }
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

TEST(ZPImage, UnknownTypeHasNoReader) {
    std::uint8_t block[16] = {};
    const ZPImage image(block, 2, 2, 8, 1, 9, 0);
    EXPECT_EQ(image.readChannel, nullptr);
    EXPECT_EQ(image.pixelBytes, 0);
}

TEST(ZPImage, ShapeTests) {
    std::uint8_t block[64] = {};
    const ZPImage image(block, 4, 4, 2, ZPPixUChar, 0);
    const ZPImage sameShape(block, 4, 4, 2, ZPPixChar, 1);
    const ZPImage wider(block, 5, 4, 2, ZPPixUChar, 0);
    const ZPImage higher(block, 4, 5, 2, ZPPixUChar, 0);
    const ZPImage moreChannels(block, 4, 4, 3, ZPPixUChar, 0);
    const ZPImage moreBytes(block, 4, 4, 2, ZPPixUShort, 0);
    EXPECT_FALSE(SizeDiffers(&image, &moreBytes));
    EXPECT_FALSE(ShapeDiffers(&image, &sameShape));
    for (const ZPImage* other : {&wider, &higher}) EXPECT_TRUE(SizeDiffers(&image, other));
    for (const ZPImage* other : {&wider, &higher, &moreChannels, &moreBytes}) {
        EXPECT_TRUE(ShapeDiffers(&image, other));
    }
    EXPECT_TRUE(SizeDiffers(nullptr, &image));
    EXPECT_TRUE(SizeDiffers(&image, nullptr));
    const ZPImage empty(nullptr, 0, 0, 2, ZPPixUChar, 0);
    EXPECT_TRUE(SizeDiffers(&empty, &empty));
}

}  // namespace
}  // namespace velorin
