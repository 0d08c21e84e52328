#include "image/kq_image.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "support/failing_allocator.h"

namespace velorin {
namespace {

void ExpectOrder(const KQImage& image, std::vector<int> expected) {
    const KQImageInternal& internal = *image.Internal();
    const std::vector<int> order = {internal.channels,  internal.hasAlpha,   internal.hasColor,
                                    internal.redIndex,  internal.greenIndex, internal.blueIndex,
                                    internal.alphaIndex};
    EXPECT_EQ(order, expected);
}

TEST(KQImage, ChannelOrderOfEachCount) {
    std::uint8_t block[256] = {};
    KQImage image;
    ASSERT_EQ(image.CreateInternal(), 0);
    EXPECT_EQ(image.InitSingleChannel(block, 4, 4, 16, 1, ZPPixUChar), 0);
    ExpectOrder(image, {1, 0, 1, 0, 0, 0, 0});
    EXPECT_EQ(image.InitTwoChannels(block, 4, 4, 16, 1, ZPPixUChar), 0);
    ExpectOrder(image, {2, 0, 1, 0, 1, 0, 0});
    EXPECT_EQ(image.InitThreeChannels(block, 4, 4, 16, 1, ZPPixUChar), 0);
    ExpectOrder(image, {3, 0, 1, 0, 1, 2, 0});
    EXPECT_EQ(image.InitRGBA(block, 4, 4, 16, 1, ZPPixUChar), 0);
    ExpectOrder(image, {4, 1, 1, 0, 1, 2, 3});
    EXPECT_EQ(image.InitFourChannels(block, 4, 4, 16, 1, ZPPixUChar, 2, -1, 3, 2, 1, 0), 0);
    ExpectOrder(image, {4, 0, 0, 3, 2, 1, 0});
    EXPECT_EQ(image.GetChannels(), 4);
}

TEST(KQImage, EmptyHandleRefusesToInitialise) {
    std::uint8_t block[16] = {};
    KQImage image;
    EXPECT_EQ(image.InitSingleChannel(block, 4, 4, 4, 1, ZPPixUChar), ZPErrBadArgument);
    EXPECT_EQ(image.InitRGBA(block, 2, 2, 8, 1, ZPPixUChar), ZPErrBadArgument);
    EXPECT_EQ(image.GetChannels(), 0);
    EXPECT_EQ(image.CheckValid(false), 0);
    FailingAllocator allocator(1);
    EXPECT_EQ(image.CreateInternal(), 1);
    EXPECT_EQ(image.internal, nullptr);
}

TEST(KQImage, OwnsWhatItCreatesAndBorrowsWhatItWraps) {
    FailingAllocator allocator(0);
    std::uint8_t block[64] = {};
    {
        const ZPImage pixels(block, 4, 2, 3, ZPPixUChar, 1);
        KQImageInternal view(pixels);
        EXPECT_EQ(view.hasColor, 0);
        EXPECT_EQ(view.ownsData, 0u);
        KQImage image;
        image.CreateInternal();
        image.CreateInternal();
        EXPECT_EQ(allocator.Live(), 1);
        EXPECT_EQ(image.WrapInternal(view), 0);
        EXPECT_EQ(image.ownsInternal, 0);
        EXPECT_EQ(image.internal, &view);
        EXPECT_EQ(view.bottomUp, 1u);
        EXPECT_EQ(image.rowDirection, 0);
        EXPECT_EQ(image.data, block);
        ExpectOrder(image, {3, 0, 1, 0, 1, 2, 0});
    }
    EXPECT_EQ(allocator.Live(), 0);
}

// What CheckValid writes: the standard output, then the error stream.
std::vector<std::string> Dump(const KQImage& image) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    image.CheckValid(true);
    return {testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

TEST(KQImage, VerboseCheckDumpsTheImage) {
    constexpr int kSide = 451;
    std::vector<float> block(kSide * kSide * 4);
    for (std::size_t i = 0; i < block.size(); ++i) block[i] = static_cast<float>(i % 4) / 4;
    KQImage image;
    EXPECT_EQ(Dump(image)[0], "No KQ Image \n");
    image.CreateInternal();
    image.InitRGBA(block.data(), kSide, kSide, kSide * 16, 1, ZPPixFloat);
    char address[32];
    std::snprintf(address, sizeof address, "ADDRESS: %x \n",
                  static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(block.data())));
    const std::string start = "Types 0 1 2 0 1 2\nKQIMAGE W 451 H 451 RB ";
    EXPECT_EQ(Dump(image)[0], start + "7216 PixType 2 RI 0 AI 3\n" + address);
    EXPECT_EQ(Dump(image)[1],
              "rgba at 50 50 0.000000 0.250000 0.500000 0.750000 \n"
              "rgba at 100 100 0.000000 0.250000 0.5000000.750000 \n"
              "rgba at 450 450 0.000000 0.250000 0.500000 0.750000 \n");
}

}  // namespace
}  // namespace velorin
