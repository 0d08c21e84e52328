#include "filter/convolve.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "filter/plain_line.h"
#include "support/as_plain.h"
#include "support/failing_allocator.h"

namespace velorin {
namespace {

std::vector<float> PlainConvolve(const std::vector<float>& line, const std::vector<float>& w) {
    const int m = static_cast<int>(w.size()) / 2;
    const int length = static_cast<int>(line.size());
    std::vector<float> out(length);
    for (int i = 0; i < length; ++i) {
        float sum = 0.0f, norm = 0.0f;
        for (int t = std::max(-m, -i); t <= std::min(m, length - 1 - i); ++t) {
            sum += w[t + m] * line[i + t];
            norm += w[t + m];
        }
        out[i] = i < m || i >= length - m ? sum / norm : sum;
    }
    return out;
}

// Uneven weights that do not sum to 1: order, direction and scaling all show.
void ExpectConvolved(const Shape& shape, int mode) {
    const std::vector<float> weights = {0.7f, -0.2f, 0.4f, 0.1f, 0.3f};
    const auto filter = [&](const std::vector<float>& line) {
        return PlainConvolve(line, weights);
    };
    ExpectAsPlain(
        shape, [&](ZPImage& image) { Convolve(image, 5, weights.data(), mode, 2.0f); },
        [&](ZPImage& image) {
            if (mode == 0 || mode == 2) FilterEachLine(image, true, filter);
            if (mode == 0 || mode == 3) FilterEachLine(image, false, filter);
        });
}

TEST(Convolve, EqualsPlainSumInEveryForm) {
    ForEachPictureForm([](int type, int channels) {
        for (int mode : {0, 1, 2, 3}) ExpectConvolved({53, 49, channels, type}, mode);
    });
    // Lines shorter than the kernel.
    for (int side = 1; side <= 6; ++side) ExpectConvolved({side, side, 2, ZPPixFloat}, 0);
}

TEST(Convolve, RefusesAnEvenCountAndGivesMemoryBack) {
    const float weights[] = {0.25f, 0.5f, 0.25f};
    ExpectAsPlain(
        {8, 8, 1, ZPPixUChar},
        [&](ZPImage& image) {
            EXPECT_THROW(Convolve(image, 2, weights, 0, 1.0f), ZPErr);
            Convolve(image, 3, weights, 0, 0.0009f);
        },
        kNothing);
    ZPImage image(8, 8, 1, ZPPixUChar, 0);
    Noise(8).Fill(image);
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
    PutEach(line, [](int x, int, int) { return x == 6 ? 10.0f : 0.0f; });
    BoxFilter(line, 0, 2.0f);
    for (int x = 0; x < 12; ++x) {
        EXPECT_SAME_BITS(ValueAt(line, x, 0, 0), x >= 4 && x <= 8 ? 10.0f * (1.0f / 5) : 0.0f);
    }
    // Seven samples, the outer ones halved, all over 7: the middle darkens, the borders do not.
    PutEach(line, [](int, int, int) { return 1.0f; });
    BoxFilter(line, 2, 2.5f);
    for (int x = 0; x < 12; ++x) {
        EXPECT_SAME_BITS(ValueAt(line, x, 0, 0), x >= 3 && x <= 8 ? 0x1.b6db6ep-1f : 1.0f);
    }
}

TEST(SmoothBinomial, WeighsOneFourSixFourOne) {
    ZPImage image(11, 11, 1, ZPPixFloat, 0);
    const float weights[] = {1, 4, 6, 4, 1};
    PutEach(image, [](int x, int y, int) { return x == 5 && y == 5 ? 256.0f : 0.0f; });
    SmoothBinomial(image);
    for (int j = 0; j < 5; ++j) {
        for (int i = 0; i < 5; ++i) {
            EXPECT_SAME_BITS(ValueAt(image, 3 + i, 3 + j, 0), weights[i] * weights[j]);
        }
    }
}

}  // namespace
}  // namespace velorin
