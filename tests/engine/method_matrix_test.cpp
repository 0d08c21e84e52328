#include "engine/method_matrix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "support/memory_host.h"
#include "support/noise.h"

namespace velorin {
namespace {

constexpr int kWidth = 192;
constexpr int kHeight = 128;
constexpr const char* kMethods[] = {"Nearest", "Blend", "Weighted Energy Blend"};
constexpr const char* kWarpings[] = {"Inverse", "Inverse + Smart Blend", "Forward", "3"};

constexpr float kRadius = 26.0f;

// Where the disc is at a time, half out of the picture, and how far a place lies outside it.
float OutsideDisc(int x, int y, float time) {
    return std::hypot(static_cast<float>(x) - 168.0f - 10.0f * time,
                      static_cast<float>(y) - 62.0f - 3.0f * time) -
           kRadius;
}

// Waves of many lengths, so that only the true motion fits them; about -1 to 1.
float Texture(float x, float y, float seed) {
    float sum = 0.0f;
    for (int i = 0; i < 14; ++i) {
        const float n = static_cast<float>(i);
        const float turn = 2.4f * n + seed;
        const float length = 9.0f * std::pow(1.21f, n);
        sum += std::sin((x * std::cos(turn) + y * std::sin(turn)) * 6.2832f / length + 3.0f * turn);
    }
    return sum / 5.0f;
}

// A bright textured disc that moves to the right over a darker ground that moves to the left;
// nothing in it is black.
std::unique_ptr<ZPImage> DrawDisc(float time) {
    auto image = std::make_unique<ZPImage>(kWidth, kHeight, 4, ZPPixUChar, 0);
    for (int y = 0; y < kHeight; ++y) {
        std::uint8_t* pixel = image->Row<std::uint8_t>(y);
        for (int x = 0; x < kWidth; ++x, pixel += 4) {
            const float px = static_cast<float>(x), py = static_cast<float>(y);
            const float ground = 0.3f + 0.13f * Texture(px + 4.0f * time, py, 1.0f);
            const float disc = 0.72f + 0.13f * Texture(px - 10.0f * time, py - 3.0f * time, 5.0f);
            const float inside = std::clamp(0.5f - OutsideDisc(x, y, time), 0.0f, 1.0f);
            const float value = ground + (disc - ground) * inside;
            std::fill_n(pixel, 3, RoundClamped<std::uint8_t>(value * 255.0f));
            pixel[3] = 255;
        }
    }
    return image;
}

struct Errors {
    double all = 0.0;
    double edge = 0.0;  // within ten pixels around the disc's edge
    int black = 0;
};

// Of red, in levels; the border is left out, where content comes and goes.
Errors Compare(const ZPImage& image, const ZPImage& truth, float time) {
    Errors errors;
    int all = 0, edge = 0;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const int value = image.Row<std::uint8_t>(y)[4 * x];
            const double apart = std::abs(value - truth.Row<std::uint8_t>(y)[4 * x]);
            errors.all += apart, ++all;
            if (std::fabs(OutsideDisc(x, y, time)) < 10.0f) errors.edge += apart, ++edge;
            if (value == 0) ++errors.black;
        }
    }
    errors.all /= all;
    errors.edge /= edge;
    return errors;
}

TEST(MethodMatrix, EveryCellComesNearTheTrueFrameOfADiscOverAMovingGround) {
    const float time = 0.5f;
    const auto truth = DrawDisc(time);
    Errors errors[3][4];
    std::printf("mean error in levels at %.1f, and around the disc's edge:\n", time);
    for (int method = 0; method < 3; ++method) {
        for (int warping = 0; warping < 4; ++warping) {
            std::vector<std::unique_ptr<ZPImage>> clip;
            for (float end : {0.0f, 1.0f}) clip.push_back(DrawDisc(end));
            MemoryHost host(std::move(clip));
            host.method = method;
            host.warping = warping;
            ASSERT_EQ(host.Render(time), 0);
            Errors& found = errors[method][warping] = Compare(*host.result, *truth, time);
            std::printf("  %-21s  %-21s  %6.3f  %6.3f\n", kMethods[method], kWarpings[warping],
                        found.all, found.edge);
            // Without coverage a forward warp leaves its holes black.
            EXPECT_TRUE(found.black == 0 || warping == kForwardPlain);
            EXPECT_LT(found.all, warping == kForwardPlain ? 2.5 : 1.5);
        }
        // A single frame has no other one to take its place from.
        EXPECT_LT(errors[method][kInverseSmart].edge,
                  errors[method][kInverse].edge + (method == 0 ? 0.001 : 0.0));
        EXPECT_LT(errors[method][kForward].edge, errors[method][kInverse].edge);
    }
}

// Luma in the first channel has a coverage blend of its own, which the forward warp never takes.
TEST(MethodMatrix, YCbCrBlendsByItsOwnRuleAfterTheInverseWarpAlone) {
    for (int warping : {kInverse, kInverseSmart, kForward}) {
        const auto render = [&](bool isYCbCr) {
            auto result = std::make_unique<ZPImage>(kWidth, kHeight, 4, ZPPixUChar, 0);
            ZPImage flow(kWidth, kHeight, 2, ZPPixFloat, 0);
            ClearImage(&flow);
            flow.Row<float>(5)[7] = 3.0f;
            ZPImage a(kWidth, kHeight, 4, ZPPixUChar, 0), b(kWidth, kHeight, 4, ZPPixUChar, 0);
            ZPImage c(kWidth, kHeight, 1, ZPPixUChar, 0), d(kWidth, kHeight, 1, ZPPixUChar, 0);
            KQIdleAndProgressClass progress(nullptr);
            MixBlend(*result, {*DrawDisc(0.0f), *DrawDisc(1.0f), flow, flow, 0.4f, isYCbCr},
                     warping, {&a, &b, &c, &d}, progress);
            return result;
        };
        const bool same = FirstDifference(*render(false), *render(true)).empty();
        EXPECT_EQ(same, warping != kInverseSmart) << warping;
    }
}

}  // namespace
}  // namespace velorin
