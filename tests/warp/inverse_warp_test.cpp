#include "warp/inverse_warp.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "image/copy.h"
#include "image/parallel.h"
#include "support/as_plain.h"
#include "support/plain_bilinear.h"
#include "support/plain_stored.h"
#include "support/put_each.h"
#include "support/refusal.h"
#include "warp/blend.h"

namespace velorin {
namespace {

// One strip of the warp, pixel by pixel in the order of the rule, on cleared images.
struct PlainStrip {
    ZPImage& dest;
    const ZPImage& source;
    const ZPImage& flow;
    bool extend;
    ZPImage& coverage;
    float amount;
    float edgeWeight = 1.0f;

    void Pixel(int x, int y) {
        const float right = static_cast<float>(source.lastColumn);
        const float bottom = static_cast<float>(source.lastRow);
        const float scaleX = static_cast<float>(flow.lastColumn) / right;
        const float scaleY = static_cast<float>(flow.lastRow) / bottom;
        const float px = static_cast<float>(x), py = static_cast<float>(y);
        float sx = px + amount / scaleX * PlainBilinear(flow, px * scaleX, py * scaleY, 0);
        float sy = py + amount / scaleY * PlainBilinear(flow, px * scaleX, py * scaleY, 1);
        const bool finite = std::isfinite(sx) && std::isfinite(sy);
        const bool near = sx > -1.0f && sx < right + 1 && sy > -1.0f && sy < bottom + 1;
        if (!extend && !(finite && near)) return;
        if (!finite) sx = px, sy = py;
        const bool inside = sx >= 0.0f && sx <= right && sy >= 0.0f && sy <= bottom;
        if (!extend && !inside) Fade(sx, sy, right, bottom);
        ZPClipToImage(sx, sy, px, py, right, bottom);
        Write(x, y, sx, sy, extend || inside ? 1.0f : edgeWeight);
    }

    void Fade(float sx, float sy, float right, float bottom) {
        if (sx < 0.0f) edgeWeight = sx + 1.0f;
        if (sx > right) edgeWeight = (right + 1.0f) - sx;
        if (sy < 0.0f) edgeWeight = edgeWeight * (sy + 1.0f);
        if (sy > bottom) edgeWeight = ((bottom + 1.0f) - sy) * edgeWeight;
    }

