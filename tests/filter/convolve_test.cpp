#include "filter/convolve.h"

#include <gtest/gtest.h>

#include "filter/plain_line.h"
#include "image/copy.h"
#include "support/failing_allocator.h"
#include "support/forms.h"
#include "support/gap_image.h"
#include "support/noise.h"

namespace velorin {
namespace {

float PlainConvolveAt(const std::vector<float>& line, const std::vector<float>& weights, int i) {
    const int m = static_cast<int>(weights.size()) / 2;
    const int length = static_cast<int>(line.size());
    float sum = 0.0f, norm = 0.0f;
    for (int t = -m; t <= m; ++t) {
        if (i + t < 0 || i + t >= length) continue;
        sum += weights[t + m] * line[i + t];
        norm += weights[t + m];
    }
    return i < m || i >= length - m ? sum / norm : sum;
}

void PlainConvolve(ZPImage& image, const std::vector<float>& weights, bool alongX) {
    const int length = alongX ? image.width : image.height;
    for (int c = 0; c < image.channels; ++c) {
        for (int at = 0; at < (alongX ? image.height : image.width); ++at) {
            std::vector<float> line(length);
            for (int i = 0; i < length; ++i) {
                line[i] = alongX ? ValueAt(image, i, at, c) : ValueAt(image, at, i, c);
            }
            for (int i = 0; i < length; ++i) {
                PutValue(image, alongX ? i : at, alongX ? at : i, c,
                         PlainStored(image.pixelType, PlainConvolveAt(line, weights, i)));
            }
        }
    }
}

// Uneven weights that do not sum to 1: order, direction and scaling all show.
TEST(Convolve, EqualsPlainSumInEveryForm) {
    const std::vector<float> weights = {0.7f, -0.2f, 0.4f, 0.1f, 0.3f};
    ForEachPictureForm([&](int type, int channels) {
        for (int bottomUp : {0, 1}) {
            GapImage source(53, 49, channels, type, bottomUp);
            Noise noise(6);
            noise.Fill(*source);
            for (int mode : {0, 1, 2, 3}) {
                Snapshot expected(*source);
                if (mode == 0 || mode == 2) PlainConvolve(*expected, weights, true);
                if (mode == 0 || mode == 3) PlainConvolve(*expected, weights, false);
                ForEachThreadCount([&] {
                    GapImage image(53, 49, channels, type, bottomUp);
                    CopyExact(&*image, &*source);
                    Convolve(*image, 5, weights.data(), mode, 2.0f);
                    EXPECT_SAME_IMAGE(*image, *expected);
                    EXPECT_TRUE(image.GapsUntouched());
                });
            }
        }
    });
}

TEST(Convolve, LinesShorterThanTheKernel) {
    const std::vector<float> weights = {0.7f, -0.2f, 0.4f, 0.1f, 0.3f};
    for (int side = 1; side <= 6; ++side) {
        ZPImage image(side, side, 2, ZPPixFloat, 0);
        Noise noise(7);
        noise.Fill(image);
        Snapshot expected(image);
        PlainConvolve(*expected, weights, true);
        PlainConvolve(*expected, weights, false);
        Convolve(image, 5, weights.data(), 0, 2.0f);
        EXPECT_SAME_IMAGE(image, *expected);
    }
}

TEST(Convolve, RefusesAnEvenCountAndGivesMemoryBack) {
    const float weights[] = {0.25f, 0.5f, 0.25f};
    ZPImage image(8, 8, 1, ZPPixUChar, 0);
    Noise noise(8);
    noise.Fill(image);
    EXPECT_THROW(Convolve(image, 2, weights, 0, 1.0f), ZPErr);
    Snapshot before(image);
    Convolve(image, 3, weights, 0, 0.0009f);
    EXPECT_SAME_IMAGE(image, *before);
    FailEachAllocation(
        [&] {
            try {
                BoxFilter(image, 0, 2.0f);
            } catch (ZPErr failure) {
                EXPECT_EQ(failure, ZPErrNoMemory);
            }
        },
        [](bool, int live) { EXPECT_EQ(live, 0); });
}

TEST(BoxFilter, WholeAndFractionalBoxes) {
    ZPImage line(12, 1, 1, ZPPixFloat, 0);
    const auto fill = [&](auto value) {
        for (int x = 0; x < 12; ++x) PutValue(line, x, 0, 0, value(x));
    };
    fill([](int x) { return x == 6 ? 10.0f : 0.0f; });
    BoxFilter(line, 0, 2.0f);
    for (int x = 0; x < 12; ++x) {
        EXPECT_SAME_BITS(ValueAt(line, x, 0, 0), x >= 4 && x <= 8 ? 10.0f * (1.0f / 5) : 0.0f);
    }
    // Seven samples, the outer ones halved, all over 7: the middle darkens, the borders do not.
    fill([](int) { return 1.0f; });
    BoxFilter(line, 2, 2.5f);
    for (int x : {0, 1, 2, 9, 10, 11}) EXPECT_SAME_BITS(ValueAt(line, x, 0, 0), 1.0f);
    for (int x = 3; x <= 8; ++x) EXPECT_NEAR(ValueAt(line, x, 0, 0), 6.0 / 7.0, 1e-6);
    EXPECT_SAME_BITS(ValueAt(line, 5, 0, 0), 0x1.b6db6ep-1f);
    fill([](int x) { return static_cast<float>(x); });
    BoxFilter(line, 1, 2.0f);
    EXPECT_SAME_BITS(ValueAt(line, 3, 0, 0), 3.0f);
}

TEST(SmoothBinomial, WeighsOneFourSixFourOneAndKeepsConstants) {
    ZPImage image(11, 11, 1, ZPPixFloat, 0);
    const float weights[] = {1, 4, 6, 4, 1};
    for (int y = 0; y < 11; ++y) {
        for (int x = 0; x < 11; ++x) PutValue(image, x, y, 0, x == 5 && y == 5 ? 256.0f : 0.0f);
    }
    SmoothBinomial(image);
    for (int j = 0; j < 5; ++j) {
        for (int i = 0; i < 5; ++i) {
            EXPECT_SAME_BITS(ValueAt(image, 3 + i, 3 + j, 0), weights[i] * weights[j]);
        }
    }
    ForEachPictureForm([](int type, int channels) {
        ZPImage constant(7, 9, channels, type, 0);
        for (int y = 0; y < 9; ++y) {
            for (int i = 0; i < 7 * channels; ++i) PutValue(constant, 0, y, i, 96.0f);
        }
        Snapshot before(constant);
        SmoothBinomial(constant);
        EXPECT_SAME_IMAGE(constant, *before);
    });
}

}  // namespace
}  // namespace velorin
