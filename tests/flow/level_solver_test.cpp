#include "flow/level_solver.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>

#include "filter/convolve.h"
#include "filter/gaussian_blur.h"
#include "support/in_place.h"
#include "support/plain_bilinear.h"
#include "support/put_each.h"

namespace velorin {
namespace {

constexpr int kWidth = 19;
constexpr int kHeight = 131;

void FillFloats(Noise& noise, ZPImage& image, float low, float high) {
    PutEach(image, [&](int, int, int) { return noise.Float(low, high); });
    noise.Sprinkle(image, 40);
}

// Runs `stage` on `before` in each row order and thread count; rule(x, y, c) is what it must hold.
template <typename Stage, typename Rule>
void ExpectEachPixel(const ZPImage& before, const Stage& stage, const Rule& rule) {
    Snapshot expected(before);
    PutEach(*expected, rule);
    ExpectInPlace(before, *expected, stage);
}
template <typename Stage, typename Rule>
void ExpectEachPixel(int channels, const Stage& stage, const Rule& rule) {
    ZPImage zeros(kWidth, kHeight, channels, ZPPixFloat, 0);
    ClearImage(&zeros);
    ExpectEachPixel(zeros, stage, rule);
}

float PlainGradient(const ZPImage& image, int x, int y, int dx, int dy) {
    const auto at = [&](int k) { return ValueAt(image, x + k * dx, y + k * dy, 0); };
    const bool forward = dx ? x < image.lastColumn : y < image.lastRow;
    const bool backward = dx ? x > 0 : y > 0;
    float sum = 0.0f;
    if (forward) sum += at(1) - at(0);
    if (backward) sum += at(0) - at(-1);
    return sum / static_cast<float>(forward + backward);
}

TEST(LevelSolver, GradientsAndTensor) {
    Noise noise(41);
    ZPImage source(kWidth, kHeight, 1, ZPPixFloat, 1);
    FillFloats(noise, source, -300.0f, 300.0f);
    ZPImage gx(kWidth, kHeight, 1, ZPPixFloat, 0), gy(kWidth, kHeight, 1, ZPPixFloat, 0);
    ExpectEachPixel(
        1, [&](ZPImage& dest) { ComputeGradients(dest, gy, source); },
        [&](int x, int y, int) { return PlainGradient(source, x, y, 1, 0); });
    ExpectEachPixel(
        1, [&](ZPImage& dest) { ComputeGradients(gx, dest, source); },
        [&](int x, int y, int) { return PlainGradient(source, x, y, 0, 1); });
    ExpectEachPixel(
        3, [&](ZPImage& dest) { ComputeTensor(dest, gx, gy); },
        [&](int x, int y, int c) {
            const float p = ValueAt(gx, x, y, 0), q = ValueAt(gy, x, y, 0);
            return c == 0 ? p * p : c == 1 ? q * p : q * q;
        });
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
    for (const ZPImage* mask : {static_cast<ZPImage*>(nullptr), &matte}) {
        ExpectEachPixel(
            2,
            [&](ZPImage& dest) {
                ComputeMismatch(dest, {a, b, gx, gy, flow, mask});
            },
            [&](int x, int y, int c) {
                const float sx = static_cast<float>(x) - ValueAt(flow, x, y, 0);
                const float sy = static_cast<float>(y) - ValueAt(flow, x, y, 1);
                const bool outside = sx < 0 || sx > kWidth - 1 || sy < 0 || sy > kHeight - 1;
                if (outside || std::isnan(sx) || std::isnan(sy)) return 0.0f;
                if (mask && 0.999f > PlainBilinear(*mask, sx, sy, 0)) return 0.0f;
                const float d = PlainBilinear(b, sx, sy, 0) - ValueAt(a, x, y, 0);
                return d * ValueAt(c == 0 ? gx : gy, x, y, 0);
            });
    }
}

TEST(LevelSolver, SolvesWhereTheDeterminantIsAboveForty) {
    Noise noise(43);
    ZPImage tensor(kWidth, kHeight, 3, ZPPixFloat, 0), mismatch(kWidth, kHeight, 2, ZPPixFloat, 1);
    ZPImage flow(kWidth, kHeight, 2, ZPPixFloat, 0);
    FillFloats(noise, tensor, -12.0f, 12.0f);
    FillFloats(noise, mismatch, -30.0f, 30.0f);
    FillFloats(noise, flow, -5.0f, 5.0f);
    const auto put = [&](int x, float a, float b, float c) {
        PutValue(tensor, x, 0, 0, a);
        PutValue(tensor, x, 0, 1, b);
        PutValue(tensor, x, 0, 2, c);
    };
    put(0, 8.0f, 0.0f, 5.0f);  // determinants of -40, just beyond, NaN, and a straight edge's 0
    put(1, 8.0f, 0.0f, 5.000001f);
    put(2, NAN, 0.0f, 5.0f);
    put(3, 100.0f, 200.0f, 400.0f);
    int solved = 0;
    ExpectEachPixel(
        flow, [&](ZPImage& dest) { SolveFlow(dest, tensor, mismatch); },
        [&](int x, int y, int channel) {
            const float a = ValueAt(tensor, x, y, 0), b = ValueAt(tensor, x, y, 1);
            const float c = ValueAt(tensor, x, y, 2);
            const float p = ValueAt(mismatch, x, y, 0), q = ValueAt(mismatch, x, y, 1);
            const float det = b * b - a * c;
            const float f = ValueAt(flow, x, y, channel);
            const bool strong = det > 40.0f || det < -40.0f;
            EXPECT_TRUE(y > 0 || x > 3 || strong == (x == 1));
            solved += strong;
            if (!strong) return f;
            return f + (channel == 0 ? (b * q - c * p) : (b * p - a * q)) / det;
        });
    EXPECT_GT(solved, 1000);
    EXPECT_LT(solved, 2 * kWidth * kHeight - 1000);
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
    for (const auto& [width, height] : {std::pair{9, 65}, {10, 66}, {2, 2}, {5, 131}}) {
        ZPImage coarse(width, height, 2, ZPPixFloat, 1);
        FillFloats(noise, coarse, -9.0f, 9.0f);
        const float w = static_cast<float>(coarse.lastColumn);
        const float h = static_cast<float>(coarse.lastRow);
        ExpectEachPixel(
            2, [&](ZPImage& fine) { ResampleFlow(fine, coarse); },
            [&](int x, int y, int c) {
                const float fineW = kWidth - 1, fineH = kHeight - 1;
                const float sx = static_cast<float>(x) * w / fineW;
                const float sy = static_cast<float>(y) * h / fineH;
                return PlainBilinear(coarse, sx, sy, c) * (c == 0 ? fineW / w : fineH / h);
            });
    }
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
