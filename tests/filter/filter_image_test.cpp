#include "filter/filter_image.h"

#include <gtest/gtest.h>

#include "filter/plain_line.h"
#include "support/as_plain.h"

namespace velorin {
namespace {

void FilterPlain(ZPImage& image, const std::vector<float>& w, FilterPass pass) {
    const AbsentSample absent =
        image.channels == 1 ? AbsentSample::kBeyondLine : AbsentSample::kMinusOne;
    const auto filter = [&](const std::vector<float>& line) { return PlainLine(line, w, absent); };
    if (pass != FilterPass::kColumns) FilterEachLine(image, true, filter);
    if (pass != FilterPass::kRows) FilterEachLine(image, false, filter);
}

// Weights whose sum is not 1, so that integers leave their range and a border's scaling shows.
TEST(FilterImage, EqualsPlainPassesInEveryForm) {
    const std::vector<float> w = {0.5f, 0.3f, 0.2f, 0.1f};
    ForEachPictureForm([&](int type, int channels) {
        const Shape shape{67, 131, channels, type};
        for (FilterPass pass : {FilterPass::kBoth, FilterPass::kRows, FilterPass::kColumns}) {
            ExpectAsPlain(
                shape, [&](ZPImage& image) { FilterImage(image, image, w, pass); },
                [&](ZPImage& image) { FilterPlain(image, w, pass); });
        }
        ExpectAsPlain(
            shape, shape,
            [&](ZPImage& dest, const ZPImage& source) {
                FilterImage(dest, source, w, FilterPass::kBoth);
            },
            [&](ZPImage& dest, const ZPImage& source) {
                CopyPixels(dest, source);
                FilterPlain(dest, w, FilterPass::kBoth);
            });
    });
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
