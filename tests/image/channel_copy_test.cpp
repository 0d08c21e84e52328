#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "image/copy.h"
#include "support/forms.h"
#include "support/gap_image.h"
#include "support/noise.h"
#include "support/wrapping_handle.h"

namespace velorin {
namespace {

constexpr int kWidth = 9;
constexpr int kHeight = 130;

float Cast(int pixelType, float value) {
    if (pixelType == ZPPixFloat) return value;
    return static_cast<float>(static_cast<int>(value) & (pixelType == ZPPixUChar ? 0xff : 0xffff));
}

// One pair of channel counts over the nine pairs of types: the last channel into the first.
void ExpectChannelCopied(int toChannels, int fromChannels, int toOrder, int fromOrder) {
    for (int pair = 0; pair < 9; ++pair) {
        SCOPED_TRACE("type pair " + std::to_string(pair));
        GapImage to(kWidth, kHeight, toChannels, pair / 3, toOrder);
        GapImage from(kWidth, kHeight, fromChannels, pair % 3, fromOrder);
        Noise noise(11);
        noise.Fill(*to);
        noise.Fill(*from);
        for (int x = 0; x < kWidth; ++x) PutValue(*from, x, 3, fromChannels - 1, 1000.0f * x);
        Snapshot expected(*to);
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                const float value = ValueAt(*from, x, y, fromChannels - 1);
                PutValue(*expected, x, y, 0, Cast(pair / 3, value));
            }
        }
        CopyCHannelIntoCHannel(*to, 0, *from, fromChannels - 1);
        EXPECT_SAME_IMAGE(*to, *expected);
        EXPECT_TRUE(to.GapsUntouched());
    }
}

TEST(ChannelCopy, PlainCastInEveryLayout) {
    ForEachThreadCount([] {
        ForEachRowOrderPair([](int toOrder, int fromOrder) {
            for (int toChannels = 1; toChannels <= 4; ++toChannels) {
                for (int fromChannels = 1; fromChannels <= 4; ++fromChannels) {
                    ExpectChannelCopied(toChannels, fromChannels, toOrder, fromOrder);
                }
            }
        });
    });
}

TEST(ChannelCopy, OtherSizesWriteALineAndNothingElse) {
    GapImage to(4, 4, 4, ZPPixUChar, 0);
    GapImage from(4, 5, 1, ZPPixUChar, 0);
    Noise(12).Fill(*to);
    Snapshot before(*to);
    testing::internal::CaptureStderr();
    CopyCHannelIntoCHannel(*to, 3, *from, 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "CopyCHannelIntoCHannel: incompatible images!\n");
    EXPECT_SAME_IMAGE(*to, *before);
}

// A float through ConvertFloatClamped into an integer type.
float Clamped(int pixelType, float value, float low, float high, float sourceWhite = 1.0f) {
    ZPImage source(&value, 1, 1, 1, ZPPixFloat, 0);
    source.whitePoint = sourceWhite;
    ZPImage destination(1, 1, 1, pixelType, 0);
    ConvertFloatClamped(destination, source, low, high);
    return ValueAt(destination, 0, 0, 0);
}

TEST(ConvertFloatClamped, PinnedValues) {
    EXPECT_EQ(Clamped(ZPPixUShort, 1.2f, 0.0f, 1.0f), 65535.0f);
    EXPECT_EQ(Clamped(ZPPixUShort, 0.5f, 0.0f, 1.0f), 32768.0f);
    EXPECT_EQ(Clamped(ZPPixUChar, 0.5f, 0.0f, 1.0f), 128.0f);
    EXPECT_EQ(Clamped(ZPPixUChar, -0.5f, 0.0f, 1.0f), 0.0f);
    // At and beyond a limit inside the range the result jumps to black and white.
    EXPECT_EQ(Clamped(ZPPixUChar, 0.25f, 0.25f, 0.75f), 0.0f);
    EXPECT_EQ(Clamped(ZPPixUChar, 0.75f, 0.25f, 0.75f), 255.0f);
    EXPECT_EQ(Clamped(ZPPixUChar, 0.5f, 0.75f, 0.25f), 128.0f);
    // Beyond white the low bits are kept: 1.5 * 255 + 0.5 = 383.
    EXPECT_EQ(Clamped(ZPPixUChar, 1.5f, 0.0f, 2.0f), 127.0f);
    // The white stored is the truncated scale: 255 / 2.
    EXPECT_EQ(Clamped(ZPPixUChar, 2.0f, 0.0f, 1.0f, 2.0f), 127.0f);
    EXPECT_EQ(Clamped(ZPPixUChar, std::numeric_limits<float>::quiet_NaN(), 0.0f, 1.0f), 0.0f);
}

