#include "warp/inverse_warp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <utility>

#include "image/copy.h"
#include "image/parallel.h"
#include "support/forms.h"
#include "support/gap_image.h"
#include "support/noise.h"
#include "support/plain_bilinear.h"

namespace velorin {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

float PlainStored(int type, float value) {
    if (type == ZPPixFloat) return value;
    const float raised = value + 0.5f;
    const float white = type == ZPPixUChar ? 255.0f : 65535.0f;
    return !(raised > 0.0f) ? 0.0f : raised > white ? white : std::floor(raised);
}

// One strip of the warp, pixel by pixel in the order of the rule.
struct PlainStrip {
    ZPImage& dest;
    const ZPImage& source;
    const ZPImage& flow;
    bool extend;
    ZPImage& coverage;
    float amount;
    float edgeWeight = 1.0f;

    void Write(int x, int y, float sx, float sy, float weight, bool fade) {
        for (int c = 0; c < source.channels; ++c) {
            float value = PlainStored(source.pixelType, PlainBilinear(source, sx, sy, c));
            if (fade) value = PlainStored(source.pixelType, value * weight);
            PutValue(dest, x, y, c, value);
        }
    }

    void Pixel(int x, int y) {
        const float right = static_cast<float>(source.lastColumn);
        const float bottom = static_cast<float>(source.lastRow);
        const float scaleX = static_cast<float>(flow.lastColumn) / right;
        const float scaleY = static_cast<float>(flow.lastRow) / bottom;
        const float px = static_cast<float>(x), py = static_cast<float>(y);
        float sx = px + amount / scaleX * PlainBilinear(flow, px * scaleX, py * scaleY, 0);
        float sy = py + amount / scaleY * PlainBilinear(flow, px * scaleX, py * scaleY, 1);
        const bool finite = std::isfinite(sx) && std::isfinite(sy);
        if (extend) {
            if (!finite) sx = px, sy = py;
            ZPClipToImage(sx, sy, px, py, right, bottom);
            Write(x, y, sx, sy, 1.0f, false);
            PutValue(coverage, x, y, 0, 255.0f);
            return;
        }
        if (!finite || sx <= -1.0f || sx >= right + 1 || sy <= -1.0f || sy >= bottom + 1) {
            for (int c = 0; c < source.channels; ++c) PutValue(dest, x, y, c, 0.0f);
            PutValue(coverage, x, y, 0, 0.0f);
            return;
        }
        if (sx >= 0.0f && sx <= right && sy >= 0.0f && sy <= bottom) {
            Write(x, y, sx, sy, 1.0f, false);
            PutValue(coverage, x, y, 0, 255.0f);
            return;
        }
        if (sx < 0.0f) {
            edgeWeight = sx + 1.0f;
        } else if (sx > right) {
            edgeWeight = (right + 1.0f) - sx;
        }
        if (sy < 0.0f) {
            edgeWeight = edgeWeight * (sy + 1.0f);
        } else if (sy > bottom) {
            edgeWeight = ((bottom + 1.0f) - sy) * edgeWeight;
        }
        ZPClipToImage(sx, sy, px, py, right, bottom);
        Write(x, y, sx, sy, edgeWeight, true);
        PutValue(coverage, x, y, 0, std::min(std::floor(edgeWeight * 255.0f + 0.5f), 255.0f));
    }
};

// The strips are those of the workers: equal shares, the last takes the rest.
void PlainWarp(const PlainStrip& job, int workers) {
    const int rows = job.source.height;
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
    for (int y = 0; y < flow.height; ++y) {
        for (int i = 0; i < flow.width * 2; ++i) {
            PutValue(flow, 0, y, i, noise.Float(-range, range));
        }
    }
    for (int i = 0; i < 12; ++i) {
        const float special[] = {kNan, kInfinity, -kInfinity, 3e38f, -1e30f, -0.0f};
        PutValue(flow, noise.Int(0, flow.lastColumn), noise.Int(0, flow.lastRow), noise.Int(0, 1),
                 special[noise.Int(0, 5)]);
    }
}

TEST(InverseWarp, EqualsPlainRuleInEveryForm) {
    constexpr int kWidth = 23;
    constexpr int kHeight = 131;
    struct FlowSize {
        int width, height, bottomUp;
        float range;
    };
    ForEachPictureForm([&](int type, int channels) {
        for (FlowSize size : {FlowSize{23, 131, 0, 2.5f}, FlowSize{11, 65, 1, 3.0f},
                              FlowSize{2, 2, 0, 40.0f}, FlowSize{50, 140, 0, 9.0f}}) {
            Noise noise(11);
            GapImage source(kWidth, kHeight, channels, type, size.bottomUp);
            noise.Fill(*source);
            GapImage flow(size.width, size.height, 2, ZPPixFloat, size.bottomUp);
            FillFlow(noise, *flow, size.range);
            ForEachThreadCount([&] {
                for (int variant = 0; variant < 4; ++variant) {
                    const bool extend = variant & 1, covered = variant & 2;
                    SCOPED_TRACE("flow " + std::to_string(size.width) + " variant " +
                                 std::to_string(variant));
                    ZPImage expected(kWidth, kHeight, channels, type, 0);
                    ZPImage expectedCoverage(kWidth, kHeight, 1, ZPPixUChar, 0);
                    PlainWarp({expected, *source, *flow, extend, expectedCoverage, -0.7f},
                              ChooseWorkers(kHeight));
                    GapImage dest(kWidth, kHeight, channels, type, 1 - size.bottomUp);
                    GapImage coverage(kWidth, kHeight, 1, ZPPixUChar, 1);
                    EXPECT_EQ(ZPInverseWarp(*dest, *source, *flow, extend ? 1 : 0,
                                            covered ? &*coverage : nullptr, 1, -0.7f),
                              1);
                    EXPECT_SAME_IMAGE(*dest, expected);
                    EXPECT_TRUE(dest.GapsUntouched() && coverage.GapsUntouched());
                    if (covered) {
                        EXPECT_SAME_IMAGE(*coverage, expectedCoverage);
                    }
                }
            });
        }
    });
}

// A float picture of x + 100 * y under one vector everywhere.
struct UniformWarp {
    UniformWarp(float u, float v, int flowWidth = 16, int flowHeight = 16)
        : flow(flowWidth, flowHeight, 2, ZPPixFloat, 0) {
        for (int y = 0; y < 16; ++y) {
            for (int x = 0; x < 16; ++x) PutValue(source, x, y, 0, x + 100.0f * y);
        }
        for (int y = 0; y < flowHeight; ++y) {
            for (int x = 0; x < flowWidth; ++x) {
                PutValue(flow, x, y, 0, u);
                PutValue(flow, x, y, 1, v);
            }
        }
    }
    void Run(bool extend, float amount = 1.0f) {
        UseThreads(1);
        EXPECT_EQ(ZPInverseWarp(dest, source, flow, extend ? 1 : 0, &coverage, 1, amount), 1);
    }
    float At(int x, int y) const { return ValueAt(dest, x, y, 0); }
    int Covered(int x, int y) const { return static_cast<int>(ValueAt(coverage, x, y, 0)); }

