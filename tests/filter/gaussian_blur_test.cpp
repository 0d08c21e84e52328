#include "filter/gaussian_blur.h"

#include <gtest/gtest.h>

#include <limits>

#include "support/as_plain.h"

namespace velorin {
namespace {

// Radius 3: the weights are 1, 1/2, 1/16 and 1/512 before they are scaled to sum to 1.
TEST(GaussianBlur, AnImpulseShowsTheKernel) {
    ZPImage image(15, 1, 1, ZPPixFloat, 0);
    PutEach(image, [](int x, int, int) { return x == 7 ? 1.0f : 0.0f; });
    GaussianBlur(image, 2, 3.0f);
    const float total = 2.12890625f;
    const float weights[] = {1.0f, 0.5f, 0.0625f, 0.001953125f, 0.0f};
    for (int i = 0; i <= 4; ++i) {
        for (int x : {7 - i, 7 + i}) EXPECT_SAME_BITS(ValueAt(image, x, 0, 0), weights[i] / total);
    }
}

TEST(GaussianBlur, Pinned) {
    ZPImage one(31, 23, 1, ZPPixFloat, 0), three(31, 23, 3, ZPPixFloat, 0);
    for (ZPImage* image : {&one, &three}) {
        PutEach(*image, [](int x, int y, int c) { return 0.1f * x * x - 0.7f * y + 3.0f * c; });
        GaussianBlur(*image, 0, 7.0f);
        EXPECT_SAME_BITS(ValueAt(*image, 15, 11, 0), 0x1.e62436p+3f);
    }
    EXPECT_SAME_BITS(ValueAt(one, 0, 0, 0), -0x1.264c7ap-1f);
    // The ramp is exactly -1.0 at (2, 2), which three channels take for absent.
    EXPECT_SAME_BITS(ValueAt(three, 0, 0, 0), -0x1.286f86p-1f);
}

TEST(GaussianBlur, ModesChooseTheAxes) {
    ForEachPictureForm([](int type, int channels) {
        ZPImage source(21, 19, channels, type, 0);
        Noise(4).Fill(source);
        Snapshot both(source), one(source), steps(source);
        GaussianBlur(*both, 0, 2.5f);
        GaussianBlur(*one, 1, 2.5f);
        GaussianBlur(*steps, 2, 2.5f);
        EXPECT_NE(FirstDifference(*steps, *both), "");
        GaussianBlur(*steps, 3, 2.5f);
        EXPECT_SAME_IMAGE(*one, *both);
        EXPECT_SAME_IMAGE(*steps, *both);
    });
}

TEST(GaussianBlur, TooSmallARadiusDoesNothingAndTooLargeAnOneIsRefused) {
    // 0.5 is one tap: each sample over itself.
    for (float radius : {0.0009f, -3.0f, std::numeric_limits<float>::quiet_NaN(), 0.5f}) {
        ExpectAsPlain(
            {9, 9, 2, ZPPixFloat}, [&](ZPImage& image) { GaussianBlur(image, 0, radius); },
            kNothing);
    }
    ZPImage image(9, 9, 2, ZPPixFloat, 0);
    Noise(5).Fill(image);
    EXPECT_THROW(GaussianBlur(image, 0, 4096.0f), ZPErr);
    EXPECT_NO_THROW(GaussianBlur(image, 0, 4095.9f));
}

}  // namespace
}  // namespace velorin
