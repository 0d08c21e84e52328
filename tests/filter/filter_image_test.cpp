#include "filter/filter_image.h"

#include <gtest/gtest.h>

#include "support/checksum.h"

namespace velorin {
namespace {

// Weights whose sum is not 1, so that integers leave their range and a border's scaling shows.
TEST(FilterImage, SameBitsInEveryForm) {
    const std::vector<float> w = {0.5f, 0.3f, 0.2f, 0.1f};
    std::uint64_t sum = kEmptySum;
    ForEachPictureForm([&](int type, int channels) {
        const Shape shape{67, 131, channels, type};
        for (FilterPass pass : {FilterPass::kBoth, FilterPass::kRows, FilterPass::kColumns}) {
            sum = ChecksumOfNoise(
                shape, shape, [&](ZPImage& image, ZPImage&) { FilterImage(image, image, w, pass); },
                sum);
        }
        sum = ChecksumOfNoise(
            shape, shape,
            [&](ZPImage& dest, ZPImage& source) {
                FilterImage(dest, source, w, FilterPass::kBoth);
            },
            sum);
    });
    EXPECT_EQ(sum, 8835609686790969722u);
}

TEST(FilterImage, RefusesLinesThatDoNotFitAndLeavesOtherForms) {
    const std::vector<float> w = {0.5f, 0.25f};
    ZPImage longest(16380, 1, 4, ZPPixFloat, 0);
    ZPImage tooLong(16381, 1, 1, ZPPixUChar, 0);
    ZPImage tooHigh(1, 16381, 1, ZPPixUChar, 0);
    Noise(3).Fill(longest);
    EXPECT_NO_THROW(FilterImage(longest, longest, w, FilterPass::kBoth));
    EXPECT_THROW(FilterImage(tooLong, tooLong, w, FilterPass::kBoth), ZPErr);
    EXPECT_THROW(FilterImage(tooHigh, tooHigh, w, FilterPass::kColumns), ZPErr);
    EXPECT_NO_THROW(FilterImage(tooHigh, tooHigh, w, FilterPass::kRows));

    ExpectAsPlain(
        {9, 9, 5, ZPPixUChar},
        [&](ZPImage& image) { FilterImage(image, image, w, FilterPass::kBoth); }, kNothing);
}

}  // namespace
}  // namespace velorin
