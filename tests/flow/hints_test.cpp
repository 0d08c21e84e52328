#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "flow/optical_flow.h"
#include "flow/scatter_levels.h"
#include "image/copy.h"
#include "support/forms.h"
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
    ASSERT_EQ(flow.levelCount, 4);
    flow.ClearHints();
    for (float x : {40.0f, 40.5f}) flow.AddHint(x, 36.0f, 80.0f - x, 37.0f, 88.0f, 72.0f);
    flow.AddHint(88.0f, 72.0f, 76.0f, 72.0f, 88.0f, 72.0f);
    flow.FinishHints();
    const ZPImage& hints = *flow.hintFlowPyramid[0];
    EXPECT_SAME_BITS(ValueAt(hints, 20, 18, 0), 0.25f);  // the mean of 0.0 and -0.5, turned
    EXPECT_SAME_BITS(ValueAt(hints, 20, 18, 1), -0.5f);
    EXPECT_SAME_BITS(ValueAt(*flow.hintWeightPyramid[0], 20, 18, 0), 1.0f);
    EXPECT_SAME_BITS(ValueAt(hints, 44, 36, 0), 6.0f);
    EXPECT_SAME_BITS(ValueAt(hints, 3, 3, 0), -0.0f);
    for (int n = 1; n < 4; ++n) {
        const ZPImage& fine = *flow.hintFlowPyramid[n - 1];
        const ZPImage& fineWeights = *flow.hintWeightPyramid[n - 1];
        Snapshot vectors(*flow.hintFlowPyramid[n]), weights(*flow.hintWeightPyramid[n]);
        Snapshot vectorScratch(fine), weightScratch(fineWeights);
        ReduceLevel(*vectors, fine, *vectorScratch);
        ReduceLevel(*weights, fineWeights, *weightScratch);
        const float kx = static_cast<float>(vectors->width - 1) / (fine.width - 1);
        const float ky = static_cast<float>(vectors->height - 1) / (fine.height - 1);
        PutEach(*vectors, [&](int x, int y, int c) {
            return ValueAt(*vectors, x, y, c) * (c == 0 ? kx : ky);
        });
        EXPECT_TRUE(flow.HasHints(n));
        EXPECT_SAME_IMAGE(*flow.hintFlowPyramid[n], *vectors);
        EXPECT_SAME_IMAGE(*flow.hintWeightPyramid[n], *weights);
    }
    flow.ClearHints();
    flow.FinishHints();
    for (int n = 0; n < 4; ++n) EXPECT_FALSE(flow.HasHints(n));

    ZPOpticalFlowUChar plain(40, 30, 0, 0, 0, 2);
    PutAll(*plain.Flow(), 3.0f);
    Snapshot before(*plain.Flow());
    plain.ClearHints();
    plain.AddHint(1.0f, 1.0f, 2.0f, 2.0f, 39.0f, 29.0f);
    plain.FinishHints();
    EXPECT_SAME_IMAGE(*plain.Flow(), *before);
}

constexpr int kWidth = 240, kHeight = 160;
constexpr float kMoveX = 13.0f, kMoveY = -2.0f;

struct Place {
    int x, y;
};

// A weave that repeats every 20 pixels and moves by more than half of that: the nearest match is
// the wrong one.
void DrawWeave(ZPImage& frame, float shiftX, float shiftY) {
    PutEach(frame, [=](int x, int y, int) {
        const double k = 2.0 * 3.14159265358979 / 20.0;
        const double weave = std::sin(k * (x - shiftX)) + std::sin(k * (y - shiftY));
        return static_cast<float>(std::floor(128.0 + 50.0 * weave));
    });
}

// The mean distance from the true vector within 8 pixels of the places.
double ErrorAround(const ZPImage& flow, const std::vector<Place>& places) {
    double sum = 0.0;
    int count = 0;
    ForEachPixel(flow, [&](int x, int y) {
        const bool near = std::any_of(places.begin(), places.end(), [=](Place place) {
            return std::hypot(place.x - x, place.y - y) <= 8.0;
        });
        if (!near) return;
        sum += std::hypot(ValueAt(flow, x, y, 0) - kMoveX, ValueAt(flow, x, y, 1) - kMoveY);
        ++count;
    });
    return sum / count;
}

TEST(Hints, LeadTheEstimatorWhereItGoesAstray) {
    ZPImage a(kWidth, kHeight, 1, ZPPixUChar, 0), b(kWidth, kHeight, 1, ZPPixUChar, 0);
    DrawWeave(a, 0.0f, 0.0f);
    DrawWeave(b, kMoveX, kMoveY);
    const std::vector<Place> places{{40, 40},  {120, 40}, {200, 40},  {80, 80},
                                    {160, 80}, {40, 120}, {120, 120}, {200, 120}};
    ZPOpticalFlowUChar flow(kWidth, kHeight, 0, 1, 0, 2);
    flow.SetSensitivity(0.7f);
    const auto measure = [&](std::size_t points) {
        flow.ClearHints();
        for (std::size_t i = 0; i < points; ++i) {
            const float x = places[i].x, y = places[i].y;
            flow.AddHint(x, y, x + kMoveX, y + kMoveY, kWidth - 1, kHeight - 1);
        }
        flow.FinishHints();
        flow.ComputeFlowFromImages(nullptr, &a, &b, 1, 1, 0, nullptr, false);
        return ErrorAround(*flow.Flow(), places);
    };
    const double without = measure(0), with = measure(places.size());
    std::printf("error around the points: %.3f pixels without hints, %.3f with %zu\n", without,
                with, places.size());
    EXPECT_GT(without, 10.0);
    EXPECT_LT(with, 0.5);
}

}  // namespace
}  // namespace velorin
