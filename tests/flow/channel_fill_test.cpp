#include "flow/channel_fill.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "filter/gaussian_blur.h"
#include "flow/matte.h"
#include "flow/scatter_levels.h"
#include "support/failing_allocator.h"
#include "support/in_place.h"
#include "support/plain_stored.h"
#include "support/put_each.h"
#include "support/recorder.h"

namespace velorin {
namespace {

// The fill as it is told: whole levels, one operation after the other.
void PlainFill(ZPImage& image, const ZPImage& matte, int channel) {
    std::vector<std::unique_ptr<ZPImage>> fields, values, weights;
    int w = image.width, h = image.height;
    for (bool more = true; more; w = std::max(w / 2, 2), h = std::max(h / 2, 2)) {
        for (auto* pyramid : {&fields, &values, &weights}) {
            pyramid->push_back(std::make_unique<ZPImage>(w, h, 1, ZPPixFloat, 0));
        }
        more = w > 2 || h > 2;
    }
    ForEachPixel(image, [&](int x, int y) {
        const bool hole = ValueAt(matte, x, y, 0) != 0.0f;
        PutValue(*values[0], x, y, 0, hole ? 0.0f : ValueAt(image, x, y, channel));
        PutValue(*weights[0], x, y, 0, hole ? 0.0f : 1.0f);
    });
    const int start = static_cast<int>(fields.size()) - 1;
    for (int n = 1; n <= start; ++n) {
        ReduceLevel(*values[n], *values[n - 1], *fields[n - 1]);
        ReduceLevel(*weights[n], *weights[n - 1], *fields[n - 1]);
    }
    ClearImage(fields[start].get());
    for (int n = start; n >= 0; --n) {
        ImposeKnown(*fields[n], *values[n], *weights[n]);
        GaussianBlur(*fields[n], 0, 5.0f);
        if (n > 0) ResampleLevel(*fields[n - 1], *fields[n]);
    }
    ImposeKnown(*fields[0], *values[0], *weights[0]);
    ForEachPixel(image, [&](int x, int y) {
        const float filled = PlainStored(image.pixelType, ValueAt(*fields[0], x, y, 0));
        PutValue(image, x, y, channel, filled);
    });
}

// Lone pixels, a disc, and a strip along two borders; what marks a hole is any value but 0.
void DrawHoles(Noise& noise, ZPImage& matte) {
    const int radius = std::min(matte.width, matte.height) / 3;
    const int middleX = noise.Int(0, matte.width - 1), middleY = noise.Int(0, matte.height - 1);
    PutEach(matte, [&](int x, int y, int) {
        const int dx = x - middleX, dy = y - middleY;
        const bool hole = dx * dx + dy * dy < radius * radius || x < matte.width / 9 ||
                          y >= matte.height - matte.height / 7 || noise.Int(0, 60) == 0;
        return hole ? static_cast<float>(noise.Int(1, 255)) : 0.0f;
    });
}

void CompareWithPlain(int width, int height, int type, int channels, int matteType) {
    SCOPED_TRACE(std::to_string(width) + " by " + std::to_string(height));
    Noise noise(81);
    ZPImage source(width, height, channels, type, 0);
    noise.Fill(source);
    if (type == ZPPixFloat && height > 20) noise.Sprinkle(source, 3);
    GapImage matte(width, height, 1, matteType, 1);
    DrawHoles(noise, *matte);
    Snapshot expected(source);
    for (int c = 0; c < channels; ++c) PlainFill(*expected, *matte, c);
    ExpectInPlace(source, *expected,
                  [&](ZPImage& image) { FillUnderMatte(image, *matte, nullptr); });
}

TEST(ChannelFill, EqualsPlainCourseInEveryForm) {
    int form = 0;
    ForEachPictureForm(
        [&](int type, int channels) { CompareWithPlain(70, 45, type, channels, form++ % 3); });
}

TEST(ChannelFill, EqualsPlainCourseAtEverySize) {
    for (int side : {2, 3, 5, 6, 11, 12, 13, 31, 33, 43, 65}) {
        CompareWithPlain(side, 40, ZPPixFloat, 1, ZPPixUChar);
        CompareWithPlain(40, side, ZPPixFloat, 1, ZPPixUChar);
    }
    CompareWithPlain(2, 2, ZPPixFloat, 1, ZPPixUChar);
    CompareWithPlain(577, 131, ZPPixFloat, 1, ZPPixUChar);
}

TEST(ChannelFill, WholeHolesAndNone) {
    ForEachPictureForm([](int type, int channels) {
        ZPImage image(19, 14, channels, type, 0), matte(19, 14, 1, ZPPixUChar, 0);
        // In a flat region a hole takes the region's value, whatever lay in it.
        PutAll(image, type == ZPPixFloat ? 0.5f : 77.0f);
        Snapshot even(image);
        ClearImage(&matte);
        FillUnderMatte(image, matte, nullptr);
        PutValue(matte, 7, 5, 0, 1.0f);
        PutValue(image, 7, 5, channels - 1, type == ZPPixFloat ? NAN : 0.0f);
        FillUnderMatte(image, matte, nullptr);
        EXPECT_SAME_IMAGE(image, *even);

        PutAll(matte, 255.0f);
        FillUnderMatte(image, matte, nullptr);
        ClearImage(&*even);
        EXPECT_SAME_IMAGE(image, *even);
    });
}

// The class by itself, with a matte for each channel.
TEST(ChannelFill, FillsChannelByChannel) {
    Noise noise(83);
    ZPImage image(50, 30, 2, ZPPixUShort, 0);
    noise.Fill(image);
    Snapshot expected(image);
    ZPSingleChannelFill fill(50, 30);
    for (int c : {1, 0}) {
        ZPImage matte(50, 30, 1, ZPPixUShort, 0);
        DrawHoles(noise, matte);
        PlainFill(*expected, matte, c);
        fill.LoadChannel(image, c, matte);
        fill.Fill(nullptr);
        fill.StoreChannel(image, c);
    }
    EXPECT_SAME_IMAGE(image, *expected);

    // 50, 25, 12, 6, 3, 2 columns, and a level of 2 by 2 above those that a fill uses.
    EXPECT_EQ(fill.levelCount, 7);
}

TEST(ChannelFill, RefusesWhatDoesNotFit) {
    Noise noise(84);
    ZPImage image(9, 8, 3, ZPPixFloat, 0), narrow(8, 8, 1, ZPPixUChar, 0);
    noise.Fill(image);
    noise.Fill(narrow);
    Snapshot before(image);
    FillUnderMatte(image, narrow, nullptr);
    EXPECT_SAME_IMAGE(image, *before);
    ZPSingleChannelFill fill(9, 8);
    ZPImage fits(9, 8, 1, ZPPixUChar, 0), other(9, 8, 1, ZPPixShort, 0);
    EXPECT_THROW(FillUnderMatte(fits, image, nullptr), ZPErr);
    EXPECT_THROW(FillUnderMatte(fits, other, nullptr), ZPErr);
    EXPECT_THROW(fill.LoadHoles(narrow), ZPErr);
    EXPECT_THROW(fill.LoadChannel(other, 0, fits), ZPErr);
    EXPECT_THROW(fill.StoreChannel(narrow, 0), ZPErr);
    EXPECT_THROW(ZPSingleChannelFill(1, 8), ZPErr);
    EXPECT_THROW(ZPSingleChannelFill(9, 1), ZPErr);
}

TEST(ChannelFill, ReportsEachLevelAndStops) {
    ZPImage image(24, 24, 2, ZPPixFloat, 0), matte(24, 24, 1, ZPPixUChar, 0);
    ClearImage(&image);
    ClearImage(&matte);
    Recorder none, all, stopped(3);
    FillUnderMatte(image, matte, &none);
    EXPECT_EQ(none.fractions, std::vector<float>{1.0f});
    PutValue(matte, 3, 3, 0, 255.0f);
    FillUnderMatte(image, matte, &all);
    // A tick and a report for each of 24, 12, 6, 3 and 2 columns, in two channels.
    ASSERT_EQ(all.fractions.size(), 20u);
    EXPECT_TRUE(std::is_sorted(all.fractions.begin(), all.fractions.end()));
    EXPECT_SAME_BITS(all.fractions[1], 0.5f * (4.0f / 769.0f));
    EXPECT_SAME_BITS(all.fractions[9], 0.5f);
    EXPECT_SAME_BITS(all.fractions[19], 1.0f);
    EXPECT_THROW(FillUnderMatte(image, matte, &stopped), ZPErr);
}

TEST(ChannelFill, AllocationFailureLeavesNothing) {
    ZPImage image(40, 30, 3, ZPPixUChar, 0), matte(40, 30, 1, ZPPixUChar, 0);
    ClearImage(&image);
    ClearImage(&matte);
    PutValue(matte, 20, 20, 0, 255.0f);
    ExpectCleanFailures([&] { FillUnderMatte(image, matte, nullptr); });
}

TEST(ChannelFill, Pinned) {
    ZPImage image(16, 12, 1, ZPPixFloat, 0), matte(16, 12, 1, ZPPixUChar, 0);
    PutEach(image,
            [](int x, int y, int) { return 0.1f + 0.03f * static_cast<float>(x * (y % 5)); });
    PutEach(matte, [](int x, int y, int) { return x > 5 && x < 13 && y > 2 ? 1.0f : 0.0f; });
    FillUnderMatte(image, matte, nullptr);
    EXPECT_SAME_BITS(ValueAt(image, 6, 3, 0), 0x1.af499ep-2f);
    EXPECT_SAME_BITS(ValueAt(image, 9, 7, 0), 0x1.276238p-1f);
    EXPECT_SAME_BITS(ValueAt(image, 12, 11, 0), 0x1.495c1cp-1f);
    EXPECT_SAME_BITS(ValueAt(image, 5, 7, 0), 0.1f + 0.03f * 10.0f);
}

}  // namespace
}  // namespace velorin
