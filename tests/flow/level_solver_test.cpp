#include "flow/level_solver.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>

#include "filter/convolve.h"
#include "filter/gaussian_blur.h"
#include "support/checksum.h"
#include "support/in_place.h"

namespace velorin {
namespace {

constexpr int kWidth = 19;
constexpr int kHeight = 131;

void FillFloats(Noise& noise, ZPImage& image, float low, float high) {
    PutEach(image, [&](int, int, int) { return noise.Float(low, high); });
    noise.Sprinkle(image, 40);
}

// Runs `stage` on cleared images of a count of channels, or on copies of one, in each row order and
// thread count; answers the sum.
template <typename Stage>
std::uint64_t SumOf(const ZPImage& before, const Stage& stage) {
    Snapshot expected(before);
    stage(*expected);
    ExpectInPlace(before, *expected, stage);
    return Checksum(*expected);
}
template <typename Stage>
std::uint64_t SumOf(int channels, const Stage& stage) {
    ZPImage zeros(kWidth, kHeight, channels, ZPPixFloat, 0);
    ClearImage(&zeros);
    return SumOf(zeros, stage);
}

TEST(LevelSolver, GradientsAndTensor) {
    Noise noise(41);
    ZPImage source(kWidth, kHeight, 1, ZPPixFloat, 1);
    FillFloats(noise, source, -300.0f, 300.0f);
    ZPImage gx(kWidth, kHeight, 1, ZPPixFloat, 0), gy(kWidth, kHeight, 1, ZPPixFloat, 0);
    EXPECT_EQ(SumOf(1, [&](ZPImage& dest) { ComputeGradients(dest, gy, source); }),
              4654939200274488436u);
    EXPECT_EQ(SumOf(1, [&](ZPImage& dest) { ComputeGradients(gx, dest, source); }),
              17618744348294589751u);
    EXPECT_EQ(SumOf(3, [&](ZPImage& dest) { ComputeTensor(dest, gx, gy); }), 1770464120736954543u);
}

TEST(LevelSolver, MatteSilencesNeighbours) {
    ZPImage matte(5, 5, 1, ZPPixFloat, 0);
    const auto cleared = [&](float sample, int mx, int my) {
        ZPImage gx(5, 5, 1, ZPPixFloat, 0), gy(5, 5, 1, ZPPixFloat, 0);
        PutAll(matte, 1.0f);
        PutValue(matte, mx, my, 0, sample);
        PutAll(gx, 3.0f);
        PutAll(gy, 4.0f);
        ClearGradientsAtMatte(gx, gy, matte);
        std::string text;
        ForEachPixel(gx, [&](int x, int y) {
            const bool zero = ValueAt(gx, x, y, 0) == 0.0f;
            EXPECT_EQ(ValueAt(gy, x, y, 0), zero ? 0.0f : 4.0f);
            if (zero) text += std::to_string(x) + std::to_string(y) + " ";
        });
        return text;
    };
    EXPECT_EQ(cleared(0.94f, 2, 2), "21 12 22 32 23 ");
    EXPECT_EQ(cleared(0.94f, 0, 4), "03 04 14 ");
    EXPECT_EQ(cleared(0.94f, 4, 0), "30 40 41 ");
    // On purpose compared in double: the float nearest to 0.95 lies below it.
    EXPECT_EQ(cleared(0.95f, 2, 2), "21 12 22 32 23 ");
    EXPECT_EQ(cleared(std::nextafter(0.95f, 1.0f), 2, 2), "");
    EXPECT_EQ(cleared(NAN, 2, 2), "");
}

TEST(LevelSolver, Mismatch) {
    ZPImage a(kWidth, kHeight, 1, ZPPixFloat, 0), b(kWidth, kHeight, 1, ZPPixFloat, 1);
    ZPImage gx(kWidth, kHeight, 1, ZPPixFloat, 0), gy(kWidth, kHeight, 1, ZPPixFloat, 0);
    ZPImage flow(kWidth, kHeight, 2, ZPPixFloat, 0), matte(kWidth, kHeight, 1, ZPPixFloat, 0);
    Noise noise(42);
    for (ZPImage* image : {&a, &b, &gx, &gy}) FillFloats(noise, *image, -200.0f, 200.0f);
    FillFloats(noise, flow, -6.0f, 6.0f);
    PutEach(matte,
            [&](int, int, int) { return noise.Int(0, 9) == 0 ? noise.Float(0.99f, 1.0f) : 1.0f; });
    // Exactly on the last column and row, which is inside; and exactly on the first.
    PutValue(flow, 3, 3, 0, 3.0f - (kWidth - 1));
    PutValue(flow, 3, 3, 1, 3.0f - (kHeight - 1));
    PutValue(flow, 7, 5, 0, 7.0f);
    PutValue(flow, 7, 5, 1, 5.0f);
    const auto sumWith = [&](const ZPImage* mask) {
        return SumOf(2, [&](ZPImage& dest) { ComputeMismatch(dest, {a, b, gx, gy, flow, mask}); });
    };
    EXPECT_EQ(sumWith(nullptr), 3801468118768929896u);
    EXPECT_EQ(sumWith(&matte), 4962354117665216576u);
}

TEST(LevelSolver, SolvesWhereTheDeterminantIsAboveForty) {
    Noise noise(43);
    ZPImage tensor(kWidth, kHeight, 3, ZPPixFloat, 0), mismatch(kWidth, kHeight, 2, ZPPixFloat, 1);
    ZPImage flow(kWidth, kHeight, 2, ZPPixFloat, 0);
    FillFloats(noise, tensor, -12.0f, 12.0f);
    FillFloats(noise, mismatch, -30.0f, 30.0f);
    FillFloats(noise, flow, -5.0f, 5.0f);
    const auto solve = [&](ZPImage& dest) { SolveFlow(dest, tensor, mismatch); };
    EXPECT_EQ(SumOf(flow, solve), 15742626411457286039u);

    PutAll(mismatch, 1.0f);
    // Determinants of -40, just beyond, NaN, and a straight edge's 0.
    constexpr float kTensors[][3] = {
        {8.0f, 0.0f, 5.0f}, {8.0f, 0.0f, 5.000001f}, {NAN, 0.0f, 5.0f}, {100.0f, 200.0f, 400.0f}};
    Snapshot solved(flow);
    for (int x = 0; x < 4; ++x) {
        for (int c = 0; c < 3; ++c) PutValue(tensor, x, 0, c, kTensors[x][c]);
    }
    solve(*solved);
    for (int x = 0; x < 4; ++x) {
        EXPECT_EQ(ValueAt(*solved, x, 0, 0) != ValueAt(flow, x, 0, 0), x == 1) << x;
    }
}

TEST(LevelSolver, BlurStagesFollowTheTable) {
    ZPImage source(15, 14, 2, ZPPixFloat, 0);
    Noise noise(44);
    noise.Fill(source);
    for (bool isSum : {true, false}) {
        for (int mode = -1; mode <= 3; ++mode) {
            Snapshot expected(source), image(source);
            if (mode == 0) BoxFilter(*expected, 0, 2.0f);
            if (mode == 1) GaussianBlur(*expected, 0, isSum ? 7.0f : 5.0f);
            if (mode == 2) GaussianBlur(*expected, 0, isSum ? 5.0f : 3.0f);
            BlurStage(*image, isSum, mode);
            EXPECT_SAME_IMAGE(*image, *expected);
        }
    }
}

TEST(LevelSolver, CarriesAFlowToTheFinerLevel) {
    Noise noise(45);
    std::uint64_t sum = kEmptySum;
    for (const auto& [width, height] : {std::pair{9, 65}, {10, 66}, {2, 2}, {5, 131}}) {
        ZPImage coarse(width, height, 2, ZPPixFloat, 1);
        FillFloats(noise, coarse, -9.0f, 9.0f);
        sum += SumOf(2, [&](ZPImage& fine) { ResampleFlow(fine, coarse); });
    }
    EXPECT_EQ(sum, 7356524559608457496u);
    ZPImage fine(8, 8, 2, ZPPixFloat, 0), bytes(4, 4, 2, ZPPixUChar, 0), one(4, 4, 1, 2, 0);
    EXPECT_THROW(ResampleFlow(fine, bytes), ZPErr);
    EXPECT_THROW(ResampleFlow(fine, one), ZPErr);
}

TEST(LevelSolver, Pinned) {
    ZPImage a(7, 6, 1, ZPPixFloat, 0), b(7, 6, 1, ZPPixFloat, 0);
    ZPImage gx(7, 6, 1, ZPPixFloat, 0), gy(7, 6, 1, ZPPixFloat, 0);
    ZPImage tensor(7, 6, 3, ZPPixFloat, 0), mismatch(7, 6, 2, ZPPixFloat, 0);
    ZPImage flow(7, 6, 2, ZPPixFloat, 0);
    PutEach(a, [](int x, int y, int) { return 3.1f * x * x - 1.7f * x * y + 2.3f * y * y; });
    PutEach(b, [](int x, int y, int) { return 2.9f * x * x - 1.3f * x * y + 2.1f * y * y; });
    PutEach(flow, [](int, int, int c) { return c == 0 ? 0.3f : -0.2f; });
    ComputeGradients(gx, gy, a);
    ComputeTensor(tensor, gx, gy);
    ComputeMismatch(mismatch, {a, b, gx, gy, flow, nullptr});
    EXPECT_SAME_BITS(ValueAt(mismatch, 3, 2, 0), -0x1.206f4ap+5f);
    BlurStage(tensor, true, 2);
    BlurStage(mismatch, true, 2);
    SolveFlow(flow, tensor, mismatch);
    EXPECT_SAME_BITS(ValueAt(flow, 3, 2, 0), 0x1.02bb4p-6f);
    EXPECT_SAME_BITS(ValueAt(flow, 3, 2, 1), 0x1.f1c948p-5f);
}

}  // namespace
}  // namespace velorin