TEST(ConvertFloatClamped, OnlySixteenBitsScaleByTheirOwnWhite) {
    float half = 0.5f;
    const ZPImage source(&half, 1, 1, 1, ZPPixFloat, 0);
    ZPImage bytes(1, 1, 1, ZPPixUChar, 0);
    bytes.whitePoint = 100.0f;
    ConvertFloatClamped(bytes, source, 0.0f, 1.0f);
    EXPECT_EQ(ValueAt(bytes, 0, 0, 0), 128.0f);
    ZPImage words(1, 1, 1, ZPPixUShort, 0);
    words.whitePoint = 100.0f;
    ConvertFloatClamped(words, source, 0.0f, 1.0f);
    EXPECT_EQ(ValueAt(words, 0, 0, 0), 50.0f);
}

TEST(ConvertFloatClamped, AllFormsAndThreads) {
    ForEachThreadCount([] {
        ForEachPictureForm([](int type, int channels) {
            ForEachRowOrderPair([&](int toOrder, int fromOrder) {
                GapImage to(kWidth, kHeight, channels, type, toOrder);
                GapImage from(kWidth, kHeight, channels, ZPPixFloat, fromOrder);
                Noise noise(13);
                noise.Fill(*to);
                noise.Fill(*from);
                Snapshot expected(*to);
                const float white = to->whitePoint;
                for (int y = 0; y < kHeight && type != ZPPixFloat; ++y) {
                    for (int i = 0; i < kWidth * channels; ++i) {
                        const float v = ValueAt(*from, 0, y, i);
                        const float stored = v <= 0 ? 0 : v >= 1 ? white : v * white + 0.5f;
                        PutValue(*expected, 0, y, i, stored);
                    }
                }
                ConvertFloatClamped(*to, *from, 0.0f, 1.0f);
                EXPECT_SAME_IMAGE(*to, *expected);
                EXPECT_TRUE(to.GapsUntouched());
            });
        });
    });
}

TEST(ConvertFloatClamped, OtherSizesAreLeft) {
    GapImage to(4, 4, 1, ZPPixUChar, 0);
    GapImage from(4, 5, 1, ZPPixFloat, 0);
    Noise(14).Fill(*to);
    Snapshot before(*to);
    ConvertFloatClamped(*to, *from, 0.0f, 1.0f);
    EXPECT_SAME_IMAGE(*to, *before);
}

TEST(CopyImage, ClampsFloatsAndConvertsTheRest) {
    float wild[] = {-3.0f, 0.5f, 7.0f};
    ZPImage floats(wild, 3, 1, 1, ZPPixFloat, 0);
    ZPImage words(3, 1, 1, ZPPixUShort, 0);
    ZPImage copy(3, 1, 1, ZPPixFloat, 0);
    WrappingHandle floatsHandle(floats), wordsHandle(words), copyHandle(copy);
    EXPECT_EQ(CopyImage(&wordsHandle, &floatsHandle), 0);
    EXPECT_EQ(ValueAt(words, 0, 0, 0), 0.0f);
    EXPECT_EQ(ValueAt(words, 1, 0, 0), 32768.0f);
    EXPECT_EQ(ValueAt(words, 2, 0, 0), 65535.0f);
    EXPECT_EQ(CopyImage(&copyHandle, &floatsHandle), 0);
    EXPECT_SAME_IMAGE(copy, floats);
    EXPECT_EQ(CopyImage(&copyHandle, &wordsHandle), 0);
    EXPECT_EQ(ValueAt(copy, 1, 0, 0), 32768.0f * (1.0f / 65535.0f));
}

TEST(CopyImage, HandlesWithoutPixelsAreLeft) {
    ZPImage bytes(2, 2, 1, ZPPixUChar, 0);
    std::memset(bytes.data, 9, 4);
    WrappingHandle handle(bytes);
    KQImage empty;
    KQImage noPixels;
    noPixels.CreateInternal();
    noPixels.InitSingleChannel(bytes.data, 0, 2, 2, 1, ZPPixUChar);
    for (KQImage* other : {&empty, &noPixels, static_cast<KQImage*>(nullptr)}) {
        EXPECT_EQ(CopyImage(&handle, other), 0);
        EXPECT_EQ(CopyImage(other, &handle), 0);
        EXPECT_EQ(ResolveImage(other), nullptr);
    }
    EXPECT_EQ(ResolveImage(&handle), handle.internal);
    EXPECT_EQ(ValueAt(bytes, 1, 1, 0), 9.0f);
}

}  // namespace
}  // namespace velorin