    void Write(int x, int y, float sx, float sy, float weight) {
        const int type = source.pixelType;
        for (int c = 0; c < source.channels; ++c) {
            const float value = PlainStored(type, PlainBilinear(source, sx, sy, c));
            PutValue(dest, x, y, c, PlainStored(type, value * weight));
        }
        PutValue(coverage, x, y, 0, PlainStored(ZPPixUChar, weight * 255.0f));
    }
};

// The strips are those of the workers: equal shares, the last takes the rest.
void PlainWarp(const PlainStrip& job, int workers) {
    const int rows = job.source.height;
    ClearImage(&job.dest);
    ClearImage(&job.coverage);
    for (int slot = 0; slot < workers; ++slot) {
        PlainStrip strip = job;
        const int end = slot == workers - 1 ? rows : rows / workers * (slot + 1);
        for (int y = rows / workers * slot; y < end; ++y) {
            for (int x = 0; x < job.source.width; ++x) strip.Pixel(x, y);
        }
    }
}

// Small vectors, some that leave the image by a fraction of a pixel or by far, some not finite.
void FillFlow(Noise& noise, ZPImage& flow, float range) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    constexpr float kSpecial[] = {NAN, kInfinity, -kInfinity, 3e38f, -1e30f, -0.0f};
    PutEach(flow, [&](int, int, int) { return noise.Float(-range, range); });
    for (int i = 0; i < 12; ++i) {
        PutValue(flow, noise.Int(0, flow.lastColumn), noise.Int(0, flow.lastRow), noise.Int(0, 1),
                 kSpecial[noise.Int(0, 5)]);
    }
}

// Vectors of pixels, with the rest of a row that is not one, and single ones where a place is off.
TEST(InverseWarp, EqualsPlainRuleInEveryForm) {
    constexpr int kWidth = 53;
    constexpr int kHeight = 131;
    struct FlowSize {
        int width, height, bottomUp;
        float range;
    };
    ForEachPictureForm([&](int type, int channels) {
        for (FlowSize size :
             {FlowSize{53, 131, 0, 2.5f}, FlowSize{11, 65, 1, 3.0f}, FlowSize{2, 2, 0, 40.0f},
              FlowSize{99, 140, 0, 9.0f}, FlowSize{27, 66, 0, 0.0f}}) {
            Noise noise(11);
            GapImage source(kWidth, kHeight, channels, type, size.bottomUp);
            FillTrying(noise, *source);
            GapImage flow(size.width, size.height, 2, ZPPixFloat, size.bottomUp);
            FillFlow(noise, *flow, size.range);
            ForEachThreadCount([&] {
                for (bool extend : {false, true}) {
                    SCOPED_TRACE("flow " + std::to_string(size.width) + " extend " +
                                 std::to_string(extend));
                    ZPImage expected(kWidth, kHeight, channels, type, 0);
                    ZPImage expectedCoverage(kWidth, kHeight, 1, ZPPixUChar, 0);
                    PlainWarp({expected, *source, *flow, extend, expectedCoverage, -0.7f},
                              ChooseWorkers(kHeight));
                    ForEachInstructionSet([&] {
                        GapImage dest(kWidth, kHeight, channels, type, 1 - size.bottomUp);
                        GapImage coverage(kWidth, kHeight, 1, ZPPixUChar, 1);
                        EXPECT_EQ(
                            ZPInverseWarp(*dest, *source, *flow, extend, &*coverage, 1, -0.7f), 1);
                        EXPECT_SAME_IMAGE(*dest, expected);
                        EXPECT_SAME_IMAGE(*coverage, expectedCoverage);
                        EXPECT_TRUE(dest.GapsUntouched() && coverage.GapsUntouched());
                    });
                }
            });
        }
    });
}

// A float picture of x + 100 * y under one vector everywhere.
struct UniformWarp {
    UniformWarp(float u, float v, int flowWidth = 16, int flowHeight = 16)
        : flow(flowWidth, flowHeight, 2, ZPPixFloat, 0) {
        PutEach(source, [](int x, int y, int) { return x + 100.0f * y; });
        PutEach(flow, [=](int, int, int c) { return c == 0 ? u : v; });
    }
    void Run(bool extend, float amount = 1.0f) {
        EXPECT_EQ(ZPInverseWarp(dest, source, flow, extend, &coverage, 1, amount), 1);
    }
    float At(int x, int y) const { return ValueAt(dest, x, y, 0); }
    int Covered(int x, int y) const { return static_cast<int>(ValueAt(coverage, x, y, 0)); }

