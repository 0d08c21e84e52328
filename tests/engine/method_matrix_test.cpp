#include "engine/method_matrix.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "support/disc_scene.h"
#include "support/memory_host.h"
#include "support/noise.h"

namespace velorin {
namespace {

TEST(MethodMatrix, EveryCellComesNearTheTrueFrameOfADiscOverAMovingGround) {
    const float time = 0.5f;
    const auto truth = DrawDisc(time);
    DiscErrors errors[3][4];
    std::printf("mean error in levels at %.1f, and around the disc's edge:\n", time);
    for (int method = 0; method < 3; ++method) {
        for (int warping = 0; warping < 4; ++warping) {
            MemoryHost host(DiscClip());
            host.method = method;
            host.warping = warping;
            ASSERT_EQ(host.Render(time), 0);
            DiscErrors& found = errors[method][warping] = CompareDisc(*host.result, *truth, time);
            std::printf("  %-21s  %-21s  %6.3f  %6.3f\n", kMethodNames[method],
                        kWarpingNames[warping], found.all, found.edge);
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
            auto result = std::make_unique<ZPImage>(kDiscWidth, kDiscHeight, 4, ZPPixUChar, 0);
            ZPImage flow(kDiscWidth, kDiscHeight, 2, ZPPixFloat, 0);
            ClearImage(&flow);
            flow.Row<float>(5)[7] = 3.0f;
            ZPImage a(kDiscWidth, kDiscHeight, 4, ZPPixUChar, 0),
                b(kDiscWidth, kDiscHeight, 4, ZPPixUChar, 0);
            ZPImage c(kDiscWidth, kDiscHeight, 1, ZPPixUChar, 0),
                d(kDiscWidth, kDiscHeight, 1, ZPPixUChar, 0);
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
