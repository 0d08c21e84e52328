#include "warp/warp_image.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>

#include "image/copy.h"
#include "support/failing_allocator.h"
#include "support/forms.h"
#include "support/noise.h"
#include "support/put_each.h"
#include "support/recorder.h"
#include "support/stderr_text.h"
#include "warp/mesh.h"

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

// Waves of a few pixels that fold the mesh here and there.
std::unique_ptr<ZPImage> WavyFlow(int width, int height, float size) {
    auto flow = std::make_unique<ZPImage>(width, height, 2, ZPPixFloat, 0);
    PutEach(*flow, [=](int x, int y, int c) {
        return size * (c == 0 ? std::sin(0.4f * static_cast<float>(y + x))
                              : std::cos(0.3f * static_cast<float>(x - y)));
    });
    return flow;
}

std::uint8_t CoveredAt(const ZPImage& coverage, int x, int y) {
    return coverage.Row<std::uint8_t>(y)[x];
}

// Multiples of 1/64: halves and sums of a few are exact in floats. A vector too small to leave its
// pixel keeps the warp from copying.
TEST(WarpImage, TheMeshGivesBackWhatItCarriesWholePixels) {
    constexpr int kWidth = 40, kHeight = 37;
    Noise noise(11);
    ForEachThreadCount([&] {
        for (int type : {ZPPixUChar, ZPPixUShort, ZPPixFloat}) {
            for (const auto& shift : {std::pair{0, 0}, {1, 0}, {0, 1}, {-2, 3}, {5, -1}}) {
                const int dx = shift.first, dy = shift.second;
                SCOPED_TRACE(std::to_string(type) + " by " + std::to_string(dx) + ", " +
                             std::to_string(dy));
                ForEachRowOrderPair([&](int sourceOrder, int destOrder) {
                    GapImage source(kWidth, kHeight, 4, type, sourceOrder);
                    GapImage dest(kWidth, kHeight, 4, type, destOrder);
                    GapImage coverage(kWidth, kHeight, 1, ZPPixUChar, sourceOrder);
                    const float unit = source->whitePoint > 1.0f ? 1.0f : 1.0f / 64.0f;
                    PutEach(*source, [&](int, int, int) { return noise.Int(0, 255) * unit; });
                    const auto flow = UniformFlow(kWidth, kHeight, 2.0f * dx, 2.0f * dy);
                    if (dx == 0 && dy == 0) PutValue(*flow, 3, 3, 0, 0x1p-10f);
                    ASSERT_EQ(Warp(*dest, *source, *flow, 0.5f, &*coverage), 1);
                    ForEachPixel(*dest, [&](int x, int y) {
                        const int sx = x - dx, sy = y - dy;
                        // The mesh's own last row is drawn only on the picture's last line.
                        const bool row = sy >= 0 && (sy < kHeight - 1 || y == kHeight - 1);
                        const bool hit = sx >= 0 && sx < kWidth && sy < kHeight && row;
                        ASSERT_EQ(CoveredAt(*coverage, x, y), hit ? 255 : 0) << x << " " << y;
                        if (dx == 0 && dy == 0 && std::abs(x - 3) < 2 && y < 5) return;
                        for (int c = 0; c < 4; ++c) {
                            const float wanted = hit ? ValueAt(*source, sx, sy, c) : 0.0f;
                            ASSERT_TRUE(SameBits(ValueAt(*dest, x, y, c), wanted)) << x << " " << y;
                        }
                    });
                    EXPECT_TRUE(dest.GapsUntouched() && coverage.GapsUntouched());
                });
            }
        }
    });
}

