#include "warp/invert_flow.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <memory>
#include <numbers>
#include <utility>

#include "flow/matte.h"
#include "support/as_plain.h"
#include "support/failing_allocator.h"
#include "support/plain_raster.h"
#include "support/recorder.h"
#include "support/stderr_text.h"

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

// From column or row 20 on the flow is `later`, before it `earlier`; both reach `first` to `last`.
TEST(InvertFlow, TheLaterVectorStandsInAFold) {
    struct Fold {
        float earlier, later;
        int first, last;
    };
    for (const Fold& fold : {Fold{8.0f, 0.0f, 20, 27}, {0.0f, -8.0f, 12, 19}}) {
        for (int axis : {0, 1}) {
            const Reverse reverse(40, 40, [&](double x, double y) {
                const float length = (axis == 0 ? x : y) < 20 ? fold.earlier : fold.later;
                return axis == 0 ? Point(length, 0.0) : Point(0.0, length);
            });
            for (int i = fold.first; i <= fold.last; ++i) {
                const int x = axis == 0 ? i : 7, y = axis == 0 ? 7 : i;
                EXPECT_EQ(reverse.HoleAt(x, y), 0) << i;
                EXPECT_EQ(reverse.At(x, y, axis), -fold.later) << i;
            }
        }
    }
}

// Where the content of (x, y) came from, told by walking back along the flow until it stays.
Point TrueReverse(const Motion& motion, int x, int y) {
    Point back(0.0, 0.0);
    for (int i = 0; i < 200; ++i) {
        const Point vector = motion(x + back.first, y + back.second);
        back = {-vector.first, -vector.second};
    }
    return back;
}

TEST(InvertFlow, ASmoothFlowInvertsToItsTrueReverse) {
    constexpr int kWidth = 200, kHeight = 150, kBorder = 12;
    constexpr double kTurn = 2.0 * std::numbers::pi;
    const std::pair<const char*, Motion> motions[] = {
        {"zoom and rotation",
         [](double x, double y) {
             const double dx = x - 99.5, dy = y - 74.5;
             const double c = 1.03 * std::cos(0.03) - 1.0, s = 1.03 * std::sin(0.03);
             return Point(c * dx - s * dy, s * dx + c * dy);
         }},
        {"waves of 6 pixels", [](double x, double y) {
             return Point(6.0 * std::sin(kTurn * (x + 2.0 * y) / 150.0),
                          6.0 * std::cos(kTurn * (x - y) / 120.0));
         }}};
    for (const auto& [name, motion] : motions) {
        const Reverse reverse(kWidth, kHeight, motion);
        double worst = 0.0;
        for (int y = kBorder; y < kHeight - kBorder; ++y) {
            for (int x = kBorder; x < kWidth - kBorder; ++x) {
                ASSERT_EQ(reverse.HoleAt(x, y), 0) << name << " " << x << " " << y;
                const Point wanted = TrueReverse(motion, x, y);
                worst = std::max(worst, std::hypot(reverse.At(x, y, 0) - wanted.first,
                                                   reverse.At(x, y, 1) - wanted.second));
            }
        }
        std::printf("%s: largest error of the reverse flow %.5f pixels\n", name, worst);
        EXPECT_LT(worst, 0.05) << name;
    }
}

void PlainInvert(ZPImage& flowOut, ZPImage& holes, const ZPImage& flowIn) {
    const auto vertexAt = [&](int x, int y) {
        const float u = ValueAt(flowIn, x, y, 0), v = ValueAt(flowIn, x, y, 1);
        return RasterVertex<2>{static_cast<float>(x) + u, static_cast<float>(y) + v, {-u, -v}};
    };
    PutAll(flowOut, 0.0f);
    PutAll(holes, 255.0f);
    for (int y = 0; y + 1 < flowIn.height; ++y) {
        for (int x = 0; x + 1 < flowIn.width; ++x) {
            for (int half : {0, 1}) {
                const auto hits =
                    PlainRaster<2, true>(flowIn.lastColumn, flowIn.lastRow)
                        .Draw(vertexAt(x + half, y + half), vertexAt(x + 1, y), vertexAt(x, y + 1));
                for (const RasterHit& hit : hits) {
                    PutValue(flowOut, hit.x, hit.y, 0, hit.attributes[0]);
                    PutValue(flowOut, hit.x, hit.y, 1, hit.attributes[1]);
                    PutValue(holes, hit.x, hit.y, 0, 0.0f);
                }
            }
        }
    }
    FillUnderMatte(flowOut, holes, nullptr);
}

