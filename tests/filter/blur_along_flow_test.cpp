#include "filter/blur_along_flow.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/checksum.h"
#include "support/recorder.h"

namespace velorin {
namespace {

struct Rule {
    int bilinear, outsideCounts, flowWidth, flowHeight;
};

TEST(BlurAlongFlow, SameBitsInEveryForm) {
    std::uint64_t sum = kEmptySum;
    for (const Rule& rule :
         {Rule{1, 0, 23, 131}, Rule{1, 1, 8, 60}, Rule{0, 0, 50, 60}, Rule{2, -1, 23, 131}}) {
        GapImage flow(rule.flowWidth, rule.flowHeight, 2, ZPPixFloat, rule.bilinear);
        Noise noise(12);
        PutEach(*flow, [&](int x, int y, int) {
            return y % 9 && x % 7 ? noise.Float(-30.0f, 30.0f) : 0.0f;
        });
        noise.Sprinkle(*flow, 12);
        PutValue(*flow, 9, 30, 0, 7e4f);
        PutValue(*flow, 4, 50, 1, -3e38f);
        ForEachPictureForm([&](int type, int channels) {
            const Shape shape{23, 131, channels, type};
            const auto blur = [&](ZPImage& dest, ZPImage& source) {
                BlurAlongFlow(dest, source, *flow, rule.bilinear, nullptr, rule.outsideCounts, 2,
                              22, 0, 128, -0.7f);
            };
            sum = ChecksumOfNoise(shape, shape, blur, sum);
        });
    }
    EXPECT_EQ(sum, 11803647818645697735u);
}

// A picture of x * x, four rows of it, under one vector along them.
float BlurredAt(int x, float u, int bilinear, int outsideCounts, int width = 16) {
    ZPImage source(width, 4, 1, ZPPixFloat, 0), dest(width, 4, 1, ZPPixFloat, 0);
    ZPImage flow(4, 2, 2, ZPPixFloat, 0);
    PutEach(source, [](int column, int, int) { return static_cast<float>(column * column); });
    PutEach(flow, [=](int, int, int c) { return c == 0 ? u * 3 / (width - 1) : 0.0f; });
    BlurAlongFlow(dest, source, flow, bilinear, nullptr, outsideCounts, 0, width - 1, 0, 3, 1.0f);
    return ValueAt(dest, x, 2, 0);
}

TEST(BlurAlongFlow, Pinned) {
    constexpr float kThird = 1.0f / 3.0f;
    EXPECT_SAME_BITS(BlurredAt(5, 0.0019f, 1, 0), 25.0f);
    EXPECT_GT(BlurredAt(5, 0.0021f, 1, 0), 25.0005f);
    EXPECT_SAME_BITS(BlurredAt(5, 1.99f, 0, 0), 25.0f);
    EXPECT_SAME_BITS(BlurredAt(5, 1.0f, 1, 0), (25.0f + 30.5f + 20.5f) * kThird);
    EXPECT_SAME_BITS(BlurredAt(15, 2.0f, 0, 0), (225.0f + 196.0f) * 0.5f);
    EXPECT_SAME_BITS(BlurredAt(15, 2.0f, 0, 1), (225.0f + 196.0f) * kThird);
    // Up to a whole pixel beyond the last column a sample is inside.
    EXPECT_SAME_BITS(BlurredAt(15, 1.0f, 1, 0), (225.0f + 225.0f + 210.5f) * kThird);
    EXPECT_SAME_BITS(BlurredAt(7, 6.4f, 1, 0), 0x1.ad2e52p+5f);
    // Would take minutes if samples outside were walked. A path of 4e9 is past counting.
    EXPECT_SAME_BITS(BlurredAt(2, 1e9f, 1, 0, 4), 14.0f * 0.25f);
    EXPECT_SAME_BITS(BlurredAt(2, 1e9f, 0, 1, 4), 14.0f * (1.0f / 999999999.0f));
    for (float endless : {8e9f, -1e38f, INFINITY, NAN}) {
        EXPECT_SAME_BITS(BlurredAt(2, endless, 0, 0, 4), 4.0f);
        EXPECT_SAME_BITS(BlurredAt(2, endless, 1, 1, 4), 4.0f * kThird);
    }
}

TEST(BlurAlongFlow, RefusesWhatDoesNotFitAndStops) {
    ZPImage source(8, 40, 4, 0, 0), dest(8, 40, 4, 0, 0), flow(8, 8, 2, 2, 0), wide(9, 40, 4, 0, 0);
    ZPImage words(8, 40, 4, 1, 0), five(8, 40, 5, 0, 0), five2(8, 40, 5, 0, 0);
    ZPImage line(1, 40, 4, 0, 0), line2(1, 40, 4, 0, 0), lineFlow(8, 1, 2, 2, 0);
    PutAll(flow, 0.0f);
    Recorder recorder(7);
    UseThreads(2);
    const auto refuses = [&](ZPImage& to, ZPImage& from, ZPImage& along, int x1 = 7, int y0 = 0) {
        EXPECT_THROW(BlurAlongFlow(to, from, along, 1, &recorder, 0, 0, x1, y0, 39, 1.0f), ZPErr);
    };
    for (ZPImage* to : {&source, &wide, &words}) refuses(*to, source, flow);
    for (ZPImage* along : {&words, &lineFlow}) refuses(dest, source, *along);
    refuses(five, five2, flow);
    refuses(line, line2, flow, 0);
    refuses(dest, source, flow, 8);
    refuses(dest, source, flow, 7, -1);
    EXPECT_TRUE(recorder.fractions.empty());
    refuses(dest, source, flow);  // stopped by the seventh report, of its own strip of 20 rows
    EXPECT_EQ(recorder.fractions[6], 6.0f / 19.0f);
    UseThreads(1);
}

}  // namespace
}  // namespace velorin
