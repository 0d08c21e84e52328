#include "warp/invert_flow.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <utility>

#include "support/checksum.h"
#include "support/failing_allocator.h"
#include "support/recorder.h"
#include "support/refusal.h"

namespace velorin {
namespace {

using Point = std::pair<double, double>;
using Motion = std::function<Point(double x, double y)>;

// What a flow inverts to.
struct Reverse {
    Reverse(int width, int height, const Motion& motion)
        : flow(width, height, 2, ZPPixFloat, 0), holes(width, height, 1, ZPPixUChar, 0) {
        ZPImage flowIn(width, height, 2, ZPPixFloat, 0);
        PutEach(flowIn, [&](int x, int y, int c) {
            const Point vector = motion(x, y);
            return static_cast<float>(c == 0 ? vector.first : vector.second);
        });
        PutAll(flow, 77.0f);
        PutAll(holes, 7.0f);
        ZPInvertFlow(flow, flowIn, holes, nullptr);
    }
    float At(int x, int y, int c) const { return ValueAt(flow, x, y, c); }
    int HoleAt(int x, int y) const { return holes.Row<std::uint8_t>(y)[x]; }

    ZPImage flow;
    ZPImage holes;
};

TEST(InvertFlow, UniformMotion) {
    constexpr int kWidth = 20, kHeight = 15;
    struct Case {
        float u, v;
        int firstHit;  // column
        float reverse;
    };
    for (const Case& test : {Case{3.0f, 0.0f, 3, -3.0f},
                             {0.0f, 0.0f, 0, 0.0f},
                             {-0.0f, -0.0f, 0, 0.0f},
                             {20.0f, 0.0f, kWidth, 0.0f},
                             {0.0f, 15.0f, kWidth, 0.0f},
                             {3.0f, -1e30f, kWidth, 0.0f}}) {
        SCOPED_TRACE(std::to_string(test.u) + ", " + std::to_string(test.v));
        const Reverse reverse(kWidth, kHeight, [&](double, double) -> Point {
            return {test.u, test.v};
        });
        ForEachPixel(reverse.flow, [&](int x, int y) {
            const bool hit = x >= test.firstHit;
            EXPECT_EQ(reverse.HoleAt(x, y), hit ? 0 : 255) << x << " " << y;
            // What is filled in comes out of sums of weights.
            EXPECT_NEAR(reverse.At(x, y, 0), test.reverse, hit ? 0.0f : 1e-4f) << x << " " << y;
            EXPECT_EQ(std::signbit(reverse.At(x, y, 0)), test.reverse < 0.0f) << x << " " << y;
            EXPECT_SAME_BITS(reverse.At(x, y, 1), 0.0f);
        });
    }
}

// Vectors within `length` pixels, many of them whole, and some that lead nowhere.
void FillVectors(Noise& noise, ZPImage& flow, float length, int strange) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    constexpr float kNowhere[] = {NAN, kInfinity, -kInfinity, 3e38f, -2147483648.0f};
    PutEach(flow, [&](int, int, int) {
        const float value = noise.Float(-length, length);
        return noise.Int(0, 2) == 0 ? std::round(value) : value;
    });
    for (int i = 0; i < strange; ++i) {
        const float nowhere = kNowhere[noise.Int(0, 4)];
        const int c = noise.Int(0, 1), y = noise.Int(0, flow.lastRow);
        PutValue(flow, noise.Int(0, flow.lastColumn), y, c, nowhere);
    }
}

TEST(InvertFlow, SameBitsAtEverySizeAndLength) {
    struct Case {
        int width, height;
        float length;
        int strange;
    };
    Noise noise(21);
    std::uint64_t sum = kEmptySum;
    for (const auto& [w, h, length, strange] : {Case{2, 2, 1.0f, 0},
                                                {3, 40, 0.7f, 0},
                                                {40, 3, 2.0f, 0},
                                                {33, 70, 0.4f, 0},
                                                {33, 70, 6.0f, 0},
                                                {29, 67, 200.0f, 0},
                                                {37, 45, 4.0f, 1},
                                                {37, 45, 4.0f, 30},
                                                {37, 45, 4.0f, 3000}}) {
        ZPImage vectors(w, h, 2, ZPPixFloat, 0);
        FillVectors(noise, vectors, length, strange);
        for (int holesOrder : {0, 1}) {
            GapImage holes(w, h, 1, ZPPixUChar, holesOrder);
            sum = ChecksumOfNoise(
                {w, h, 2, ZPPixFloat}, {w, h, 2, ZPPixFloat},
                [&](ZPImage& flowOut, ZPImage& flowIn) {
                    CopyPixels(flowIn, vectors);
                    ZPInvertFlow(flowOut, flowIn, *holes, nullptr);
                },
                sum);
            sum = Checksum(*holes, sum);
            EXPECT_TRUE(holes.GapsUntouched());
        }
    }
    EXPECT_EQ(sum, 6276855750867008815u);
}

TEST(InvertFlow, ImagesThatDoNotFitAreNamedAndLeftAlone) {
    const std::string line = "can't warp image, input files not of correct types and sizes\n";
    const Shape flow{9, 8, 2, ZPPixFloat}, holes{9, 8, 1, ZPPixUChar};
    const Shape wrong[][3] = {
        {{8, 8, 2, ZPPixFloat}, flow, holes}, {flow, flow, {9, 9, 1, ZPPixUChar}},
        {flow, {9, 8, 4, ZPPixFloat}, holes}, {{9, 8, 2, ZPPixUShort}, flow, holes},
        {flow, flow, {9, 8, 2, ZPPixUChar}},  {flow, flow, {9, 8, 1, ZPPixUShort}}};
    for (const auto& [out, in, marks] : wrong) {
        ExpectRefused({out, in, marks}, line,
                      [](Images& i) { ZPInvertFlow(*i[0], *i[1], *i[2], nullptr); });
    }
    ExpectRefused({flow, holes}, line,
                  [](Images& i) { ZPInvertFlow(*i[0], *i[0], *i[1], nullptr); });
    ExpectRefused({flow, holes}, line, [](Images& i) {
        ZPImage sameBlock(i[0]->data, 9, 8, 2, ZPPixFloat, 1);
        ZPInvertFlow(sameBlock, *i[0], *i[1], nullptr);
    });
}

TEST(InvertFlow, ReportsItsRowsAndStopsClean) {
    constexpr int kHeight = 65;
    ZPImage flowIn(9, kHeight, 2, ZPPixFloat, 0), flowOut(9, kHeight, 2, ZPPixFloat, 0);
    ZPImage holes(9, kHeight, 1, ZPPixUChar, 0);
    PutAll(flowIn, 1.0f);
    const auto invert = [&](KQIdleAndProgressClass* progress) {
        ZPInvertFlow(flowOut, flowIn, holes, progress);
    };
    ForEachThreadCount([&] {
        Recorder all;
        invert(&all);
        ASSERT_GE(static_cast<int>(all.fractions.size()), kHeight);
        for (int y = 0; y < kHeight - 1; ++y) {
            EXPECT_SAME_BITS(all.fractions[y], static_cast<float>(y) / 64.0f);
        }
        ExpectCleanFailures([&] { invert(nullptr); });
        const FailingAllocator allocator(0);
        for (int report : {1, 40, 64, 65}) {
            Recorder progress(report);
            EXPECT_THROW(invert(&progress), ZPErr);
            EXPECT_EQ(allocator.Live(), 0);
        }
    });
    EXPECT_THROW(Reverse(1, 5, [](double, double) { return Point(0.0, 0.0); }), ZPErr);
}

}  // namespace
}  // namespace velorin
