#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>

#include "flow/optical_flow.h"
#include "support/put_each.h"
#include "warp/blend.h"
#include "warp/inverse_warp.h"

namespace velorin {
namespace {

constexpr int kWidth = 320;
constexpr int kHeight = 240;
constexpr int kBorder = 12;

struct Shift {
    double x, y;
};

// Waves of periods from 8 to 108 pixels in many directions, in levels of 0 to 255.
double Texture(double x, double y) {
    double sum = 0.0;
    for (int i = 0; i < 24; ++i) {
        const double frequency = 2.0 * 3.14159265358979 / (8.0 * std::pow(1.12, i));
        const double angle = 0.9 + 2.4 * i;
        sum += std::sin(frequency * (std::cos(angle) * x + std::sin(angle) * y) + 1.7 * i);
    }
    return std::clamp(128.0 + 10.0 * sum, 0.0, 255.0);
}

std::unique_ptr<ZPImage> MakeFrame(Shift shift) {
    auto frame = std::make_unique<ZPImage>(kWidth, kHeight, 4, ZPPixUChar, 0);
    ForEachPixel(*frame, [&](int x, int y) {
        const double level = std::floor(Texture(x - shift.x, y - shift.y) + 0.5);
        for (int c = 0; c < 3; ++c) PutValue(*frame, x, y, c, static_cast<float>(level));
        PutValue(*frame, x, y, 3, 255.0f);
    });
    return frame;
}

// The mean of error(x, y) away from the borders.
template <typename Error>
double MeanInside(const Error& error) {
    double sum = 0.0;
    for (int y = kBorder; y < kHeight - kBorder; ++y) {
        for (int x = kBorder; x < kWidth - kBorder; ++x) sum += error(x, y);
    }
    return sum / ((kWidth - 2 * kBorder) * (kHeight - 2 * kBorder));
}

double MeanEndpointError(const ZPImage& flow, Shift truth) {
    return MeanInside([&](int x, int y) {
        return std::hypot(ValueAt(flow, x, y, 0) - truth.x, ValueAt(flow, x, y, 1) - truth.y);
    });
}

double MeanDifference(const ZPImage& a, const ZPImage& b) {
    return MeanInside(
        [&](int x, int y) { return std::abs(ValueAt(a, x, y, 0) - ValueAt(b, x, y, 0)); });
}

// What the estimator is for: motion to a few hundredths of a pixel, and frames between frames that
// cannot be told from filmed ones.
TEST(Quality, FindsMotionAndMakesTheFrameBetween) {
    const auto first = MakeFrame({0, 0});
    ZPImage forward(kWidth, kHeight, 2, ZPPixFloat, 0), back(kWidth, kHeight, 2, ZPPixFloat, 0);
    ZPImage fromFirst(kWidth, kHeight, 4, ZPPixUChar, 0);
    ZPImage fromSecond(kWidth, kHeight, 4, ZPPixUChar, 0);
    ZPImage between(kWidth, kHeight, 4, ZPPixUChar, 0);
    ZPOpticalFlowUChar estimator(kWidth, kHeight, 0, 0, 0, 2);
    estimator.SetSensitivity(0.7f);
    for (Shift shift : {Shift{0.25, -0.5}, Shift{1.5, 0.75}, Shift{-3.4, 2.7}, Shift{7.75, -5.5},
                        Shift{12.0, 0.0}, Shift{-11.6, 11.3}}) {
        SCOPED_TRACE(std::to_string(shift.x) + ", " + std::to_string(shift.y));
        const auto second = MakeFrame(shift);
        estimator.ComputeFlowFromImages(&forward, first.get(), second.get(), 1, 1, 0, nullptr,
                                        false);
        estimator.ComputeFlowFromImages(&back, second.get(), first.get(), 1, 1, 0, nullptr, false);
        ASSERT_EQ(ZPInverseWarp(fromFirst, *first, back, 1, nullptr, 1, 0.5f), 1);
        ASSERT_EQ(ZPInverseWarp(fromSecond, *second, forward, 1, nullptr, 1, 0.5f), 1);
        ZPBlendTwo(between, fromFirst, fromSecond, 0.5f);

        const auto truth = MakeFrame({shift.x / 2, shift.y / 2});
        EXPECT_LT(MeanEndpointError(forward, shift), 0.05);
        EXPECT_LT(MeanEndpointError(back, {-shift.x, -shift.y}), 0.05);
        EXPECT_LT(MeanDifference(between, *truth), 1.0);
    }
}

}  // namespace
}  // namespace velorin