    ZPImage source{16, 16, 1, ZPPixFloat, 0};
    ZPImage dest{16, 16, 1, ZPPixFloat, 0};
    ZPImage coverage{16, 16, 1, ZPPixUChar, 0};
    ZPImage flow;
};

TEST(InverseWarp, FadesWithinOnePixelOfTheBorder) {
    UniformWarp left(-0.25f, 0.0f);
    left.Run(false);
    EXPECT_EQ(left.Covered(0, 5), 191);
    EXPECT_SAME_BITS(left.At(0, 5), 500.0f * 0.75f);
    EXPECT_EQ(left.Covered(1, 5), 255);
    EXPECT_SAME_BITS(left.At(1, 5), 500.75f);

    UniformWarp off(-1.0f, 0.0f);
    off.Run(false);
    EXPECT_EQ(off.Covered(0, 5), 0);
    EXPECT_SAME_BITS(off.At(0, 5), 0.0f);
    EXPECT_EQ(off.Covered(1, 5), 255);

    UniformWarp right(0.5f, 0.0f);
    right.Run(false);
    EXPECT_EQ(right.Covered(15, 5), 128);
    EXPECT_SAME_BITS(right.At(15, 5), 515.0f * 0.5f);
}

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
    EXPECT_EQ(clip(26, 12, 6, 4), std::pair(10.0f, 5.6f));  // right only
    EXPECT_EQ(clip(-5, 3, 0, 6), std::pair(0.0f, 6.0f));    // from the border itself
    EXPECT_EQ(clip(10, 8, 3, 3), std::pair(10.0f, 8.0f));   // the corner is inside
}

TEST(InverseWarp, ASmallFlowMovesTheLargerPicture) {
    UniformWarp warp(1.0f, 0.0f, 4, 4);  // scale 3 / 15: one flow pixel is five
    warp.Run(true);
    EXPECT_SAME_BITS(warp.At(2, 3), 307.0f);
    warp.Run(true, 0.4f);
    EXPECT_SAME_BITS(warp.At(2, 3), 304.0f);
}

