#include "flow/luminance.h"

#include <gtest/gtest.h>

#include "support/forms.h"
#include "support/noise.h"
#include "support/put_each.h"
#include "support/stderr_text.h"

namespace velorin {
namespace {

float PlainRgb(int type, int channels, const float* p) {
    if (channels == 1) return type == 0 ? p[0] : type == 1 ? p[0] / 257.0f : p[0] * 255.0f;
    if (type == ZPPixUChar && channels == 4) return 0.3f * p[0] + 0.59f * p[1] + 0.11f * p[2];
    const double sum = 0.3 * p[0] + 0.59 * p[1] + 0.11 * p[2];
    return static_cast<float>(type == 0 ? sum : type == 1 ? sum / 257 : sum * 255);
}

float PlainYCbCr(int type, int channels, const float* p) {
    if (channels == 1) return PlainRgb(type, 1, p);
    if (channels == 3) {
        if (type == ZPPixUChar) return (p[0] / 257 - 16) * 255 / 219;
        return type == ZPPixUShort ? p[0] / 257 * 255 / 219 : p[0] * 255 * 255 / 219;
    }
    const float luma = type == 0 ? p[1] : type == 1 ? p[1] / 257 : p[1] * 255;
    return (luma - 16) * 255 / 219;
}

TEST(Luminance, FollowsTheTableInEveryForm) {
    ForEachPictureForm([](int type, int channels) {
        for (bool lumaIsFirst : {false, true}) {
            for (int bottomUp : {0, 1}) {
                GapImage frame(21, 131, channels, type, bottomUp);
                Noise noise(31);
                noise.Fill(*frame);
                ZPImage expected(21, 131, 1, ZPPixFloat, 0);
                PutEach(expected, [&](int x, int y, int) {
                    if (channels == 2) return -5.0f;
                    float p[4];
                    for (int c = 0; c < channels; ++c) p[c] = ValueAt(*frame, x, y, c);
                    return (lumaIsFirst ? PlainYCbCr : PlainRgb)(type, channels, p);
                });
                ForEachThreadCount([&] {
                    GapImage dest(21, 131, 1, ZPPixFloat, 0);
                    PutAll(*dest, -5.0f);
                    EXPECT_EQ(ConvertToLuminance(*dest, *frame, lumaIsFirst), channels != 2);
                    EXPECT_SAME_IMAGE(*dest, expected);
                    EXPECT_TRUE(dest.GapsUntouched());
                });
            }
        }
    });
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
