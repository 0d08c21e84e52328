#include "engine/method_matrix.h"

#include <gtest/gtest.h>

#include "support/disc_scene.h"
#include "support/memory_host.h"
#include "support/noise.h"

namespace velorin {
namespace {

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

// Only the plain inverse warp mixes in one pass, into a picture that is none of the frames.
TEST(MethodMatrix, BlendsAtOnceWhatItBlendsInSteps) {
    const auto floorFrame = DrawDisc(0.0f), ceilFrame = DrawDisc(1.0f);
    ZPImage flow(kDiscWidth, kDiscHeight, 2, ZPPixFloat, 0);
    ClearImage(&flow);
    flow.Row<float>(5)[7] = 3.0f;
    KQIdleAndProgressClass progress(nullptr);
    const FramePair pair{*floorFrame, *ceilFrame, flow, flow, 0.4f};
    ZPImage once(kDiscWidth, kDiscHeight, 4, ZPPixUChar, 0);
    for (int warping : {kInverseSmart, kForward, kForwardPlain}) {
        EXPECT_FALSE(MixBlendAtOnce(once, pair, warping, progress));
    }
    EXPECT_FALSE(MixBlendAtOnce(*floorFrame, pair, kInverse, progress));
    EXPECT_TRUE(MixBlendAtOnce(once, pair, kInverse, progress));
    ZPImage steps(kDiscWidth, kDiscHeight, 4, ZPPixUChar, 0),
        a(kDiscWidth, kDiscHeight, 4, ZPPixUChar, 0), b(kDiscWidth, kDiscHeight, 4, ZPPixUChar, 0);
    MixBlend(steps, pair, kInverse, {&a, &b}, progress);
    EXPECT_SAME_IMAGE(once, steps);
}

}  // namespace
}  // namespace velorin