TEST(InverseWarp, ASmallAmountCopies) {
    UniformWarp warp(900.0f, -700.0f);
    for (float amount : {0.004f, -0.0049f, 0.0f}) {
        warp.Run(false, amount);
        EXPECT_SAME_IMAGE(warp.dest, warp.source);
        EXPECT_EQ(warp.Covered(0, 0), 255);
        EXPECT_EQ(warp.Covered(15, 15), 255);
    }
    warp.Run(false, 0.005f);
    EXPECT_EQ(warp.Covered(15, 15), 0);

    // A flow far larger than the picture: the travel itself is what is small.
    UniformWarp fine(1.0f, 0.0f, 1500, 16);
    fine.Run(false, 0.009f);  // 0.00009 of a pixel
    EXPECT_SAME_IMAGE(fine.dest, fine.source);
}

TEST(InverseWarp, PinnedInFourChannels) {
    ZPImage source(5, 4, 4, ZPPixFloat, 0), dest(5, 4, 4, ZPPixFloat, 0);
    ZPImage flow(3, 3, 2, ZPPixFloat, 0);
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 5; ++x) {
            for (int c = 0; c < 4; ++c) {
                PutValue(source, x, y, c, 0.1f * x * x + 0.3f * y * y * y - 0.7f * c * x);
            }
        }
    }
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 3; ++x) {
            PutValue(flow, x, y, 0, 0.3f * x - 0.1f * y);
            PutValue(flow, x, y, 1, 0.2f * x + 0.1f);
        }
    }
    EXPECT_EQ(ZPInverseWarp(dest, source, flow, 1, nullptr, 1, 0.7f), 1);
    EXPECT_SAME_BITS(ValueAt(dest, 1, 1, 0), 0x1.c08316p-1f);
    EXPECT_SAME_BITS(ValueAt(dest, 3, 1, 2), -0x1.3f3078p+1f);
}

TEST(InverseWarp, RefusesImagesThatDoNotFit) {
    const auto make = [](int width, int channels, int type) {
        return std::make_unique<ZPImage>(width, 8, channels, type, 0);
    };
    const auto source = make(8, 4, ZPPixUChar), dest = make(8, 4, ZPPixUChar);
    const auto flow = make(8, 2, ZPPixFloat), coverage = make(8, 1, ZPPixUChar);
    const auto refused = [&](ZPImage& to, const ZPImage& from, const ZPImage& vectors,
                             ZPImage* covered) {
        Noise noise(12);
        noise.Fill(to);
        Snapshot before(to);
        testing::internal::CaptureStderr();
        const int result = ZPInverseWarp(to, from, vectors, 1, covered, 1, 1.0f);
        const std::string text = testing::internal::GetCapturedStderr();
        EXPECT_SAME_IMAGE(to, *before);
        return result == 0 &&
               text == "can't warp image, input files not of correct types and sizes\n";
    };
    EXPECT_TRUE(refused(*make(9, 4, ZPPixUChar), *source, *flow, nullptr));
    EXPECT_TRUE(refused(*make(8, 3, ZPPixUChar), *source, *flow, nullptr));
    EXPECT_TRUE(refused(*make(8, 4, ZPPixUShort), *source, *flow, nullptr));
    EXPECT_TRUE(refused(*make(8, 5, ZPPixUChar), *make(8, 5, ZPPixUChar), *flow, nullptr));
    EXPECT_TRUE(refused(*dest, *source, *make(8, 1, ZPPixFloat), nullptr));
    EXPECT_TRUE(refused(*dest, *source, *make(8, 2, ZPPixUShort), nullptr));
    EXPECT_TRUE(refused(*dest, *source, *flow, make(9, 1, ZPPixUChar).get()));
    EXPECT_TRUE(refused(*dest, *source, *flow, make(8, 2, ZPPixUChar).get()));
    EXPECT_TRUE(refused(*dest, *source, *flow, make(8, 1, ZPPixUShort).get()));
    EXPECT_TRUE(refused(*make(1, 4, ZPPixUChar), *make(1, 4, ZPPixUChar), *flow, nullptr));
    Noise(13).Fill(*flow);
    EXPECT_EQ(ZPInverseWarp(*dest, *source, *flow, 1, coverage.get(), 1, 1.0f), 1);
}

}  // namespace
}  // namespace velorin
