#include "host/my_image.h"

#include <gtest/gtest.h>

#include "support/failing_allocator.h"

namespace velorin {
namespace {

void ExpectWords(const MyImage& image, const unsigned char* block, int width, int format,
                 int channels) {
    EXPECT_EQ(image.block, block);
    EXPECT_EQ(image.blockWidth, width);
    EXPECT_EQ(image.sparkFormat, format);
    EXPECT_EQ(image.blockChannels, channels);
}

TEST(MyImage, InitialisesOnItsBlock) {
    struct Case {
        int format, channels, type, bytes;
    };
    constexpr Case kCases[] = {{24, 4, ZPPixUChar, 1},  {25, 3, ZPPixUChar, 1},
                               {48, 4, ZPPixUShort, 2}, {64, 1, ZPPixUShort, 2},
                               {49, 4, ZPPixFloat, 4},  {49, 1, ZPPixFloat, 4}};
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.format);
        MyImage image;
        const int rowBytes = 5 * c.channels * c.bytes;
        auto* block = new unsigned char[rowBytes * 3];
        ASSERT_EQ(image.MyInit(block, 5, 3, c.format, rowBytes, c.channels), 0);
        EXPECT_EQ(image.pixelType, c.type);
        EXPECT_EQ(image.rowDirection, 1);
        EXPECT_EQ(image.data, block);
        EXPECT_EQ(image.pixelBytes, c.channels * c.bytes);
        EXPECT_EQ(image.Internal()->hasAlpha, c.channels == 4 ? 1 : 0);
        ExpectWords(image, block, 5, c.format, c.channels);
        EXPECT_EQ(image.blockRowBytes, rowBytes);
    }
}

// An image that keeps its words and its empty internal image, whatever its result.
void ExpectEmptyWithWords(unsigned char* block, int format, int channels, int result) {
    MyImage image;
    EXPECT_EQ(image.MyInit(block, 2, 2, format, 8, channels), result);
    EXPECT_EQ(image.CheckValid(false), 1);
    EXPECT_EQ(image.internal->width, 0);
    EXPECT_EQ(image.internal->data, nullptr);
    ExpectWords(image, block, 2, format, channels);
}

TEST(MyImage, RefusalsKeepTheWords) {
    ExpectEmptyWithWords(nullptr, 24, 4, ZPErrNoMemory);
    ExpectEmptyWithWords(new unsigned char[16], 24, 2, ZPErrBadArgument);
    // On purpose a success without pixels.
    ExpectEmptyWithWords(new unsigned char[16], 26, 4, ZPErrNone);
}

TEST(MyImage, WithoutMemoryNothingIsTakenOver) {
    unsigned char block[16];
    MyImage image;
    FailingAllocator allocator(1);
    EXPECT_EQ(image.MyInit(block, 2, 2, 24, 8, 4), ZPErrNoMemory);
    EXPECT_EQ(image.block, nullptr);
    EXPECT_EQ(image.blockWidth, 0);
}

}  // namespace
}  // namespace velorin
