#include "filter/gaussian_blur.h"

#include <gtest/gtest.h>

#include <limits>

#include "support/forms.h"
#include "support/gap_image.h"
#include "support/noise.h"

namespace velorin {
namespace {

void Ramp(ZPImage& image) {
    for (int y = 0; y < image.height; ++y) {
        for (int x = 0; x < image.width; ++x) {
            for (int c = 0; c < image.channels; ++c) {
                PutValue(image, x, y, c, 0.1f * x * x - 0.7f * y + 3.0f * c);
            }
        }
    }
}

// Radius 3: the weights are 1, 1/2, 1/16 and 1/512 before they are scaled to sum to 1.
TEST(GaussianBlur, AnImpulseShowsTheKernel) {
    ZPImage image(15, 1, 1, ZPPixFloat, 0);
    for (int x = 0; x < 15; ++x) PutValue(image, x, 0, 0, x == 7 ? 1.0f : 0.0f);
    GaussianBlur(image, 2, 3.0f);
    const float total = 2.12890625f;
    EXPECT_SAME_BITS(ValueAt(image, 7, 0, 0), 1.0f / total);
    for (int side : {-1, 1}) {
        EXPECT_SAME_BITS(ValueAt(image, 7 + side, 0, 0), 0.5f / total);
        EXPECT_SAME_BITS(ValueAt(image, 7 + 2 * side, 0, 0), 0.0625f / total);
        EXPECT_SAME_BITS(ValueAt(image, 7 + 3 * side, 0, 0), 0.001953125f / total);
        EXPECT_SAME_BITS(ValueAt(image, 7 + 4 * side, 0, 0), 0.0f);
    }
}

TEST(GaussianBlur, Pinned) {
    ZPImage one(31, 23, 1, ZPPixFloat, 0), three(31, 23, 3, ZPPixFloat, 0);
    for (ZPImage* image : {&one, &three}) {
        Ramp(*image);
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
        Noise noise(4);
        noise.Fill(source);
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

TEST(GaussianBlur, KeepsAConstantBorderIncluded) {
    ForEachPictureForm([](int type, int channels) {
        if (type == ZPPixFloat) return;
        for (int side = 1; side <= 20; ++side) {
            ZPImage image(side, 21 - side, channels, type, side % 2);
            for (int y = 0; y < image.height; ++y) {
                for (int i = 0; i < image.width * channels; ++i) PutValue(image, 0, y, i, 200.0f);
            }
            Snapshot before(image);
            for (float radius : {0.5f, 2.0f, 5.0f, 7.0f}) GaussianBlur(image, 0, radius);
            EXPECT_SAME_IMAGE(image, *before);
        }
    });
}

TEST(GaussianBlur, TooSmallARadiusDoesNothingAndTooLargeAnOneIsRefused) {
    ZPImage image(9, 9, 2, ZPPixFloat, 0);
    Noise noise(5);
    noise.Fill(image);
    Snapshot before(image);
    GaussianBlur(image, 0, 0.0009f);
    GaussianBlur(image, 0, -3.0f);
    GaussianBlur(image, 0, std::numeric_limits<float>::quiet_NaN());
    GaussianBlur(image, 0, 0.5f);  // one tap: each sample over itself
    EXPECT_SAME_IMAGE(image, *before);
    EXPECT_THROW(GaussianBlur(image, 0, 4096.0f), ZPErr);
    EXPECT_NO_THROW(GaussianBlur(image, 0, 4095.9f));
}

}  // namespace
}  // namespace velorin
