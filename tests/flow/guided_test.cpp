#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "flow/optical_flow.h"
#include "support/checksum.h"

namespace velorin {
namespace {

constexpr int kWidth = 48;
constexpr int kHeight = 38;

// Integer arithmetic alone makes it, the same on every machine.
void FillFrame(ZPImage& frame, int shiftX, int shiftY) {
    PutEach(frame, [=](int x, int y, int) {
        const int px = x - shiftX, py = y - shiftY;
        return static_cast<float>(128 + ((px * px + 3 * px * py + 2 * py * py) >> 2) % 100);
    });
}

// Hints as the reduction leaves them: sums and weights between 0 and 1 on coarser levels.
void FillHints(ZPOpticalFlowUChar& flow) {
    Noise noise(71);
    for (int n = 0; n < flow.levelCount; ++n) {
        ZPImage& weights = *flow.hintWeightPyramid[n];
        PutEach(weights, [&](int, int, int) {
            return noise.Int(0, 19) > 0 ? 0.0f : n == 0 ? 1.0f : 0.25f;
        });
        PutEach(*flow.hintFlowPyramid[n], [&](int x, int y, int) {
            return ValueAt(weights, x, y, 0) * noise.Float(-3.0f, 3.0f);
        });
    }
}

TEST(Guided, TheWholeLoopHonoursHintsAndMattes) {
    ZPImage a(kWidth, kHeight, 1, ZPPixUChar, 0), b(kWidth, kHeight, 1, ZPPixUChar, 0);
    ZPImage matte(kWidth, kHeight, 1, ZPPixUChar, 0);
    FillFrame(a, 0, 0);
    FillFrame(b, 2, -1);
    PutEach(matte, [](int x, int y, int) { return x > 30 && y < 9 ? 0.0f : 255.0f; });
    constexpr std::uint64_t kSums[] = {
        10298549366135448232u, 11323819552029682332u, 17414321054501034566u, 17934539365799818727u,
        4276000312902821661u,  961095014601415441u,   1442908987640196424u,  10038542202765612381u};
    for (int variant = 0; variant < 8; ++variant) {
        const bool guided = variant & 1, masked = variant & 2, skip = variant & 4;
        SCOPED_TRACE("variant " + std::to_string(variant));
        ZPOpticalFlowUChar flow(kWidth, kHeight, 0, guided, masked, 2);
        for (bool toB : {false, true}) flow.LoadMatte(matte, toB);
        if (guided) FillHints(flow);
        ForEachThreadCount([&] {
            std::uint64_t sum = kEmptySum;
            for (int mode : {0, 1, 2}) {
                flow.LoadImage(b, nullptr, nullptr, true, false);
                flow.LoadImage(a, nullptr, nullptr, false, false);
                flow.ComputeFlow(nullptr, 1, mode, skip, nullptr);
                sum = Checksum(*flow.Flow(), sum);
            }
            EXPECT_EQ(sum, kSums[variant]);
        });
        if (!guided) continue;
        // The last word on level 0: the hint, with the sign turned.
        const ZPImage& hints = *flow.hintFlowPyramid[0];
        ForEachPixel(hints, [&](int x, int y) {
            if (ValueAt(*flow.hintWeightPyramid[0], x, y, 0) == 0.0f) return;
            EXPECT_SAME_BITS(ValueAt(*flow.Flow(), x, y, 1), -ValueAt(hints, x, y, 1));
        });
    }
}

TEST(Guided, HintsReplaceTheFlowWhereTheyHaveWeight) {
    ZPOpticalFlowUChar flow(20, 20, 0, 1, 0, 2), plain(20, 20, 0, 0, 0, 2);
    EXPECT_FALSE(plain.HasHints(0));
    EXPECT_FALSE(flow.HasHints(0));
    EXPECT_FALSE(flow.HasHints(1));
    PutValue(*flow.hintWeightPyramid[1], 3, 9, 0, NAN);
    EXPECT_TRUE(flow.HasHints(1));
    for (int x = 0; x < 20; ++x) PutValue(*flow.Flow(), x, 0, 0, 9.0f);
    PutValue(*flow.hintFlowPyramid[0], 5, 0, 0, 0.75f);
    PutValue(*flow.hintWeightPyramid[0], 5, 0, 0, 0.5f);
    PutValue(*flow.hintFlowPyramid[0], 6, 0, 0, 0.75f);  // no weight: not a hint
    PutValue(*flow.hintWeightPyramid[0], 7, 0, 0, NAN);
    flow.ImposeHints(0);
    EXPECT_SAME_BITS(ValueAt(*flow.Flow(), 5, 0, 0), 1.5f);
    EXPECT_SAME_BITS(ValueAt(*flow.Flow(), 6, 0, 0), 9.0f);
    EXPECT_SAME_BITS(ValueAt(*flow.Flow(), 7, 0, 0), NAN);
    EXPECT_SAME_BITS(ValueAt(*flow.Flow(), 8, 0, 0), 9.0f);
}

// On black frames nothing is solved: level 0 inherits the hints of level 1, +-3.5 at its middle,
// and has none itself, so that the test of sanity runs there.
float MiddleAfterSanityTest(float left, float right) {
    ZPOpticalFlowUChar flow(8, 8, 0, 1, 0, 2);
    PutAll(*flow.hintWeightPyramid[1], 1.0f);
    PutEach(*flow.hintFlowPyramid[1], [=](int x, int, int c) {
        return c == 1 ? 0.0f : x < 2 ? left : right;
    });
    flow.ComputeFlow(nullptr, 0, -1, 1, nullptr);
    EXPECT_EQ(flow.levelCount, 2);
    return ValueAt(*flow.Flow(), 3, 4, 0);
}

TEST(Guided, SanityTestLooksAlongTheInternalVector) {
    // From (3, y) along -3.5 lies outside and against it inside: on purpose the former decides.
    EXPECT_SAME_BITS(MiddleAfterSanityTest(-3.5f, 3.5f), -0.0f);
    EXPECT_NEAR(MiddleAfterSanityTest(3.5f, -3.5f), -3.5f, 1e-5);
}

TEST(Guided, ANarrowLevelWithoutHintsIsCleared) {
    ZPImage a(2, 40, 1, ZPPixUChar, 0), b(2, 40, 1, ZPPixUChar, 0);
    FillFrame(a, 0, 0);
    FillFrame(b, 0, 1);
    for (int guided : {0, 1, 2}) {
        ZPOpticalFlowUChar flow(2, 40, 0, guided > 0, 0, 2);
        if (guided == 2) PutValue(*flow.hintWeightPyramid[0], 0, 0, 0, 1.0f);
        flow.ComputeFlowFromImages(nullptr, &a, &b, 1, 1, 0, nullptr, false);
        EXPECT_EQ(SameBits(ValueAt(*flow.Flow(), 1, 20, 1), -0.0f), guided == 1);
    }
}

}  // namespace
}  // namespace velorin
