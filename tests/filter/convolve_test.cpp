#include "filter/convolve.h"

#include <gtest/gtest.h>

#include "support/checksum.h"
#include "support/failing_allocator.h"

namespace velorin {
namespace {

// Uneven weights that do not sum to 1: order, direction and scaling all show.
std::uint64_t SumOf(const Shape& shape, int mode, std::uint64_t sum) {
    constexpr float kWeights[] = {0.7f, -0.2f, 0.4f, 0.1f, 0.3f};
    return ChecksumOfNoise(
        shape, {1, 1, 1, ZPPixUChar},
        [&](ZPImage& image, ZPImage&) { Convolve(image, 5, kWeights, mode, 2.0f); }, sum);
}

TEST(Convolve, SameBitsInEveryForm) {
    std::uint64_t sum = kEmptySum;
    ForEachPictureForm([&](int type, int channels) {
        for (int mode : {0, 1, 2, 3}) sum = SumOf({53, 49, channels, type}, mode, sum);
    });
    EXPECT_EQ(sum, 3998838323107816563u);
    // Lines shorter than the kernel.
    sum = kEmptySum;
    for (int side = 1; side <= 6; ++side) sum = SumOf({side, side, 2, ZPPixFloat}, 0, sum);
    EXPECT_EQ(sum, 8461370383324132742u);
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
    ExpectCleanFailures([&] { BoxFilter(image, 0, 2.0f); });
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
