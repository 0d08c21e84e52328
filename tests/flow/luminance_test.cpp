#include "flow/luminance.h"

#include <gtest/gtest.h>

#include "support/checksum.h"
#include "support/stderr_text.h"

namespace velorin {
namespace {

TEST(Luminance, SameBitsInEveryForm) {
    std::uint64_t sum = kEmptySum;
    ForEachPictureForm([&](int type, int channels) {
        for (bool lumaIsFirst : {false, true}) {
            sum = ChecksumOfNoise(
                {21, 131, 1, ZPPixFloat}, {21, 131, channels, type},
                [&](ZPImage& dest, ZPImage& frame) {
                    EXPECT_EQ(ConvertToLuminance(dest, frame, lumaIsFirst), channels != 2);
                },
                sum);
        }
    });
    EXPECT_EQ(sum, 15119315168994624376u);
}

// Values that a person can work out, and one of each precision.
TEST(Luminance, Pinned) {
    const auto luma = [](int type, bool lumaIsFirst, std::initializer_list<float> pixel) {
        ZPImage frame(1, 1, static_cast<int>(pixel.size()), type, 0), dest(1, 1, 1, 2, 0);
        int c = 0;
        for (float value : pixel) PutValue(frame, 0, 0, c++, value);
        ConvertToLuminance(dest, frame, lumaIsFirst);
        return ValueAt(dest, 0, 0, 0);
    };
    EXPECT_SAME_BITS(luma(ZPPixUChar, true, {0, 235, 0, 0}), 255.0f);
    EXPECT_SAME_BITS(luma(ZPPixUChar, true, {0, 16, 0, 0}), 0.0f);
    EXPECT_SAME_BITS(luma(ZPPixUShort, true, {0, 235 * 257, 0, 0}), 255.0f);
    EXPECT_SAME_BITS(luma(ZPPixUShort, true, {219 * 257, 0, 0}), 255.0f);
    EXPECT_SAME_BITS(luma(ZPPixUChar, true, {0, 9, 9}), -16.0f * 255.0f / 219.0f);
    EXPECT_SAME_BITS(luma(ZPPixUShort, false, {65535, 65535, 65535}), 255.0f);
    EXPECT_SAME_BITS(luma(ZPPixFloat, false, {-0.5f}), -127.5f);
    EXPECT_SAME_BITS(luma(ZPPixUChar, false, {10, 190, 95}), 0x1.f63334p+6f);
    EXPECT_SAME_BITS(luma(ZPPixUChar, false, {10, 190, 95, 0}), 0x1.f63332p+6f);
    EXPECT_SAME_BITS(luma(ZPPixFloat, false, {0.17f, 2.03f, -0.99f, 0}), 0x1.22a624p+8f);
}

TEST(Luminance, RefusesAFloatFrameOfAnotherWhite) {
    ZPImage frame(4, 4, 3, ZPPixFloat, 0), dest(4, 4, 1, ZPPixFloat, 0);
    Noise noise(32);
    noise.Fill(frame);
    noise.Fill(dest);
    Snapshot before(dest);
    frame.whitePoint = 255.0f;
    EXPECT_EQ(StderrOf([&] { EXPECT_FALSE(ConvertToLuminance(dest, frame, false)); }),
              " floating image input to ZPOpticalFlowUChar is not in correct range\n");
    EXPECT_SAME_IMAGE(dest, *before);
}

}  // namespace
}  // namespace velorin