// Vectors within `length` pixels, many of them whole.
void FillVectors(Noise& noise, ZPImage& flow, float length) {
    PutEach(flow, [&](int, int, int) {
        const float value = noise.Float(-length, length);
        return noise.Int(0, 2) == 0 ? std::round(value) : value;
    });
}

// Scattered over a flow, `strange` values that lead nowhere are past the plain rule; one thread is
// the reference for them, and under the address sanitizer they show if one becomes an index.
TEST(InvertFlow, EqualsThePlainRuleToTheBit) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    constexpr float kNowhere[] = {std::numeric_limits<float>::quiet_NaN(), kInfinity, -kInfinity,
                                  3e38f, -2147483648.0f};
    struct Case {
        int width, height;
        float length;
        int strange;
    };
    Noise noise(21);
    for (const auto& [w, h, length, strange] : {Case{2, 2, 1.0f, 0},
                                                {3, 40, 0.7f, 0},
                                                {40, 3, 2.0f, 0},
                                                {33, 70, 0.4f, 0},
                                                {33, 70, 6.0f, 0},
                                                {29, 67, 200.0f, 0},
                                                {37, 45, 4.0f, 1},
                                                {37, 45, 4.0f, 30},
                                                {37, 45, 4.0f, 3000}}) {
        SCOPED_TRACE(testing::Message() << w << " x " << h << ", " << length << ", " << strange);
        ZPImage vectors(w, h, 2, ZPPixFloat, 0), reverse(w, h, 2, ZPPixFloat, 0);
        ZPImage marks(w, h, 1, ZPPixUChar, 0);
        FillVectors(noise, vectors, length);
        for (int i = 0; i < strange; ++i) {
            PutValue(vectors, noise.Int(0, w - 1), noise.Int(0, h - 1), noise.Int(0, 1),
                     kNowhere[noise.Int(0, 4)]);
        }
        if (strange > 0) ZPInvertFlow(reverse, vectors, marks, nullptr);
        if (strange == 0) PlainInvert(reverse, marks, vectors);
        ForEachThreadCount([&, w = w, h = h] {
            ForEachRowOrderPair([&](int inOrder, int outOrder) {
                GapImage flowIn(w, h, 2, ZPPixFloat, inOrder);
                GapImage flowOut(w, h, 2, ZPPixFloat, outOrder);
                GapImage holes(w, h, 1, ZPPixUChar, 1 - inOrder);
                CopyPixels(*flowIn, vectors);
                ZPInvertFlow(*flowOut, *flowIn, *holes, nullptr);
                EXPECT_SAME_IMAGE(*flowOut, reverse);
                EXPECT_SAME_IMAGE(*holes, marks);
                EXPECT_TRUE(flowOut.GapsUntouched() && holes.GapsUntouched());
            });
        });
    }
}

TEST(InvertFlow, ImagesThatDoNotFitAreNamedAndLeftAlone) {
    constexpr Shape kFlow{9, 8, 2, ZPPixFloat}, kHoles{9, 8, 1, ZPPixUChar};
    const Shape wrong[][3] = {
        {{8, 8, 2, ZPPixFloat}, kFlow, kHoles}, {kFlow, kFlow, {9, 9, 1, ZPPixUChar}},
        {kFlow, {9, 8, 4, ZPPixFloat}, kHoles}, {{9, 8, 2, ZPPixUShort}, kFlow, kHoles},
        {kFlow, kFlow, {9, 8, 2, ZPPixUChar}},  {kFlow, kFlow, {9, 8, 1, ZPPixUShort}}};
    Noise noise(2);
    const auto expectLeftAlone = [](ZPImage& flowOut, const ZPImage& flowIn, ZPImage& holes) {
        Snapshot out(flowOut), marks(holes);
        EXPECT_EQ(StderrOf([&] { ZPInvertFlow(flowOut, flowIn, holes, nullptr); }),
                  "can't warp image, input files not of correct types and sizes\n");
        EXPECT_SAME_IMAGE(flowOut, *out);
        EXPECT_SAME_IMAGE(holes, *marks);
    };
    const auto make = [&](const Shape& shape) {
        auto image = std::make_unique<ZPImage>(shape.width, shape.height, shape.channels,
                                               shape.pixelType, 0);
        noise.Fill(*image);
        return image;
    };
    for (const auto& shapes : wrong) {
        expectLeftAlone(*make(shapes[0]), *make(shapes[1]), *make(shapes[2]));
    }
    const auto flow = make(kFlow);
    expectLeftAlone(*flow, *flow, *make(kHoles));
    ZPImage sameBlock(flow->data, 9, 8, 2, ZPPixFloat, 1);
    expectLeftAlone(sameBlock, *flow, *make(kHoles));
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
