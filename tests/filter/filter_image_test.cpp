#include "filter/filter_image.h"

#include <gtest/gtest.h>

#include "filter/plain_line.h"
#include "image/copy.h"
#include "support/forms.h"
#include "support/gap_image.h"
#include "support/noise.h"

namespace velorin {
namespace {

void FilterPlainLine(ZPImage& image, const std::vector<float>& w, int c, int at, bool alongX) {
    const int length = alongX ? image.width : image.height;
    std::vector<float> line(length);
    for (int i = 0; i < length; ++i) {
        line[i] = alongX ? ValueAt(image, i, at, c) : ValueAt(image, at, i, c);
    }
    line = PlainLine(line, w,
                     image.channels == 1 ? AbsentSample::kBeyondLine : AbsentSample::kMinusOne);
    for (int i = 0; i < length; ++i) {
        PutValue(image, alongX ? i : at, alongX ? at : i, c, PlainStored(image.pixelType, line[i]));
    }
}

void FilterPlain(ZPImage& image, const std::vector<float>& w, FilterPass pass) {
    for (int c = 0; c < image.channels; ++c) {
        for (int y = 0; y < image.height && pass != FilterPass::kColumns; ++y) {
            FilterPlainLine(image, w, c, y, true);
        }
        for (int x = 0; x < image.width && pass != FilterPass::kRows; ++x) {
            FilterPlainLine(image, w, c, x, false);
        }
    }
}

// Weights whose sum is not 1, so that integers leave their range and a border's scaling shows.
TEST(FilterImage, EqualsPlainPassesInEveryForm) {
    constexpr int kWidth = 67;
    constexpr int kHeight = 131;
    const std::vector<float> w = {0.5f, 0.3f, 0.2f, 0.1f};
    Noise noise(2);
    ForEachPictureForm([&](int type, int channels) {
        GapImage source(kWidth, kHeight, channels, type, 0);
        noise.Fill(*source);
        if (type == ZPPixFloat) noise.Sprinkle(*source, 60);
        for (FilterPass pass : {FilterPass::kBoth, FilterPass::kRows, FilterPass::kColumns}) {
            Snapshot expected(*source);
            FilterPlain(*expected, w, pass);
            ForEachRowOrderPair([&](int destUp, int sourceUp) {
                ForEachThreadCount([&] {
                    GapImage from(kWidth, kHeight, channels, type, sourceUp);
                    GapImage dest(kWidth, kHeight, channels, type, destUp);
                    // The column pass alone works on what `dest` holds.
                    CopyExact(&*from, &*source);
                    CopyExact(&*dest, &*source);
                    const bool inPlace = destUp == 1;
                    FilterImage(*dest, inPlace ? *dest : *from, w, pass);
                    EXPECT_SAME_IMAGE(*dest, *expected);
                    EXPECT_TRUE(dest.GapsUntouched());
                });
            });
        }
    });
}

TEST(FilterImage, RefusesLinesThatDoNotFitAndLeavesOtherForms) {
    const std::vector<float> w = {0.5f, 0.25f};
    ZPImage longest(16380, 1, 4, ZPPixFloat, 0);
    ZPImage tooLong(16381, 1, 1, ZPPixUChar, 0);
    ZPImage tooHigh(1, 16381, 1, ZPPixUChar, 0);
    Noise noise(3);
    noise.Fill(longest);
    noise.Fill(tooLong);
    EXPECT_NO_THROW(FilterImage(longest, longest, w, FilterPass::kBoth));
    EXPECT_THROW(FilterImage(tooLong, tooLong, w, FilterPass::kBoth), ZPErr);
    EXPECT_THROW(FilterImage(tooHigh, tooHigh, w, FilterPass::kColumns), ZPErr);
    EXPECT_NO_THROW(FilterImage(tooHigh, tooHigh, w, FilterPass::kRows));

    ZPImage five(9, 9, 5, ZPPixUChar, 0);
    noise.Fill(five);
    Snapshot untouched(five);
    FilterImage(five, five, w, FilterPass::kBoth);
    EXPECT_SAME_IMAGE(five, *untouched);
}

}  // namespace
}  // namespace velorin
