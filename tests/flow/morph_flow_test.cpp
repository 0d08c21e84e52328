#include "flow/morph_flow.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "filter/gaussian_blur.h"
#include "flow/level_plan.h"
#include "flow/scatter_levels.h"
#include "image/arithmetic.h"
#include "image/copy.h"
#include "support/failing_allocator.h"
#include "support/forms.h"
#include "support/noise.h"
#include "support/put_each.h"
#include "support/recorder.h"

namespace velorin {
namespace {

// The course as it is told, on the pyramids of another object with the same points.
struct PlainMorph {
    ZPMorphFlow& in;

    static void Put(ZPImage& image, int x, int y, int c, float value) {
        image.Row<float>(y)[x * image.channels + c] += value;
    }
    void Splat(int n, ZPImage& cover) {
        ZPImage &values = *in.valuePyramid[n], &weights = *in.weightPyramid[n];
        const ZPImage &from = *in.valuePyramid[0], &known = *in.weightPyramid[0];
        const float right = static_cast<float>(weights.lastColumn);
        const float bottom = static_cast<float>(weights.lastRow);
        float shares[4] = {};
        ForEachPixel(from, [&](int x, int y) {
            if (ValueAt(known, x, y, 0) == 0.0f) return;
            const float px = static_cast<float>(x) * right / static_cast<float>(from.lastColumn);
            const float py = static_cast<float>(y) * bottom / static_cast<float>(from.lastRow);
            const bool lastRow = std::floor(py) >= bottom, lastColumn = x == from.lastColumn;
            const float ty = lastRow ? 1.0f : py - std::floor(py), tx = px - std::floor(px);
            const int iy = lastRow ? weights.lastRow - 1 : static_cast<int>(py);
            const int ix = std::min(static_cast<int>(px), weights.lastColumn - 1);
            if (!lastColumn) {
                shares[3] = ty * tx;
                shares[1] = tx - shares[3];
                shares[2] = ty - shares[3];
                shares[0] = static_cast<float>((1.0 - tx) * (1.0 - ty));
            }
            for (int i = 0; i < 4; ++i) {
                const int toX = ix + i % 2, toY = iy + i / 2;
                Put(cover, toX, toY, 0, shares[i]);
                Put(weights, toX, toY, 0, 1.0f);
                for (int c : {0, 1}) Put(values, toX, toY, c, ValueAt(from, x, y, c));
            }
        });
    }
    void Relax(int n, ZPImage& cover) {
        ZPImage &field = *in.flowPyramid[n], &values = *in.valuePyramid[n];
        ZPImage& weights = *in.weightPyramid[n];
        for (ZPImage* image : {&cover, &values, &weights}) GaussianBlur(*image, 0, 1.95f);
        ForEachPixel(field, [&](int x, int y) {
            if (!(ValueAt(weights, x, y, 0) > 0.0f)) return;
            const float k = 1.0f / ValueAt(weights, x, y, 0);
            for (int c : {0, 1}) PutValue(values, x, y, c, ValueAt(values, x, y, c) * k);
            PutValue(cover, x, y, 0, ValueAt(cover, x, y, 0) * k);
        });
        ScaleValues(cover, 2.0f);
        for (int step = 0; step < 4; ++step) {
            PutEach(field, [&](int x, int y, int c) {
                const float f = ValueAt(field, x, y, c), t = ValueAt(cover, x, y, 0);
                const bool near = ValueAt(weights, x, y, 0) > 0.0f;
                return near ? f + (ValueAt(values, x, y, c) - f) * t : f;
            });
            if (step % 2 == 1) GaussianBlur(field, 0, 2.5f);
        }
    }
    void Level(int n, bool first, bool spread) {
        ZPImage &field = *in.flowPyramid[n], &values = *in.valuePyramid[n];
        ZPImage& weights = *in.weightPyramid[n];
        ZPImage cover(field.width, field.height, 1, ZPPixFloat, 0);
        const auto imposeAndSmooth = [&] {
            ImposeKnown(field, values, weights);
            GaussianBlur(field, 0, 5.0f);
        };
        if (spread) {
            for (ZPImage* image : {&cover, &values, &weights}) ClearImage(image);
            Splat(n, cover);
            if (first) imposeAndSmooth();
            if (n > 0) return Relax(n, cover);
        }
        imposeAndSmooth();
        if (n == 0) ImposeKnown(field, values, weights);
    }
    void Run(StartLevel start, bool spread) {
        for (int n = 1; n < in.levelCount; ++n) {
            ReduceLevel(*in.valuePyramid[n], *in.valuePyramid[n - 1], *in.flowPyramid[n - 1]);
            ReduceLevel(*in.weightPyramid[n], *in.weightPyramid[n - 1], *in.scratchPyramid[n - 1]);
        }
        ClearImage(in.flowPyramid[start.level].get());
        for (int n = start.level; n >= 0; --n) {
            Level(n, n == start.level, spread);
            if (n == start.level) ScaleValues(*in.flowPyramid[n], start.scale);
            if (n > 0) ResampleLevel(*in.flowPyramid[n - 1], *in.flowPyramid[n]);
        }
    }
};

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

void CompareWithPlain(int width, int height, int points) {
    ZPMorphFlow morph(1, width, height, 1, 2), plain(1, width, height, 1, 2);
    ZPImage dest(morph.width, morph.height, 2, ZPPixFloat, 1);
    for (float sensitivity : {1.0f, 0.7f, 0.5f, 0.0f}) {
        for (int spread : {1, 0}) {
            SCOPED_TRACE(std::to_string(width) + " by " + std::to_string(height) + ", points " +
                         std::to_string(points) + ", sensitivity " + std::to_string(sensitivity) +
                         ", spread " + std::to_string(spread));
            AddPoints(plain, points);
            PlainMorph{plain}.Run(FindStartLevel(plain.levelCount, sensitivity), spread);
            morph.SetSensitivity(sensitivity);
            ForEachThreadCount([&] {
                AddPoints(morph, points);
                morph.Compute(&dest, nullptr, spread);
                EXPECT_SAME_IMAGE(*morph.Flow(), *plain.Flow());
                EXPECT_SAME_IMAGE(dest, *plain.Flow());
                EXPECT_SAME_IMAGE(*morph.weightPyramid[0], *plain.weightPyramid[0]);
            });
        }
    }
}

TEST(MorphFlow, EqualsPlainCourse) {
    for (int points : {0, 1, 12, 400}) CompareWithPlain(150, 101, points);
    CompareWithPlain(61, 200, 30);
    CompareWithPlain(9, 10, 5);  // 4x5, one level
    CompareWithPlain(4, 4, 2);   // 2x2
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
