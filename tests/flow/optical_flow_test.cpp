#include "flow/optical_flow.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "image/copy.h"
#include "support/failing_allocator.h"
#include "support/forms.h"
#include "support/gap_image.h"
#include "support/noise.h"

namespace velorin {
namespace {

constexpr const char* kIncompatible = "calculating flow, incompatible inputs!\n";

// Two smooth frames, the second moved by about (1.5, -1).
struct FramePair {
    FramePair(int width, int height, int channels, int type, int bottomUp = 0)
        : a(width, height, channels, type, bottomUp), b(width, height, channels, type, bottomUp) {
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                for (int c = 0; c < channels; ++c) {
                    PutValue(*a, x, y, c, a->whitePoint * Texture(x, y, c));
                    PutValue(*b, x, y, c, b->whitePoint * Texture(x - 1.5, y + 1.0, c));
                }
            }
        }
    }
    static float Texture(double x, double y, int c) {
        const double waves = std::sin(0.4 * x + 0.2 * y + c) + std::sin(0.15 * x - 0.5 * y) +
                             std::sin(0.07 * x * y / 9.0);
        return static_cast<float>(0.5 + 0.15 * waves);
    }
    GapImage a;
    GapImage b;
};

struct Recorder : KQIdleAndProgressClass {
    Recorder() : KQIdleAndProgressClass(nullptr) {}
    void ReportProgress(float fraction) override {
        fractions.push_back(fraction);
        if (static_cast<int>(fractions.size()) == stopAt) throw ZPErrInterrupted;
    }
    std::vector<float> fractions;
    int stopAt = 0;
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
    EXPECT_EQ(SizesOf(720, 486, 0), "720x486 360x243 180x121 90x60 45x30 22x15 11x7 5x3 ");
    EXPECT_EQ(SizesOf(721, 487, 1), "360x243 180x121 90x60 45x30 22x15 11x7 5x3 ");
    EXPECT_EQ(SizesOf(720, 486, 3), "90x60 45x30 22x15 11x7 5x3 ");
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
    EXPECT_EQ(choose(0.25f), std::pair(4, 0.0f));
    EXPECT_EQ(choose(0.0f), std::pair(0, 0.0f));
    EXPECT_EQ(choose(0.01f), std::pair(0, 0.0f));
    EXPECT_EQ(choose(std::numeric_limits<float>::quiet_NaN()), std::pair(0, 0.0f));
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
    FailEachAllocation(
        [] {
            try {
                const ZPOpticalFlowUChar flow(40, 30, 1, 0, 0, 2);
            } catch (ZPErr failure) {
                EXPECT_EQ(failure, ZPErrNoMemory);
            }
        },
        [](bool, int live) { EXPECT_EQ(live, 0); });
    const ZPOpticalFlowUChar thin(0, 40, 3, 1, 0, 0, 2);
    EXPECT_EQ(thin.status, ZPErrBadArgument);
    EXPECT_THROW(ZPOpticalFlowUChar(1, 40, 0, 0, 0, 2), ZPErr);
}

