#include "warp/warp_image.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include "image/copy.h"
#include "support/checksum.h"
#include "support/failing_allocator.h"
#include "support/recorder.h"
#include "support/refusal.h"

namespace velorin {
namespace {

int Warp(ZPImage& destination, const ZPImage& source, const ZPImage& flow, float amount,
         ZPImage* coverage, KQIdleAndProgressClass* progress = nullptr) {
    return ZPWarpImage(destination, source, flow, 1, 1, 1, amount, 1, 1, 1, 1, progress, coverage,
                       1, 1, nullptr);
}

std::unique_ptr<ZPImage> UniformFlow(int width, int height, float u, float v) {
    auto flow = std::make_unique<ZPImage>(width, height, 2, ZPPixFloat, 0);
    PutEach(*flow, [=](int, int, int c) { return c == 0 ? u : v; });
    return flow;
}

// Zigzags of some pixels that fold the mesh here and there.
std::unique_ptr<ZPImage> WavyFlow(int width, int height, float size) {
    auto flow = std::make_unique<ZPImage>(width, height, 2, ZPPixFloat, 0);
    PutEach(*flow, [=](int x, int y, int c) {
        const int phase = c == 0 ? x + y : x + 2 * height - y;
        return size * (static_cast<float>(std::abs(phase % 17 - 8)) - 4.0f) / 4.0f;
    });
    return flow;
}

std::uint8_t CoveredAt(const ZPImage& coverage, int x, int y) {
    return coverage.Row<std::uint8_t>(y)[x];
}

// On one thread, in any row order; what is covered is told as well. A vector too small to leave its
// pixel keeps the warp from copying.
TEST(WarpImage, SameBitsInEveryType) {
    const std::unique_ptr<ZPImage> flows[] = {UniformFlow(40, 37, 0.0f, 0x1p-10f),
                                              UniformFlow(40, 37, 2.0f, 0.0f),
                                              UniformFlow(40, 37, 10.0f, -2.0f),
                                              WavyFlow(20, 19, 3.0f),
                                              WavyFlow(50, 40, 40.0f),
                                              WavyFlow(40, 37, NAN)};
    std::uint64_t sum = kEmptySum;
    for (int type : {ZPPixUChar, ZPPixUShort, ZPPixFloat}) {
        for (const auto& flow : flows) {
            ZPImage source(40, 37, 4, type, 0), wanted(40, 37, 4, type, 0);
            ZPImage covered(40, 37, 1, ZPPixUChar, 0);
            Noise(11).Fill(source);
            ASSERT_EQ(Warp(wanted, source, *flow, 0.5f, &covered), 1);
            sum = Checksum(covered, Checksum(wanted, sum));
            ForEachRowOrderPair([&](int sourceOrder, int destOrder) {
                GapImage turned(40, 37, 4, type, sourceOrder), dest(40, 37, 4, type, destOrder);
                GapImage coverage(40, 37, 1, ZPPixUChar, sourceOrder);
                CopyPixels(*turned, source);
                ASSERT_EQ(Warp(*dest, *turned, *flow, 0.5f, &*coverage), 1);
                EXPECT_SAME_IMAGE(*dest, wanted);
                EXPECT_SAME_IMAGE(*coverage, covered);
                EXPECT_TRUE(dest.GapsUntouched() && coverage.GapsUntouched());
            });
        }
    }
    EXPECT_EQ(sum, 16388358053100589259u);
}

// Columns to the left and the right of column 4 in turn: all cells fold onto it, 699 hits a line,
// of which 255 are counted.
TEST(WarpImage, HitsAreAveragedAsTheyAreStored) {
    constexpr int kWidth = 700;
    ZPImage source(kWidth, 2, 4, ZPPixUChar, 0), dest(kWidth, 2, 4, ZPPixUChar, 0);
    ZPImage coverage(kWidth, 2, 1, ZPPixUChar, 0);
    PutEach(source, [&](int x, int, int) { return static_cast<float>((x * 37) % 251); });
    const auto flow = UniformFlow(kWidth, 2, 0.0f, 0.0f);
    for (int x = 0; x < kWidth; ++x) {
        for (int y : {0, 1}) PutValue(*flow, x, y, 0, static_cast<float>((x % 2 ? 4 : 5) - x));
    }
    ASSERT_EQ(Warp(dest, source, *flow, 1.0f, &coverage), 1);
    int mean = 0, count = 0;
    for (int x = 0; x + 1 < kWidth; ++x) {
        const float hit = ValueAt(source, x % 2 ? x : x + 1, 0, 0);
        const float sum = static_cast<float>(mean * count) + hit;
        mean = static_cast<int>(sum * (1.0f / (static_cast<float>(count) + 1.0f)) + 0.5f);
        count = std::min(count + 1, 255);
    }
    EXPECT_EQ(ValueAt(dest, 4, 0, 0), mean);
    EXPECT_EQ(CoveredAt(coverage, 4, 0), 255);
    EXPECT_EQ(CoveredAt(coverage, 6, 0), 0);
}

TEST(WarpImage, NothingThatMovesIsACopy) {
    Noise noise(5);
    ZPImage source(20, 18, 4, ZPPixFloat, 0);
    noise.Fill(source);
    noise.Sprinkle(source, 20);
    GapImage dest(20, 18, 4, ZPPixFloat, 1);
    const auto copies = [&](const ZPImage& flow, float amount) {
        ZPImage coverage(20, 18, 1, ZPPixUChar, 0);
        ClearImage(&*dest);
        EXPECT_EQ(Warp(*dest, source, flow, amount, &coverage), 1);
        return CoveredAt(coverage, 0, 0) == 255 && FirstDifference(*dest, source).empty();
    };
    EXPECT_TRUE(copies(*UniformFlow(10, 9, 5.0f, 5.0f), 0.0000099f));
    EXPECT_TRUE(copies(*UniformFlow(10, 9, 0.0001f, -0.0001f), 1.0f));
    const auto flow = UniformFlow(10, 9, 0.0f, 0.0f);
    PutValue(*flow, 9, 8, 1, -0.00011f);
    EXPECT_FALSE(copies(*flow, 1.0f));  // a mesh with NaN in it spreads them
    EXPECT_TRUE(dest.GapsUntouched());
}

TEST(WarpImage, RefusesWhatDoesNotFitAndChangesNothing) {
    const Shape fits{12, 10, 4, 0}, three{12, 10, 3, 0}, flow{6, 5, 2, 2}, covered{12, 10, 1, 0};
    const struct {
        Shape dest, source, flow, coverage;
    } kCases[] = {{{12, 10, 4, 2}, fits, flow, covered}, {three, three, flow, covered},
                  {fits, fits, {6, 5, 2, 0}, covered},   {fits, fits, flow, {11, 10, 1, 0}},
                  {fits, fits, flow, {12, 10, 2, 0}},    {fits, fits, flow, {12, 10, 1, 2}}};
    for (const auto& it : kCases) {
        ExpectRefused({it.dest, it.source, it.flow, it.coverage},
                      "can't warp image, input files not of correct types and sizes\n",
                      [](Images& i) { EXPECT_EQ(Warp(*i[0], *i[1], *i[2], 0.0f, i[3].get()), 0); });
    }
    const ZPImage source(12, 10, 4, ZPPixUChar, 0);
    ZPImage dest(12, 10, 4, ZPPixUChar, 0);
    const auto uniform = UniformFlow(6, 5, 1.0f, 1.0f);
    for (const auto& [supersample, mipMode] : {std::pair{2, 1}, {1, 3}}) {
        EXPECT_THROW(ZPWarpImage(dest, source, *uniform, 1, supersample, 1, 0.5f, 1, 1, 1, 1,
                                 nullptr, nullptr, 1, mipMode, nullptr),
                     ZPErr);
    }
}

// Only the surroundings of what is not transparent are drawn, unless coverage is asked for.
TEST(WarpImage, TransparencyIsDrawnOnlyForCoverage) {
    ForEachThreadCount([&] {
        for (int type : {ZPPixUChar, ZPPixUShort, ZPPixFloat}) {
            ZPImage source(40, 36, 4, type, 0), dest(40, 36, 4, type, 0);
            ZPImage coverage(40, 36, 1, ZPPixUChar, 0);
            const auto flow = UniformFlow(20, 18, 1.0f, 0.0f);
            PutEach(source, [](int, int, int c) { return c == 0 ? 1.0f : 0.0f; });
            ASSERT_EQ(Warp(dest, source, *flow, 1.0f, nullptr), 1);
            EXPECT_EQ(ValueAt(dest, 20, 20, 0), 0.0f);  // all of it transparent
            ASSERT_EQ(Warp(dest, source, *flow, 1.0f, &coverage), 1);
            EXPECT_EQ(ValueAt(dest, 20, 20, 0), 1.0f);
            EXPECT_EQ(CoveredAt(coverage, 20, 20), 255);
            EXPECT_EQ(CoveredAt(coverage, 1, 20), 0);
            PutValue(source, 10, 12, 3, 1.0f);
            ASSERT_EQ(Warp(dest, source, *flow, 1.0f, nullptr), 1);
            const int shift = 39 * 1 / 19;  // two pixels and a bit
            EXPECT_EQ(ValueAt(dest, 10 + shift, 12, 0), 1.0f);
            EXPECT_EQ(ValueAt(dest, 10 + shift, 14, 0), 0.0f);
            EXPECT_EQ(ValueAt(dest, 15 + shift, 12, 0), 0.0f);
        }
    });
}

TEST(WarpImage, TinyPicturesHaveNoMesh) {
    for (const auto& [width, height] : {std::pair{1, 9}, {9, 1}, {1, 1}}) {
        ZPImage source(width, height, 4, ZPPixUChar, 0), dest(width, height, 4, ZPPixUChar, 0);
        ZPImage coverage(width, height, 1, ZPPixUChar, 0);
        PutAll(source, 200.0f);
        ASSERT_EQ(Warp(dest, source, *UniformFlow(4, 4, 1.0f, 1.0f), 1.0f, &coverage), 1);
        EXPECT_EQ(ValueAt(dest, 0, 0, 0), 0.0f);
        EXPECT_EQ(CoveredAt(coverage, 0, 0), 0);
    }
}

// Where the mesh folds across strips the order of hits may turn the last unit; nothing else moves.
TEST(WarpImage, ThreadsChangeNoMoreThanTheLastUnit) {
    Noise noise(2);
    ZPImage source(150, 130, 4, ZPPixUShort, 0), dest(150, 130, 4, ZPPixUShort, 0);
    ZPImage reference(150, 130, 4, ZPPixUShort, 0);
    ZPImage coverage(150, 130, 1, ZPPixUChar, 0), covered(150, 130, 1, ZPPixUChar, 0);
    noise.Fill(source);
    for (float size : {0.7f, 9.0f, 200.0f, std::numeric_limits<float>::quiet_NaN()}) {
        const auto flow = WavyFlow(75, 65, size);
        if (!(size < 100.0f)) PutValue(*flow, 3, 60, 1, size);
        UseThreads(1);
        ASSERT_EQ(Warp(reference, source, *flow, 0.5f, &covered), 1);
        ForEachThreadCount([&] {
            ASSERT_EQ(Warp(dest, source, *flow, 0.5f, &coverage), 1);
            EXPECT_SAME_IMAGE(coverage, covered);
            double apart = 0.0;
            ForEachPixel(dest, [&](int x, int y) {
                for (int c = 0; c < 4; ++c) {
                    apart += std::abs(ValueAt(dest, x, y, c) - ValueAt(reference, x, y, c));
                }
            });
            EXPECT_LT(apart / (130 * 600), size > 0.8f ? 300.0 : 0.01);
        });
    }
}

TEST(WarpImage, FailuresAndInterruptionsLeaveNoLockAndNoMemory) {
    ZPImage source(60, 300, 4, ZPPixUChar, 0), dest(60, 300, 4, ZPPixUChar, 0);
    ZPImage coverage(60, 300, 1, ZPPixUChar, 0);
    PutEach(source, [](int x, int, int) { return x == 5 ? 255.0f : 0.0f; });
    const auto flow = WavyFlow(60, 300, 30.0f);
    for (int threads : {1, 2, 8}) {
        UseThreads(threads);
        ExpectCleanFailures([&] { Warp(dest, source, *flow, 1.0f, &coverage); });
        const FailingAllocator allocator(0);
        for (int report : {1, 2, 3}) {
            Recorder progress(report);
            EXPECT_THROW(Warp(dest, source, *flow, 1.0f, nullptr, &progress), ZPErr);
            EXPECT_EQ(allocator.Live(), 0);
        }
        EXPECT_EQ(Warp(dest, source, *flow, 1.0f, nullptr), 1);
    }
    UseThreads(1);
}

}  // namespace
}  // namespace velorin
