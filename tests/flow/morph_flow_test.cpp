#include "flow/morph_flow.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/checksum.h"
#include "support/failing_allocator.h"
#include "support/recorder.h"

namespace velorin {
namespace {

// The same points for every object: some on one pixel, some in the last column and row.
void AddPoints(ZPMorphFlow& morph, int count) {
    Noise noise(91);
    morph.ClearPoints();
    for (int i = 0; i < count; ++i) {
        const float x = i % 5 == 4 ? 1.0f : noise.Float(0.0f, 1.0f);
        const float y = i % 7 == 6 ? 1.0f : noise.Float(0.0f, 1.0f);
        for (int twice = 0; twice <= (i % 3 == 0 ? 1 : 0); ++twice) {
            const float toX = x + noise.Float(-0.1f, 0.1f), toY = y + noise.Float(-0.1f, 0.1f);
            morph.AddPoint(x, y, toX, toY, 1.0f, 1.0f);
        }
    }
    morph.FinishPoints();
}

TEST(MorphFlow, SameBitsAtEverySizeAndSensitivity) {
    struct Case {
        int width, height, points;
    };
    std::uint64_t sum = kEmptySum;
    for (const auto& [width, height, points] : {Case{150, 101, 0},
                                                {150, 101, 1},
                                                {150, 101, 12},
                                                {150, 101, 400},
                                                {61, 200, 30},
                                                {9, 10, 5},    // 4x5, one level
                                                {4, 4, 2}}) {  // 2x2
        ZPMorphFlow morph(1, width, height, 1, 2);
        ZPImage dest(morph.width, morph.height, 2, ZPPixFloat, 1);
        for (float sensitivity : {1.0f, 0.7f, 0.5f, 0.0f}) {
            morph.SetSensitivity(sensitivity);
            for (int spread : {1, 0}) {
                const auto compute = [&, count = points] {
                    AddPoints(morph, count);
                    morph.Compute(&dest, nullptr, spread);
                    EXPECT_SAME_IMAGE(dest, *morph.Flow());
                };
                compute();
                Snapshot expected(dest);
                ForEachThreadCount([&] {
                    compute();
                    EXPECT_SAME_IMAGE(dest, *expected);
                });
                sum = Checksum(*morph.weightPyramid[0], Checksum(dest, sum));
            }
        }
    }
    EXPECT_EQ(sum, 12010038531079651834u);
}

TEST(MorphFlow, OnePointReachesAllAndIsUsedUp) {
    ZPMorphFlow morph(1, 64, 48, 0, 2);
    for (int spread : {0, 1}) {
        morph.ClearPoints();
        morph.AddPoint(20.0f, 30.0f, 22.5f, 28.75f, 63.0f, 47.0f);
        morph.FinishPoints();
        morph.Compute(nullptr, nullptr, spread);
        for (int x : {0, 20}) {
            EXPECT_NEAR(ValueAt(*morph.Flow(), x, 40, 0), 2.5, 0.25);
            EXPECT_NEAR(ValueAt(*morph.Flow(), x, 40, 1), -1.25, 0.125);
        }
        EXPECT_GT(ValueAt(*morph.Flow(), 63, 40, 0), 1.25);  // it fades, and is felt to the border
        EXPECT_EQ(SameBits(ValueAt(*morph.Flow(), 20, 30, 0), 2.5f), spread == 0);
    }
    // On purpose: the points do not outlive a computation that spreads them.
    morph.Compute(nullptr, nullptr, 1);
    ForEachPixel(*morph.Flow(),
                 [&](int x, int y) { EXPECT_SAME_BITS(ValueAt(*morph.Flow(), x, y, 0), 0.0f); });
}

TEST(MorphFlow, Pinned) {
    ZPMorphFlow morph(1, 64, 48, 0, 2);
    AddPoints(morph, 20);
    morph.Compute(nullptr, nullptr, 1);
    EXPECT_SAME_BITS(ValueAt(*morph.Flow(), 7, 9, 0), 0x1.b549d4p-1f);
    EXPECT_SAME_BITS(ValueAt(*morph.Flow(), 63, 40, 1), 0x1.1aebcep+0f);
}

TEST(MorphFlow, FailuresAndStopsLeaveItWhole) {
    ExpectCleanFailures([] {
        ZPMorphFlow morph(0, 40, 30, 1, 2);
        EXPECT_EQ(morph.status == ZPErrNone, morph.Flow() && morph.weightPyramid[0]);
        if (morph.status != ZPErrNone) throw static_cast<ZPErr>(morph.status);
        AddPoints(morph, 3);
        morph.Compute(nullptr, nullptr, 1);
    });
    EXPECT_EQ(ZPMorphFlow(0, 40, 3, 1, 2).status, ZPErrBadArgument);
    EXPECT_THROW(ZPMorphFlow(1, 0, 30, 0, 2), ZPErr);

    ZPMorphFlow morph(1, 40, 30, 0, 2);
    AddPoints(morph, 9);
    Recorder all;
    morph.Compute(nullptr, &all, 1);
    Snapshot whole(*morph.Flow());
    EXPECT_TRUE(std::is_sorted(all.fractions.begin(), all.fractions.end()));
    EXPECT_EQ(all.fractions.back(), 1.0f);
    // Levels 40x30, 20x15, 10x7, 5x3; all but the last word is told of two passes over them.
    for (float pixels : {15.0f, 85.0f, 385.0f, 1585.0f}) {
        EXPECT_NE(std::count(all.fractions.begin(), all.fractions.end(), pixels / 3170.0f), 0);
    }
    for (int stop = 1; stop <= static_cast<int>(all.fractions.size()); ++stop) {
        Recorder stopping(stop);
        AddPoints(morph, 9);
        EXPECT_THROW(morph.Compute(nullptr, &stopping, 1), ZPErr);
    }
    AddPoints(morph, 9);
    morph.Compute(nullptr, nullptr, 1);
    EXPECT_SAME_IMAGE(*morph.Flow(), *whole);
}

}  // namespace
}  // namespace velorin
