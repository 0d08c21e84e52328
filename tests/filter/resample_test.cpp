#include "filter/resample.h"

#include <gtest/gtest.h>

#include <utility>

#include "support/checksum.h"

namespace velorin {
namespace {

TEST(Resample, SameBitsForEveryPairOfTypes) {
    std::uint64_t sum = kEmptySum;
    ForEachTypePair([&](int destType, int sourceType, int channels) {
        for (auto [width, height] : {std::pair{19, 20}, {38, 41}, {61, 131}, {2, 2}, {523, 3}}) {
            sum = ChecksumOfNoise({width, height, channels, destType},
                                  {38, 41, channels, sourceType}, Resample, sum);
        }
    });
    EXPECT_EQ(sum, 16266739817449785953u);
}

TEST(Resample, PinnedAndAtTheCorners) {
    ZPImage source(4, 3, 1, ZPPixFloat, 0);
    PutEach(source, [](int x, int y, int) { return 0.1f * x * x + 0.7f * y; });
    ZPImage dest(6, 6, 1, ZPPixFloat, 0);
    Resample(dest, source);
    EXPECT_SAME_BITS(ValueAt(dest, 0, 0, 0), 0.0f);
    EXPECT_SAME_BITS(ValueAt(dest, 5, 5, 0), ValueAt(source, 3, 2, 0));
    EXPECT_SAME_BITS(ValueAt(dest, 3, 2, 0), 0x1.ccccdp-1f);
}

TEST(Resample, OneSampleWideSidesAndImagesThatDoNotFit) {
    ZPImage column(1, 5, 2, ZPPixUChar, 0), dest(3, 9, 2, ZPPixUChar, 0), dot(1, 1, 2, 0, 0);
    Noise(10).Fill(column);
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
