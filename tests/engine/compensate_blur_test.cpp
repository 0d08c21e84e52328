#include "engine/compensate_blur.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "filter/blur_along_flow.h"
#include "support/as_plain.h"
#include "warp/blend.h"

namespace velorin {
namespace {

// Made of the operations that it names; an edge, besides, gets sharper and stays within its type.
TEST(CompensateBlur, TakesItsBranchInEveryForm) {
    KQIdleAndProgressClass progress(nullptr);
    ZPImage flow(9, 20, 2, ZPPixFloat, 0);
    PutAll(flow, 2.0f);
    ForEachPictureForm([&](int type, int channels) {
        ZPImage source(17, 40, channels, type, 0), dest(17, 40, channels, type, 0);
        Noise noise(5);
        FillTrying(noise, source);
        Snapshot expected(source);
        const auto unseen = [&](int x, int y, int c) {
            return channels == 4 && c < 3 && ValueAt(*expected, x, y, 3) == 0.0f;
        };
        // 1e-6f lies below 0.000001.
        for (float amount : {1e-6f, -1e-6f, 1.1e-6f, -1.1e-6f, 0.7f, 45.0f, -0.4f, -99.0f}) {
            if (std::fabs(amount) > 1e-6f) {
                const float share = amount < 0.0f ? 0.5f : std::min(amount, 20.0f);
                BlurAlongFlow(*expected, source, flow, 1, nullptr, 0, 0, 16, 0, 39, share);
            }
            if (amount < -1e-6f) ZPBlend(*expected, source, std::max(amount, -10.0f));
            if (amount > 1e-6f) {
                PutEach(*expected, [&](int x, int y, int c) {
                    return unseen(x, y, c) ? 0.0f : ValueAt(*expected, x, y, c);
                });
            }
            CompensateBlur(dest, source, flow, true, progress, amount);
            EXPECT_EQ(FirstDifference(dest, *expected), "") << amount;
        }
        if (channels < 4 || type == ZPPixFloat) return;
        PutEach(source, [&](int x, int, int c) {
            return source.whitePoint * (c == 3 ? 1 : std::clamp(0.1f * x - 0.3f, 0.05f, 0.95f));
        });
        CompensateBlur(dest, source, flow, true, progress, -9.0f);
        const auto change = [&](int x) {
            return ValueAt(dest, x, 9, 0) - ValueAt(source, x, 9, 0);
        };
        for (int x = 0; x < 17; ++x) EXPECT_TRUE(x <= 8 ? change(x) <= 0 : change(x) >= 0) << x;
        EXPECT_TRUE(change(4) < 0.0f && change(12) > 0.0f);
    });
}

}  // namespace
}  // namespace velorin