// Every vector of a column leads to column 4, so that all its cells fold onto it.
TEST(WarpImage, HitsAreAveragedAsTheyAreStored) {
    constexpr int kWidth = 700;
    ZPImage source(kWidth, 2, 4, ZPPixUChar, 0);
    ZPImage2 target(1, kWidth, 2, 4, ZPPixUChar, 0);
    ZPImage2 coverage(1, kWidth, 2, 1, ZPPixUChar, 0);
    ClearImage(&target);
    ClearImage(&coverage);
    const auto flow = UniformFlow(kWidth, 2, 0.0f, 0.0f);
    int mean = 0, count = 0;
    const auto valueOf = [](int x) { return (x * 37) % 251; };
    PutEach(source, [&](int x, int, int) { return static_cast<float>(valueOf(x)); });
    // Columns to the left and the right of column 4 in turn.
    for (int x = 0; x < kWidth; ++x) {
        for (int y : {0, 1}) PutValue(*flow, x, y, 0, static_cast<float>((x % 2 ? 4 : 5) - x));
    }
    // Each cell spans from column 4 to 5 or back, and both its triangles reach line 0 or 1.
    ZPWarpJob job;
    job.source = &source;
    job.target = &target;
    job.flow = flow.get();
    job.coverage = &coverage;
    job.wantCoverage = 1;
    ASSERT_TRUE(BoundMesh(job));
    KQIdleAndProgressClass progress(nullptr);
    DrawMesh(job, progress);
    for (int x = 0; x + 1 < kWidth; ++x) {
        const int hit = valueOf(x % 2 ? x : x + 1);
        const float sum =
            static_cast<float>(mean) * static_cast<float>(count) + static_cast<float>(hit);
        mean = static_cast<int>(sum * (1.0f / (static_cast<float>(count) + 1.0f)) + 0.5f);
        count = std::min(count + 1, 255);
    }
    EXPECT_EQ(target.Row<std::uint8_t>(0)[4 * 4], mean);
    EXPECT_EQ(coverage.Row<std::uint8_t>(0)[4], 255);
    EXPECT_EQ(coverage.Row<std::uint8_t>(0)[6], 0);
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
    const ZPImage source(12, 10, 4, ZPPixUChar, 0), three(12, 10, 3, ZPPixUChar, 0);
    const ZPImage byteFlow(6, 5, 2, ZPPixUChar, 0);
    const auto flow = UniformFlow(6, 5, 1.0f, 1.0f);
    ZPImage dest(12, 10, 4, ZPPixUChar, 0), floats(12, 10, 4, ZPPixFloat, 0);
    ZPImage threeDest(12, 10, 3, ZPPixUChar, 0), coverage(12, 10, 1, ZPPixUChar, 0);
    ZPImage narrow(11, 10, 1, ZPPixUChar, 0), two(12, 10, 2, ZPPixUChar, 0);
    ZPImage floatCoverage(12, 10, 1, ZPPixFloat, 0);
    const struct {
        ZPImage& dest;
        const ZPImage& source;
        const ZPImage& flow;
        ZPImage& coverage;
    } kCases[] = {{floats, source, *flow, coverage},  {threeDest, three, *flow, coverage},
                  {dest, source, byteFlow, coverage}, {dest, source, *flow, narrow},
                  {dest, source, *flow, two},         {dest, source, *flow, floatCoverage}};
    for (const auto& it : kCases) {
        PutAll(it.dest, 77.0f);
        PutAll(it.coverage, 77.0f);
        int result = 1;
        const auto run = [&] { result = Warp(it.dest, it.source, it.flow, 0.0f, &it.coverage); };
        EXPECT_EQ(StderrOf(run), "can't warp image, input files not of correct types and sizes\n");
        EXPECT_EQ(result, 0);
        EXPECT_EQ(ValueAt(it.dest, 0, 0, 0), 77.0f);
        EXPECT_EQ(ValueAt(it.coverage, 0, 0, 0), 77.0f);
    }
    for (const auto& [supersample, mipMode] : {std::pair{2, 1}, {1, 3}}) {
        EXPECT_THROW(ZPWarpImage(dest, source, *flow, 1, supersample, 1, 0.5f, 1, 1, 1, 1, nullptr,
                                 nullptr, 1, mipMode, nullptr),
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
