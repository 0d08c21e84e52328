#include "flow/optical_flow.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "image/copy.h"
#include "support/failing_allocator.h"
#include "support/forms.h"
#include "support/noise.h"
#include "support/put_each.h"
#include "support/recorder.h"
#include "support/stderr_text.h"

namespace velorin {
namespace {

constexpr const char* kIncompatible = "calculating flow, incompatible inputs!\n";

// Two smooth frames, the second moved by about (1.5, -1).
struct FramePair {
    FramePair(int width, int height, int channels, int type, int bottomUp = 0)
        : a(width, height, channels, type, bottomUp), b(width, height, channels, type, bottomUp) {
        PutEach(*a, [&](int x, int y, int c) { return a->whitePoint * Texture(x, y, c); });
        PutEach(*b,
                [&](int x, int y, int c) { return b->whitePoint * Texture(x - 1.5, y + 1.0, c); });
    }
    static float Texture(double x, double y, int c) {
        const double waves = std::sin(0.4 * x + 0.2 * y + c) + std::sin(0.15 * x - 0.5 * y) +
                             std::sin(0.07 * x * y / 9.0);
        return static_cast<float>(0.5 + 0.15 * waves);
    }
    GapImage a;
    GapImage b;
};

void Compute(ZPOpticalFlowUChar& flow, const ZPImage& a, const ZPImage& b, int mode = 1,
             int skip = 0) {
    flow.ComputeFlowFromImages(nullptr, &a, &b, 1, mode, skip, nullptr, false);
}

std::string SizesOf(int width, int height, int reductionSteps) {
    const ZPOpticalFlowUChar flow(width, height, reductionSteps, 0, 0, 2);
    std::string sizes;
    for (int n = 0; n < flow.levelCount; ++n) {
        const ZPImage& level = *flow.flowPyramid[n];
        sizes += std::to_string(level.width) + "x" + std::to_string(level.height) + " ";
    }
    EXPECT_EQ(flow.startLevel, flow.levelCount - 1);
    EXPECT_EQ(flow.flowPyramid[flow.levelCount], nullptr);
    return sizes;
}

TEST(OpticalFlow, LevelSizes) {
    EXPECT_EQ(SizesOf(721, 487, 1), "360x243 180x121 90x60 45x30 22x15 11x7 5x3 ");
    EXPECT_EQ(SizesOf(2, 2, 0), "2x2 ");
    EXPECT_EQ(SizesOf(4, 5, 0), "4x5 ");
    EXPECT_EQ(SizesOf(6, 7, 0), "6x7 3x3 ");
    EXPECT_EQ(SizesOf(5, 400, 0), "5x400 ");
    const ZPOpticalFlowUChar flow(100, 100, 0, 0, 0, 13);
    EXPECT_EQ(flow.levelCount, 3);  // 100, 50, 25: 12 is below the smallest allowed
}

TEST(OpticalFlow, StartLevelFromSensitivity) {
    ZPOpticalFlowUChar flow(720, 486, 0, 0, 0, 2);
    const auto choose = [&](float sensitivity) {
        float scale = -1.0f;
        flow.SetSensitivity(sensitivity);
        flow.ChooseStartLevel(scale);
        return std::pair(flow.startLevel, scale);
    };
    EXPECT_EQ(choose(1.0f), std::pair(7, 1.0f));
    EXPECT_EQ(choose(0.5f), std::pair(6, 0.0f));
    for (float none : {0.0f, 0.01f, NAN}) EXPECT_EQ(choose(none), std::pair(0, 0.0f));
    EXPECT_EQ(choose(0.7f).first, 6);
    EXPECT_SAME_BITS(choose(0.7f).second, 0x1.f113cp-1f);  // of 6.97
}

TEST(OpticalFlow, AFailedConstructionLeavesNothing) {
    FailEachAllocation(
        [] {
            ZPOpticalFlowUChar flow(0, 40, 30, 1, 1, 1, 2);
            if (flow.status == ZPErrNone) return;
            EXPECT_EQ(flow.status, ZPErrNoMemory);
            for (int n = 0; n < kMaxLevels; ++n) {
                EXPECT_FALSE(flow.flowPyramid[n] || flow.gradientXPyramid[n] ||
                             flow.mattePyramidB[n] || flow.hintFlowPyramid[n]);
            }
        },
        [](bool, int live) { EXPECT_EQ(live, 0); });
    ExpectCleanFailures([] { const ZPOpticalFlowUChar flow(40, 30, 1, 0, 0, 2); });
    const ZPOpticalFlowUChar thin(0, 40, 3, 1, 0, 0, 2);
    EXPECT_EQ(thin.status, ZPErrBadArgument);
    EXPECT_THROW(ZPOpticalFlowUChar(1, 40, 0, 0, 0, 2), ZPErr);
}

TEST(OpticalFlow, FailedLoadingGivesMemoryBackAndStaysUsable) {
    FramePair frames(50, 44, 3, ZPPixUChar);
    ZPOpticalFlowUChar flow(50, 44, 2, 0, 0, 2);
    ExpectCleanFailures([&] { Compute(flow, *frames.a, *frames.b); });
    EXPECT_NE(ValueAt(*flow.Flow(), 5, 5, 0), 0.0f);
}

// The whole estimator over forms, row orders and threads: mattes and enhanced edges as well.
TEST(OpticalFlow, SameBitsForEveryRowOrderAndThreadCount) {
    ForEachPictureForm([](int type, int channels) {
        if (channels == 2) return;
        ZPImage expected(70, 50, 2, ZPPixFloat, 0);
        bool first = true;
        for (int bottomUp : {0, 1}) {
            FramePair frames(141, 101, channels, type, bottomUp);
            ForEachThreadCount([&] {
                ZPOpticalFlowUChar flow(141, 101, 1, 0, 0, 2);
                flow.SetSensitivity(0.7f);
                flow.ComputeFlowFromImages(nullptr, &*frames.a, &*frames.b, 1, 1, 0, nullptr,
                                           channels == 3);
                if (first) CopyExact(&expected, flow.Flow());
                first = false;
                EXPECT_SAME_IMAGE(*flow.Flow(), expected);
            });
        }
        // Delivered sign: content of A is found further on in B, here in reduced pixels.
        EXPECT_NEAR(ValueAt(expected, 35, 25, 0), 0.75, 0.3);
        EXPECT_NEAR(ValueAt(expected, 35, 25, 1), -0.5, 0.3);
    });
}

TEST(OpticalFlow, BlackPairsAndNoSensitivityGiveZeros) {
    ZPImage black(40, 30, 4, ZPPixUChar, 0), negativeZero(40, 30, 2, ZPPixFloat, 0);
    ClearImage(&black);
    PutAll(negativeZero, -0.0f);
    ZPOpticalFlowUChar flow(40, 30, 0, 0, 0, 2);
    Compute(flow, black, black);
    EXPECT_SAME_IMAGE(*flow.Flow(), negativeZero);

    FramePair frames(40, 30, 4, ZPPixUChar);
    flow.SetSensitivity(0.0f);
    Compute(flow, *frames.a, *frames.b);
    EXPECT_EQ(flow.startLevel, 0);
    ForEachPixel(*flow.Flow(), [&](int x, int y) {
        EXPECT_TRUE(ValueAt(*flow.Flow(), x, y, 0) == 0 && ValueAt(*flow.Flow(), x, y, 1) == 0);
    });
    EXPECT_EQ(ValueAt(*flow.flowPyramid[1], 3, 3, 0), 0.0f);  // coarser levels are not touched
}

TEST(OpticalFlow, MessagesAndDestinations) {
    FramePair frames(40, 30, 3, ZPPixUChar), wide(41, 30, 3, ZPPixUChar);
    FramePair words(40, 30, 3, ZPPixUShort), four(40, 30, 4, ZPPixUChar);
    ZPOpticalFlowUChar flow(40, 30, 1, 0, 0, 2);
    ZPImage dest(20, 15, 2, ZPPixFloat, 1), wrong(40, 30, 2, ZPPixFloat, 0);
    const auto said = [&](const ZPImage* a, const ZPImage* b, ZPImage* into) {
        return StderrOf([&] { flow.ComputeFlowFromImages(into, a, b, 1, 1, 0, nullptr, false); });
    };
    EXPECT_EQ(said(&*frames.a, &*frames.b, &dest), "");
    EXPECT_SAME_IMAGE(dest, *flow.Flow());
    Snapshot before(*flow.Flow());
    for (GapImage* odd : {&wide.b, &words.b, &four.b}) {
        EXPECT_EQ(said(&*frames.a, &**odd, &dest), kIncompatible);
    }
    EXPECT_EQ(said(nullptr, &*frames.b, &dest), kIncompatible);
    EXPECT_SAME_IMAGE(*flow.Flow(), *before);
    // A destination of another shape gets the line, and the work goes on.
    EXPECT_EQ(said(&*frames.b, &*frames.a, &wrong), kIncompatible);
    EXPECT_NE(FirstDifference(*flow.Flow(), *before), "");
    // Two frames of another size than the estimator's: the line once an image.
    EXPECT_EQ(said(&*wide.a, &*wide.b, nullptr), "");  // 41 / 2 is 20 as well
    FramePair large(44, 30, 3, ZPPixUChar);
    EXPECT_EQ(said(&*large.a, &*large.b, nullptr),
              "incorrect with and height\nincorrect with and height\n");
}

TEST(OpticalFlow, ProgressEndsAtAThirdAndAbortsPassThrough) {
    FramePair frames(40, 30, 1, ZPPixUChar);
    ZPOpticalFlowUChar flow(40, 30, 0, 0, 0, 2);
    const auto compute = [&](Recorder& progress) {
        flow.ComputeFlowFromImages(nullptr, &*frames.a, &*frames.b, 1, 1, 0, &progress, false);
    };
    Recorder all, some;
    compute(all);
    EXPECT_FLOAT_EQ(all.fractions.back(), 1.0f / 3.0f);
    EXPECT_TRUE(std::is_sorted(all.fractions.begin(), all.fractions.end()));
    // Levels 40x30, 20x15, 10x7, 5x3: the coarsest is done first.
    for (float pixels : {15.0f, 85.0f}) {
        EXPECT_NE(std::count(all.fractions.begin(), all.fractions.end(), pixels / 4755.0f), 0);
    }

    // The total is that of the start level before: four levels, although two are computed now.
    Snapshot whole(*flow.Flow());
    flow.SetSensitivity(0.5f);
    compute(some);
    EXPECT_FLOAT_EQ(some.fractions.back(), 1570.0f / 4755.0f);

    flow.SetSensitivity(1.0f);
    for (int stop = 1; stop <= static_cast<int>(all.fractions.size()); ++stop) {
        Recorder stopping(stop);
        EXPECT_THROW(compute(stopping), ZPErr);
    }
    Compute(flow, *frames.a, *frames.b);
    EXPECT_SAME_IMAGE(*flow.Flow(), *whole);
}

}  // namespace
}  // namespace velorin
