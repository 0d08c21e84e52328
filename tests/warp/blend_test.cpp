#include "warp/blend.h"

#include <gtest/gtest.h>

#include "image/copy.h"
#include "support/as_plain.h"
#include "support/checksum.h"
#include "support/stderr_text.h"

namespace velorin {
namespace {

// Two pictures of noise.
struct NoisePair {
    NoisePair(int type, int channels)
        : first(19, 67, channels, type, 0), second(19, 67, channels, type, 0) {
        Noise noise(26);
        noise.Fill(first);
        noise.Fill(second);
    }
    ZPImage first;
    ZPImage second;
};

// Runs blend(target, other) on copies of the pair, in both row orders, on all thread counts and by
// all instruction sets, and expects the same bits each time. Answers their sum, going on from
// `sum`.
template <typename Work>
std::uint64_t BlendSum(const NoisePair& pair, std::uint64_t sum, const Work& blend) {
    Snapshot expected(pair.first);
    blend(*expected, pair.second);
    ForEachThreadCount([&] {
        for (int bottomUp : {0, 1}) {
            const ZPImage& like = pair.first;
            ZPImage other(19, 67, like.channels, like.pixelType, bottomUp);
            other.whitePoint = pair.second.whitePoint;
            CopyPixels(other, pair.second);
            ForEachInstructionSet([&] {
                GapImage target(19, 67, like.channels, like.pixelType, bottomUp);
                CopyPixels(*target, pair.first);
                blend(*target, other);
                EXPECT_SAME_IMAGE(*target, *expected);
                EXPECT_TRUE(target.GapsUntouched());
            });
        }
    });
    return Checksum(*expected, sum);
}

// Beyond 0 to 1 alphas leave their range on both sides.
constexpr float kShares[] = {0.3f, -0.6f, 1.9f, 0.0f, 1.0f};

TEST(BlendRows, SameBitsInEveryFormAndRowMode) {
    std::uint64_t sum = kEmptySum;
    ForEachPictureForm([&](int type, int channels) {
        const NoisePair pair(type, channels);
        for (float share : kShares) {
            for (int rowMode : {0, 1, 2, 3}) {
                sum = BlendSum(pair, sum, [&](ZPImage& target, const ZPImage& other) {
                    EXPECT_EQ(ZPBlendRows(target, other, rowMode, share), 1);
                });
            }
        }
    });
    EXPECT_EQ(sum, 14193623373273738832u);
}

TEST(BlendRows, RefusesImagesThatDoNotFit) {
    ZPImage target(8, 8, 4, ZPPixFloat, 0);
    Noise noise(23);
    noise.Fill(target);
    Snapshot before(target);
    const ZPImage narrow(7, 8, 4, ZPPixFloat, 0), three(8, 8, 3, ZPPixFloat, 0),
        bytes(8, 8, 4, ZPPixUChar, 0), flipped(8, 8, 4, ZPPixFloat, 1);
    for (const ZPImage* other : {&narrow, &three, &bytes, &flipped}) {
        EXPECT_EQ(ZPBlendRows(target, *other, 1, 0.5f), 0);
        EXPECT_EQ(ZPBlendRows(target, *other, 1, 1.0f), 0);
    }
    Snapshot other(target);
    for (ZPImage* odd : {&target, &*other}) {
        odd->whitePoint = 2.0f;
        EXPECT_EQ(StderrOf([&] { EXPECT_EQ(ZPBlendRows(target, *other, 1, 0.5f), 0); }),
                  "ZPBlend: float image doesn't have 1.0 for white point\n");
        EXPECT_EQ(ZPBlendRows(target, *other, 1, 1.0f), 1);
        odd->whitePoint = 1.0f;
    }
    EXPECT_SAME_IMAGE(target, *before);
}

TEST(Blend, SameBitsInEveryForm) {
    std::uint64_t sum = kEmptySum;
    ForEachPictureForm([&](int type, int channels) {
        NoisePair pair(type, channels);
        if (type == ZPPixFloat && channels == 4) pair.second.whitePoint = 0.75f;
        for (float share : kShares) {
            sum = BlendSum(pair, sum, [&](ZPImage& target, const ZPImage& other) {
                EXPECT_EQ(ZPBlend(target, other, share), 1);
            });
        }
        // With four channels what does not fit is no failure.
        const ZPImage flipped(19, 67, channels, type, 1);
        Snapshot before(pair.first);
        EXPECT_EQ(ZPBlend(pair.first, flipped, 0.3f), channels == 4 ? 1 : 0);
        EXPECT_SAME_IMAGE(pair.first, *before);
    });
    EXPECT_EQ(sum, 6402692495148066556u);
}

// Pixels of a row, whose values trip arithmetic, as each by itself.
TEST(Blend, NoPixelDependsOnItsNeighbours) {
    constexpr int kPixels = 331;
    ZPImage target(kPixels, 1, 4, ZPPixFloat, 0), other(kPixels, 1, 4, ZPPixFloat, 0);
    Noise noise(29);
    FillTrying(noise, target);
    FillTrying(noise, other);
    noise.Sprinkle(target, 150);
    noise.Sprinkle(other, 150);
    Snapshot expected(target);
    for (int x = 0; x < kPixels; ++x) {
        ZPImage to(expected->Row<float>(0) + 4 * x, 1, 1, 4, ZPPixFloat, 0);
        ZPImage from(other.Row<float>(0) + 4 * x, 1, 1, 4, ZPPixFloat, 0);
        ZPBlend(to, from, 0.3f);
    }
    ForEachInstructionSet([&] {
        Snapshot blended(target);
        ZPBlend(*blended, other, 0.3f);
        EXPECT_SAME_IMAGE(*blended, *expected);
    });
}

TEST(BlendTwo, SameBitsInEveryForm) {
    std::uint64_t sum = kEmptySum;
    ForEachPictureForm([&](int type, int channels) {
        const NoisePair pair(type, channels);
        for (float share : {0.3f, 0.5f, 0.0051f, -0.25f, 1.2f}) {
            // Pictures that are weighed have to agree in row order.
            const bool weighs = channels == 4 && (share < 0.0f || share > 1.0f);
            sum = BlendSum(pair, sum, [&](ZPImage& dest, const ZPImage& second) {
                const int order = weighs ? dest.bottomUp : 1 - dest.bottomUp;
                ZPImage first(19, 67, channels, type, order);
                CopyPixels(first, pair.first);
                ClearImage(&dest);
                ZPBlendTwo(dest, first, second, share);
            });
        }
    });
    EXPECT_EQ(sum, 17323531918375297674u);
}

TEST(BlendTwo, CopiesWithinFiveThousandthsOfAnEnd) {
    ForEachPictureForm([](int type, int channels) {
        const NoisePair pair(type, channels);
        ZPImage dest(19, 67, channels, type, 1);
        // On purpose compared in double: 0.005f lies below 0.005.
        for (float share : {0.0f, 1.0f, 0.0049f, 0.9951f, -0.0049f, 1.0049f, 0.005f}) {
            ZPBlendTwo(dest, pair.first, pair.second, share);
            EXPECT_SAME_IMAGE(dest, share < 0.5f ? pair.first : pair.second);
        }
        ZPImage narrow(18, 67, channels, type, 0);
        ZPBlendTwo(dest, pair.first, narrow, 0.5f);
        EXPECT_SAME_IMAGE(dest, pair.first);
    });
}

TEST(Blends, Pinned) {
    ZPImage first(1, 1, 4, ZPPixFloat, 0), second(1, 1, 4, ZPPixFloat, 0), dest(1, 1, 4, 2, 0);
    PutEach(first, [](int, int, int c) { return 0.1f + 0.3f * c; });
    PutEach(second, [](int, int, int c) { return 0.7f + 0.13f * c; });
    ZPBlendTwo(dest, first, second, 0.37f);
    EXPECT_SAME_BITS(ValueAt(dest, 0, 0, 1), 0x1.1e425cp-1f);
    EXPECT_EQ(ZPBlendRows(first, second, 1, 0.37f), 1);
    EXPECT_SAME_BITS(ValueAt(first, 0, 0, 1), 0x1.4511c2p-1f);  // divided by the alpha of 1.06
    EXPECT_SAME_BITS(ValueAt(first, 0, 0, 3), 1.0f);
    EXPECT_EQ(ZPBlend(dest, second, 0.37f), 1);
    EXPECT_SAME_BITS(ValueAt(dest, 0, 0, 1), 0x1.75a406p-1f);
}

}  // namespace
}  // namespace velorin
