#include "engine/compensate_blur.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/checksum.h"

namespace velorin {
namespace {

// An edge, besides, gets sharper and stays within its type.
TEST(CompensateBlur, TakesItsBranchInEveryForm) {
    KQIdleAndProgressClass progress(nullptr);
    ZPImage flow(9, 20, 2, ZPPixFloat, 0);
    PutAll(flow, 2.0f);
    std::uint64_t sum = kEmptySum;
    ForEachPictureForm([&](int type, int channels) {
        ZPImage source(17, 40, channels, type, 0), dest(17, 40, channels, type, 0);
        Noise noise(5);
        FillTrying(noise, source);
        // 1e-6f lies below 0.000001.
        for (float amount : {1e-6f, -1e-6f, 1.1e-6f, -1.1e-6f, 0.7f, 45.0f, -0.4f, -99.0f}) {
            CompensateBlur(dest, source, flow, true, progress, amount);
            sum = Checksum(dest, sum);
            if (std::fabs(amount) <= 1e-6f) {
                EXPECT_SAME_IMAGE(dest, source);
            }
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
    EXPECT_EQ(sum, 13630171868380524552u);
}

}  // namespace
}  // namespace velorin
