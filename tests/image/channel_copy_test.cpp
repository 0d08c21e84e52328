#include <gtest/gtest.h>

#include <cstring>

#include "image/copy.h"
#include "support/checksum.h"
#include "support/stderr_text.h"
#include "support/wrapping_handle.h"

namespace velorin {
namespace {

constexpr int kWidth = 9;
constexpr int kHeight = 130;

TEST(ChannelCopy, PlainCastOfTheLastChannelIntoTheFirst) {
    std::uint64_t sum = kEmptySum;
    ForEachTypePair([&](int toType, int fromType, int toChannels) {
        for (int fromChannels = 1; fromChannels <= 4; ++fromChannels) {
            sum = ChecksumOfNoise(
                {kWidth, kHeight, toChannels, toType}, {kWidth, kHeight, fromChannels, fromType},
                [&](ZPImage& to, const ZPImage& from) {
                    CopyCHannelIntoCHannel(to, 0, from, fromChannels - 1);
                },
                sum);
        }
    });
    EXPECT_EQ(sum, 11860200525903693394u);
}

TEST(ChannelCopy, OtherSizesWriteALineAndNothingElse) {
    ZPImage to(4, 4, 4, ZPPixUChar, 0), from(4, 5, 1, ZPPixUChar, 0);
    Noise(12).Fill(to);
    Snapshot before(to);
    EXPECT_EQ(StderrOf([&] { CopyCHannelIntoCHannel(to, 3, from, 0); }),
              "CopyCHannelIntoCHannel: incompatible images!\n");
    EXPECT_SAME_IMAGE(to, *before);
}

// A float through ConvertFloatClamped into an integer type.
float Clamped(int pixelType, float value, float low, float high, float sourceWhite = 1.0f,
              float white = 0.0f) {
    ZPImage source(&value, 1, 1, 1, ZPPixFloat, 0);
    source.whitePoint = sourceWhite;
    ZPImage destination(1, 1, 1, pixelType, 0);
    if (white > 0.0f) destination.whitePoint = white;
    ConvertFloatClamped(destination, source, low, high);
    return ValueAt(destination, 0, 0, 0);
}

TEST(ConvertFloatClamped, PinnedValues) {
    // At and beyond a limit inside the range the result jumps to black and white.
    EXPECT_EQ(Clamped(ZPPixUChar, 0.25f, 0.25f, 0.75f), 0.0f);
    EXPECT_EQ(Clamped(ZPPixUChar, 0.75f, 0.25f, 0.75f), 255.0f);
    EXPECT_EQ(Clamped(ZPPixUChar, 0.5f, 0.75f, 0.25f), 128.0f);
    // Beyond white the low bits are kept: 1.5 * 255 + 0.5 = 383.
    EXPECT_EQ(Clamped(ZPPixUChar, 1.5f, 0.0f, 2.0f), 127.0f);
    // The white stored is the truncated scale: 255 / 2.
    EXPECT_EQ(Clamped(ZPPixUChar, 2.0f, 0.0f, 1.0f, 2.0f), 127.0f);
    EXPECT_EQ(Clamped(ZPPixUChar, 1.5f, 0.0f, 1.0f, 2.0f), 191.0f);
    // Only 16 bits scale by a white point of their own.
    EXPECT_EQ(Clamped(ZPPixUChar, 0.5f, 0.0f, 1.0f, 1.0f, 100.0f), 128.0f);
    EXPECT_EQ(Clamped(ZPPixUShort, 0.5f, 0.0f, 1.0f, 1.0f, 100.0f), 50.0f);
}

TEST(ConvertFloatClamped, SameBitsInEveryForm) {
    const auto convert = [](ZPImage& to, const ZPImage& from) {
        ConvertFloatClamped(to, from, 0.0f, 1.0f);
    };
    std::uint64_t sum = kEmptySum;
    ForEachPictureForm([&](int type, int channels) {
        sum = ChecksumOfNoise({kWidth, kHeight, channels, type},
                              {kWidth, kHeight, channels, ZPPixFloat}, convert, sum);
    });
    EXPECT_EQ(sum, 17238953657681381744u);
    ExpectAsPlain({4, 4, 1, ZPPixUChar}, {4, 5, 1, ZPPixFloat}, convert, kNothing);
}

TEST(CopyImage, ClampsFloatsAndConvertsTheRest) {
    float wild[] = {-3.0f, 0.5f, 7.0f};
    std::uint16_t stored[3];
    float back[3];
    WrappingHandle floats(ZPImage(wild, 3, 1, 1, ZPPixFloat, 0));
    WrappingHandle words(ZPImage(stored, 3, 1, 1, ZPPixUShort, 0));
    WrappingHandle copy(ZPImage(back, 3, 1, 1, ZPPixFloat, 0));
    EXPECT_EQ(CopyImage(&words, &floats), 0);
    EXPECT_EQ(std::vector<int>(stored, stored + 3), (std::vector<int>{0, 32768, 65535}));
    EXPECT_EQ(CopyImage(&copy, &floats), 0);
    EXPECT_EQ(std::memcmp(back, wild, sizeof wild), 0);
    EXPECT_EQ(CopyImage(&copy, &words), 0);
    EXPECT_EQ(back[1], 32768.0f * (1.0f / 65535.0f));
}

TEST(CopyImage, HandlesWithoutPixelsAreLeft) {
    std::uint8_t nines[] = {9, 9, 9, 9};
    WrappingHandle handle(ZPImage(nines, 2, 2, 1, ZPPixUChar, 0));
    KQImage empty;
    KQImage noPixels;
    noPixels.CreateInternal();
    noPixels.InitSingleChannel(nines, 0, 2, 2, 1, ZPPixUChar);
    for (KQImage* other : {&empty, &noPixels, static_cast<KQImage*>(nullptr)}) {
        EXPECT_EQ(CopyImage(&handle, other), 0);
        EXPECT_EQ(CopyImage(other, &handle), 0);
        EXPECT_EQ(ResolveImage(other), nullptr);
    }
    EXPECT_EQ(ResolveImage(&handle), handle.internal);
    EXPECT_EQ(nines[3], 9);
}

}  // namespace
}  // namespace velorin
