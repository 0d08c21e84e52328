#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "flow/optical_flow.h"
#include "flow/scatter_levels.h"
#include "image/copy.h"
#include "support/noise.h"
#include "support/put_each.h"

namespace velorin {
namespace {

// Where a point at (x0, y0) of a frame lands on an image of 21 by 11.
std::string LandingOf(float x0, float y0, float refWidth = 20.0f, float refHeight = 10.0f,
                      float x1 = 1.0f) {
    ZPImage sums(21, 11, 2, ZPPixFloat, 0), counts(21, 11, 1, ZPPixFloat, 0);
    ClearImage(&sums);
    ClearImage(&counts);
    AddMovingPoint(sums, counts, x0, y0, x1, 1.0f, refWidth, refHeight);
    std::string places;
    ForEachPixel(counts, [&](int x, int y) {
        if (ValueAt(counts, x, y, 0) == 0.0f) return;
        places += std::to_string(x) + "," + std::to_string(y);
    });
    return places;
}

TEST(Hints, PointsLandOnTheNearestPixelOrAreDropped) {
    EXPECT_EQ(LandingOf(20.0f, 10.0f), "20,10");
    EXPECT_EQ(LandingOf(20.5f, 10.0f), "");
    EXPECT_EQ(LandingOf(20.0f, 10.5f), "");
    EXPECT_EQ(LandingOf(4.49f, 2.5f), "4,3");
    EXPECT_EQ(LandingOf(80.0f, 5.0f, 80.0f, 5.0f), "20,10");
    // On purpose: the same distance beyond the other border is still inside.
    EXPECT_EQ(LandingOf(-1.49f, -1.49f), "0,0");
    EXPECT_EQ(LandingOf(-1.5f, 0.0f), "");
    EXPECT_EQ(LandingOf(0.0f, -1.5f), "");
    // The sum with a half is exact: in float it would be 1.0.
    EXPECT_EQ(LandingOf(0x1.fffffep-2f, 0.0f), "0,0");
    for (float none : {NAN, INFINITY, -INFINITY}) {
        EXPECT_EQ(LandingOf(none, 3.0f), "");
        EXPECT_EQ(LandingOf(3.0f, none), "");
        EXPECT_EQ(LandingOf(3.0f, 3.0f, 20.0f, 10.0f, none), "");
    }
    EXPECT_EQ(LandingOf(0.0f, 0.0f, 0.0f, 0.0f), "");
}

TEST(Hints, PointsOnAPixelAverageAndLevelsFollow) {
    ZPOpticalFlowUChar flow(91, 75, 1, 1, 0, 2);  // 45x37, 22x18, 11x9, 5x4
    flow.ClearHints();
    for (float x : {40.0f, 40.5f}) flow.AddHint(x, 36.0f, 80.0f - x, 37.0f, 88.0f, 72.0f);
    flow.FinishHints();
    const ZPImage& hints = *flow.hintFlowPyramid[0];
    EXPECT_SAME_BITS(ValueAt(hints, 20, 18, 0), 0.25f);  // the mean of 0.0 and -0.5, turned
    EXPECT_SAME_BITS(ValueAt(hints, 20, 18, 1), -0.5f);
    EXPECT_SAME_BITS(ValueAt(*flow.hintWeightPyramid[0], 20, 18, 0), 1.0f);
    // On every level sum over weight is the same vector, in the level's pixels.
    for (int n = 0; n < 4; ++n) {
        const ZPImage& weights = *flow.hintWeightPyramid[n];
        const float kx = static_cast<float>(weights.width - 1) / 44.0f;
        const float ky = static_cast<float>(weights.height - 1) / 36.0f;
        EXPECT_TRUE(flow.HasHints(n));
        flow.ImposeHints(n);
        ForEachPixel(weights, [&](int x, int y) {
            if (ValueAt(weights, x, y, 0) == 0.0f) return;
            EXPECT_FLOAT_EQ(ValueAt(*flow.flowPyramid[n], x, y, 0), 0.25f * kx);
            EXPECT_FLOAT_EQ(ValueAt(*flow.flowPyramid[n], x, y, 1), -0.5f * ky);
        });
    }
    flow.ClearHints();
    flow.FinishHints();
    for (int n = 0; n < 4; ++n) EXPECT_FALSE(flow.HasHints(n));
    ZPOpticalFlowUChar unguided(40, 30, 0, 0, 0, 2);
    unguided.ClearHints();
    unguided.AddHint(1.0f, 1.0f, 2.0f, 2.0f, 39.0f, 29.0f);
    unguided.FinishHints();
}

}  // namespace
}  // namespace velorin
