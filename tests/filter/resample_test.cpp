#include "filter/resample.h"

#include <gtest/gtest.h>

#include "support/forms.h"
#include "support/gap_image.h"
#include "support/noise.h"
#include "support/plain_bilinear.h"

namespace velorin {
namespace {

float Scale(int sourceSide, int destSide) {
    return static_cast<float>(sourceSide - 1) / static_cast<float>(destSide - 1);
}

// The low bits of a rounded value, as an integer pixel takes them.
float PlainUnclamped(int type, float value) {
    if (type == ZPPixFloat) return value;
    const int cut = static_cast<int>(value + 0.5f);
    return static_cast<float>(cut & (type == ZPPixUChar ? 0xFF : 0xFFFF));
}

void PlainResample(ZPImage& dest, const ZPImage& source) {
    for (int y = 0; y < dest.height; ++y) {
        const float sy = static_cast<float>(y) * Scale(source.height, dest.height);
        for (int x = 0; x < dest.width; ++x) {
            const float sx = static_cast<float>(x) * Scale(source.width, dest.width);
            for (int c = 0; c < dest.channels; ++c) {
                float value = PlainBilinear(source, sx, sy, c);
                if (dest.whitePoint != source.whitePoint) {
                    value *= dest.whitePoint / source.whitePoint;
                }
                PutValue(dest, x, y, c, PlainUnclamped(dest.pixelType, value));
            }
        }
    }
}

TEST(Resample, EqualsPlainRuleForEveryPairOfTypes) {
    struct Size {
        int width, height;
    };
    ForEachPictureForm([](int type, int channels) {
        for (int destType : {ZPPixUChar, ZPPixUShort, ZPPixFloat}) {
            GapImage source(38, 41, channels, type, 0);
            GapImage flipped(38, 41, channels, type, 1);
            Noise noise(9), again(9);
            noise.Fill(*source);
            again.Fill(*flipped);
            // Integers are not clamped, so a value beyond the range wraps: floats reach -0.25.
            for (Size size :
                 {Size{19, 20}, Size{38, 41}, Size{61, 131}, Size{2, 2}, Size{523, 3}}) {
                ZPImage expected(size.width, size.height, channels, destType, 0);
                PlainResample(expected, *source);
                ForEachThreadCount([&] {
                    for (int bottomUp : {0, 1}) {
                        GapImage dest(size.width, size.height, channels, destType, bottomUp);
                        Resample(*dest, bottomUp ? *source : *flipped);
                        EXPECT_SAME_IMAGE(*dest, expected);
                        EXPECT_TRUE(dest.GapsUntouched());
                    }
                });
            }
        }
    });
}

TEST(Resample, PinnedAndAtTheCorners) {
    ZPImage source(4, 3, 1, ZPPixFloat, 0);
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 4; ++x) PutValue(source, x, y, 0, 0.1f * x * x + 0.7f * y);
    }
    ZPImage dest(6, 6, 1, ZPPixFloat, 0);
    Resample(dest, source);
    EXPECT_SAME_BITS(ValueAt(dest, 0, 0, 0), 0.0f);
    EXPECT_SAME_BITS(ValueAt(dest, 5, 5, 0), ValueAt(source, 3, 2, 0));
    EXPECT_SAME_BITS(ValueAt(dest, 3, 2, 0), 0x1.ccccdp-1f);

    ZPImage bytes(4, 3, 1, ZPPixUChar, 0);
    PutValue(source, 0, 0, 0, 2.0f);
    Resample(bytes, source);
    EXPECT_EQ(ValueAt(bytes, 0, 0, 0), 254.0f);  // 510 keeps its low bits
}

TEST(Resample, OneSampleWideSidesAndImagesThatDoNotFit) {
    ZPImage column(1, 5, 2, ZPPixUChar, 0), dest(3, 9, 2, ZPPixUChar, 0), dot(1, 1, 2, 0, 0);
    Noise noise(10);
    noise.Fill(column);
    Resample(dest, column);
    for (int x = 0; x < 3; ++x) {
        for (int c : {0, 1}) EXPECT_EQ(ValueAt(dest, x, 8, c), ValueAt(column, 0, 4, c));
    }
    Resample(dot, dest);
    EXPECT_EQ(ValueAt(dot, 0, 0, 1), ValueAt(dest, 0, 0, 1));

    ZPImage one(3, 3, 1, ZPPixUChar, 0), real(3, 3, 2, ZPPixDouble, 0);
    EXPECT_THROW(Resample(one, dest), ZPErr);
    EXPECT_THROW(Resample(real, dest), ZPErr);
}

}  // namespace
}  // namespace velorin