    ZPImage source{16, 16, 1, ZPPixFloat, 0};
    ZPImage dest{16, 16, 1, ZPPixFloat, 0};
    ZPImage coverage{16, 16, 1, ZPPixUChar, 0};
    ZPImage flow;
};

// Along the top row the weight falls from pixel to pixel, and goes on falling in the last row,
// until a place off the left edge sets it anew.
TEST(InverseWarp, EdgeWeightRunsOnWithinAStrip) {
    UniformWarp above(0.0f, -0.5f);
    above.Run(false);
    for (int x = 0; x < 6; ++x) {
        const float weight = std::ldexp(1.0f, -1 - x);
        EXPECT_SAME_BITS(above.At(x, 0), static_cast<float>(x) * weight);
        EXPECT_EQ(above.Covered(x, 0), static_cast<int>(weight * 255.0f + 0.5f));
    }
    PutValue(above.flow, 0, 15, 0, -0.25f);
    PutValue(above.flow, 0, 15, 1, 0.0f);
    PutValue(above.flow, 2, 15, 0, -3.0f);  // exactly -1.0 is off the image: sets nothing
    PutValue(above.flow, 3, 15, 1, 0.5f);
    above.Run(false);
    EXPECT_EQ(above.Covered(0, 15), 191);
    EXPECT_EQ(above.Covered(2, 15), 0);
    EXPECT_EQ(above.Covered(3, 15), static_cast<int>(0.375f * 255.0f + 0.5f));
}

TEST(InverseWarp, PullsBackAlongTheMotionLine) {
    UniformWarp warp(-12.0f, -4.0f);
    warp.Run(true);
    // From (3, 9) the line meets column 0 a quarter of the way, at row 8; a clamp gives row 5.
    EXPECT_SAME_BITS(warp.At(3, 9), 800.0f);
    EXPECT_EQ(warp.Covered(3, 9), 255);

    const auto clip = [](float sx, float sy, float x, float y) {
        ZPClipToImage(sx, sy, x, y, 10.0f, 8.0f);
        return std::pair(sx, sy);
    };
    EXPECT_EQ(clip(14, 4, 6, 2), std::pair(10.0f, 3.0f));   // right
    EXPECT_EQ(clip(5, -2, 3, 2), std::pair(4.0f, 0.0f));    // top
    EXPECT_EQ(clip(6, 12, 4, 4), std::pair(5.0f, 8.0f));    // bottom
    EXPECT_EQ(clip(-4, -12, 4, 4), std::pair(2.0f, 0.0f));  // left, then top
    EXPECT_EQ(clip(-5, 3, 0, 6), std::pair(0.0f, 6.0f));    // from the border itself
}

TEST(InverseWarp, ASmallAmountCopies) {
    UniformWarp warp(900.0f, -700.0f);
    for (float amount : {0.004f, -0.0049f, 0.0f}) {
        warp.Run(false, amount);
        EXPECT_SAME_IMAGE(warp.dest, warp.source);
        EXPECT_EQ(warp.Covered(15, 15), 255);
    }
    warp.Run(false, 0.005f);
    EXPECT_EQ(warp.Covered(15, 15), 0);

    // A flow far larger than the picture: the travel itself is what is small.
    UniformWarp fine(1.0f, 0.0f, 1500, 16);
    fine.Run(false, 0.009f);  // 0.00009 of a pixel
    EXPECT_SAME_IMAGE(fine.dest, fine.source);

    UniformWarp coarse(1.0f, 0.0f, 4, 4);  // scale 3 / 15: one flow pixel is five
    coarse.Run(true, 0.4f);
    EXPECT_SAME_BITS(coarse.At(2, 3), 304.0f);
}

// Rows so far apart that an offset in bytes does not fit 32 bits.
TEST(InverseWarp, ReadsPicturesOfMoreThanTwoGibibytes) {
    constexpr int kRowBytes = 1 << 30;
    const std::unique_ptr<std::byte[]> block(new (std::nothrow) std::byte[3u * kRowBytes + 80]);
    if (!block) GTEST_SKIP() << "no address space";
    ZPImage source(block.get(), 20, 4, kRowBytes, 4, ZPPixUChar, 0);
    Noise noise(5);
    noise.Fill(source);
    Snapshot tight(source);
    ZPImage flow(2, 2, 2, ZPPixFloat, 0);
    PutEach(flow, [](int, int y, int c) { return c == 0 ? 0.05f : 0.1f - 0.1f * y; });
    ZPImage dest(20, 4, 4, ZPPixUChar, 0), expected(20, 4, 4, ZPPixUChar, 0);
    EXPECT_EQ(ZPInverseWarp(dest, source, flow, 1, nullptr, 1, 0.9f), 1);
    EXPECT_EQ(ZPInverseWarp(expected, *tight, flow, 1, nullptr, 1, 0.9f), 1);
    EXPECT_SAME_IMAGE(dest, expected);
}

// What MixMoved does in one pass, step by step.
void PlainMixMoved(ZPImage& dest, const MovedPicture& first, const MovedPicture& second,
                   float share) {
    ZPImage a(dest.width, dest.height, dest.channels, dest.pixelType, 0);
    ZPImage b(dest.width, dest.height, dest.channels, dest.pixelType, 0);
    EXPECT_EQ(ZPInverseWarp(a, first.source, first.flow, 1, nullptr, 1, first.amount), 1);
    EXPECT_EQ(ZPInverseWarp(b, second.source, second.flow, 1, nullptr, 1, second.amount), 1);
    ZPBlendTwo(dest, a, b, share);
}

TEST(MixMoved, EqualsTwoWarpsAndABlend) {
    constexpr int kWidth = 53;
    constexpr int kHeight = 67;
    ForEachPictureForm([&](int type, int channels) {
        Noise noise(17);
        GapImage first(kWidth, kHeight, channels, type, 0),
            second(kWidth, kHeight, channels, type, 1);
        FillTrying(noise, *first);
        FillTrying(noise, *second);
        ZPImage flow(27, 34, 2, ZPPixFloat, 0), otherFlow(kWidth, kHeight, 2, ZPPixFloat, 1);
        FillFlow(noise, flow, 1.5f);
        FillFlow(noise, otherFlow, 2.5f);
        const MovedPicture a{*first, flow, 0.4f}, b{*second, otherFlow, -0.6f};
        ZPImage expected(kWidth, kHeight, channels, type, 0);
        PlainMixMoved(expected, a, b, 0.4f);
        ForEachThreadCount([&] {
            ForEachInstructionSet([&] {
                GapImage dest(kWidth, kHeight, channels, type, 1);
                EXPECT_EQ(MixMoved(*dest, a, b, 0.4f), channels != 2);
                if (channels != 2) {
                    EXPECT_SAME_IMAGE(*dest, expected);
                }
                EXPECT_TRUE(dest.GapsUntouched());
            });
        });
    });
}

TEST(MixMoved, LeavesWhatIsNotForOnePass) {
    ZPImage flow(4, 4, 2, ZPPixFloat, 0), wide(9, 8, 4, ZPPixUChar, 0),
        line(4, 4, 1, ZPPixFloat, 0);
    ZPImage source(8, 8, 4, ZPPixUChar, 0), dest(8, 8, 4, ZPPixUChar, 0);
    PutAll(flow, 1.0f);
    Noise noise(3);
    noise.Fill(source);
    noise.Fill(dest);
    Snapshot before(dest);
    const MovedPicture moved{source, flow, 0.5f};
    EXPECT_FALSE(MixMoved(source, moved, moved, 0.5f));
    for (const MovedPicture& other : {MovedPicture{wide, flow, 0.5f},
                                      {source, line, 0.5f},
                                      {dest, flow, 0.5f},
                                      {source, flow, 0.004f}}) {
        EXPECT_FALSE(MixMoved(dest, moved, other, 0.5f));
        EXPECT_FALSE(MixMoved(dest, other, moved, 0.5f));
    }
    for (float share : {0.0f, 0.0049f, 0.996f, 1.0f, -0.5f, 1.5f, NAN}) {
        EXPECT_FALSE(MixMoved(dest, moved, moved, share));
    }
    EXPECT_SAME_IMAGE(dest, *before);
    EXPECT_TRUE(MixMoved(dest, moved, moved, 0.5f));
}

TEST(InverseWarp, PinnedInFourChannels) {
    ZPImage source(5, 4, 4, ZPPixFloat, 0), dest(5, 4, 4, ZPPixFloat, 0);
    ZPImage flow(3, 3, 2, ZPPixFloat, 0);
    PutEach(source,
            [](int x, int y, int c) { return 0.1f * x * x + 0.3f * y * y * y - 0.7f * c * x; });
    PutEach(flow,
            [](int x, int y, int c) { return c == 0 ? 0.3f * x - 0.1f * y : 0.2f * x + 0.1f; });
    EXPECT_EQ(ZPInverseWarp(dest, source, flow, 0, nullptr, 1, 0.7f), 1);
    EXPECT_SAME_BITS(ValueAt(dest, 1, 1, 0), 0x1.c08316p-1f);
    EXPECT_SAME_BITS(ValueAt(dest, 3, 1, 2), -0x1.3f3078p+1f);
}

TEST(InverseWarp, RefusesImagesThatDoNotFit) {
    const Shape fits{8, 8, 4, 0}, line{1, 8, 4, 0}, five{8, 8, 5, 0}, flow{8, 8, 2, 2};
    const Shape covered{8, 8, 1, 0}, lineCovered{1, 8, 1, 0};
    const struct {
        Shape dest, source, flow, coverage;
    } kCases[] = {{{7, 8, 4, 0}, fits, flow, covered},       {{8, 8, 3, 0}, fits, flow, covered},
                  {{8, 8, 4, 1}, fits, flow, covered},       {five, five, flow, covered},
                  {fits, fits, {8, 8, 1, 2}, covered},       {fits, fits, {8, 8, 2, 1}, covered},
                  {fits, fits, flow, {7, 8, 1, ZPPixUChar}}, {fits, fits, flow, {8, 8, 1, 1}},
                  {fits, fits, flow, {8, 8, 2, ZPPixUChar}}, {line, line, flow, lineCovered}};
    for (const auto& it : kCases) {
        ExpectRefused({it.dest, it.source, it.flow, it.coverage},
                      "can't warp image, input files not of correct types and sizes\n",
                      [](Images& i) {
                          EXPECT_EQ(ZPInverseWarp(*i[0], *i[1], *i[2], 1, i[3].get(), 1, 1.0f), 0);
                      });
    }
}

}  // namespace
}  // namespace velorin