TEST(OpticalFlow, FailedLoadingGivesMemoryBackAndStaysUsable) {
    FramePair frames(50, 44, 3, ZPPixUChar);
    ZPOpticalFlowUChar flow(50, 44, 2, 0, 0, 2);
    FailEachAllocation(
        [&] {
            try {
                Compute(flow, *frames.a, *frames.b);
            } catch (ZPErr failure) {
                EXPECT_EQ(failure, ZPErrNoMemory);
            }
        },
        [](bool, int live) { EXPECT_EQ(live, 0); });
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

bool AllNegativeZero(const ZPImage& flow) {
    for (int y = 0; y < flow.height; ++y) {
        for (int i = 0; i < 2 * flow.width; ++i) {
            if (!SameBits(ValueAt(flow, 0, y, i), -0.0f)) return false;
        }
    }
    return true;
}

TEST(OpticalFlow, BlackPairsAndNoSensitivityGiveZeros) {
    ZPImage black(40, 30, 4, ZPPixUChar, 0);
    ClearImage(&black);
    ZPOpticalFlowUChar flow(40, 30, 0, 0, 0, 2);
    Compute(flow, black, black);
    EXPECT_TRUE(AllNegativeZero(*flow.Flow()));

    FramePair frames(40, 30, 4, ZPPixUChar);
    flow.SetSensitivity(0.0f);
    Compute(flow, *frames.a, *frames.b);
    EXPECT_EQ(flow.startLevel, 0);
    for (int y = 0; y < 30; ++y) {
        for (int i = 0; i < 80; ++i) EXPECT_EQ(ValueAt(*flow.Flow(), 0, y, i), 0.0f);
    }
    EXPECT_EQ(ValueAt(*flow.flowPyramid[1], 3, 3, 0), 0.0f);  // coarser levels are not touched
}

// At 50 the start level's result is thrown away: the same as beginning one level finer from zero.
TEST(OpticalFlow, SensitivityFiftyBeginsOneLevelFiner) {
    FramePair frames(96, 72, 1, ZPPixFloat);
    ZPOpticalFlowUChar half(96, 72, 0, 0, 0, 2), finer(96, 72, 0, 0, 0, 2);
    half.SetSensitivity(0.5f);
    Compute(half, *frames.a, *frames.b);
    finer.levelCount -= 2;  // of five: the start level is then 2, as that after 3 was scaled to 0
    finer.startLevel = 2;
    Compute(finer, *frames.a, *frames.b);
    EXPECT_EQ(half.levelCount, 5);
    EXPECT_EQ(half.startLevel, 3);
    for (int y = 0; y < 72; ++y) {
        for (int i = 0; i < 2 * 96; ++i) {
            EXPECT_EQ(ValueAt(*half.Flow(), 0, y, i), ValueAt(*finer.Flow(), 0, y, i));
        }
    }
}

TEST(OpticalFlow, SkippedPropagationAndModesChangeTheResult) {
    FramePair frames(60, 50, 1, ZPPixUChar);
    ZPOpticalFlowUChar plain(60, 50, 0, 0, 0, 2), other(60, 50, 0, 0, 0, 2);
    Compute(plain, *frames.a, *frames.b);
    Compute(other, *frames.a, *frames.b, 1, 1);
    EXPECT_NE(FirstDifference(*plain.Flow(), *other.Flow()), "");
    for (int mode : {0, 2}) {
        Compute(other, *frames.a, *frames.b, mode);
        EXPECT_NE(FirstDifference(*plain.Flow(), *other.Flow()), "");
        EXPECT_NEAR(ValueAt(*other.Flow(), 30, 25, 0), 1.5, 0.3);
    }
    Compute(other, *frames.a, *frames.b);
    EXPECT_SAME_IMAGE(*plain.Flow(), *other.Flow());
}

TEST(OpticalFlow, MessagesAndDestinations) {
    FramePair frames(40, 30, 3, ZPPixUChar), wide(41, 30, 3, ZPPixUChar);
    FramePair words(40, 30, 3, ZPPixUShort), four(40, 30, 4, ZPPixUChar);
    ZPOpticalFlowUChar flow(40, 30, 1, 0, 0, 2);
    ZPImage dest(20, 15, 2, ZPPixFloat, 1), wrong(40, 30, 2, ZPPixFloat, 0);
    const auto said = [&](const ZPImage* a, const ZPImage* b, ZPImage* into) {
        testing::internal::CaptureStderr();
        flow.ComputeFlowFromImages(into, a, b, 1, 1, 0, nullptr, false);
        return testing::internal::GetCapturedStderr();
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
    Recorder all;
    flow.ComputeFlowFromImages(nullptr, &*frames.a, &*frames.b, 1, 1, 0, &all, false);
    EXPECT_FLOAT_EQ(all.fractions.back(), 1.0f / 3.0f);
    // Levels 40x30, 20x15, 10x7, 5x3: the coarsest is done first.
    const auto reported = [&](float fraction) {
        return std::count(all.fractions.begin(), all.fractions.end(), fraction) > 0;
    };
    EXPECT_TRUE(reported(static_cast<float>(15.0 / (3 * 1585))));
    EXPECT_TRUE(reported(static_cast<float>(85.0 / (3 * 1585))));
    EXPECT_TRUE(std::is_sorted(all.fractions.begin(), all.fractions.end()));

    // The total is that of the start level before: four levels, although two are computed now.
    Snapshot whole(*flow.Flow());
    flow.SetSensitivity(0.5f);
    Recorder some;
    flow.ComputeFlowFromImages(nullptr, &*frames.a, &*frames.b, 1, 1, 0, &some, false);
    EXPECT_FLOAT_EQ(some.fractions.back(), 1570.0f / (3.0f * 1585.0f));

    flow.SetSensitivity(1.0f);
    for (int stop = 1; stop <= static_cast<int>(all.fractions.size()); ++stop) {
        Recorder stopping;
        stopping.stopAt = stop;
        EXPECT_THROW(
            flow.ComputeFlowFromImages(nullptr, &*frames.a, &*frames.b, 1, 1, 0, &stopping, false),
            ZPErr);
    }
    Compute(flow, *frames.a, *frames.b);
    EXPECT_SAME_IMAGE(*flow.Flow(), *whole);
}

}  // namespace
}  // namespace velorin
