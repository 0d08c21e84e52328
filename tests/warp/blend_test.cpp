#include "warp/blend.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "support/in_place.h"
#include "support/plain_stored.h"
#include "support/put_each.h"
#include "support/stderr_text.h"

namespace velorin {
namespace {

using Pixel = std::array<float, 4>;

Pixel PlainFourChannels(int type, const Pixel& target, const Pixel& other, float share) {
    const float white = WhiteOf(type);
    Pixel mixed;
    for (int c = 0; c < 4; ++c) mixed[c] = other[c] + (target[c] - other[c]) * share;
    const float w = mixed[3] / white;
    if (!(w > 0.0f)) return {0, 0, 0, 0};
    for (int c = 0; c < 3; ++c) {
        if (w > 1.0f) mixed[c] /= w;
    }
    mixed[3] = std::min(mixed[3], white);
    if (type == ZPPixFloat) return mixed;
    for (float& value : mixed) {
        const double clamped = std::min(std::max(value, 0.0f), white);
        value = static_cast<float>(std::floor(clamped + 0.5));
    }
    for (int c = 0; c < 3; ++c) mixed[c] = std::min(mixed[c], mixed[3]);
    return mixed;
}

void PlainBlend(ZPImage& target, const ZPImage& other, float share, int y) {
    const int type = target.pixelType;
    if (share == 1.0f) return;
    for (int x = 0; x < target.width; ++x) {
        Pixel t{}, o{};
        for (int c = 0; c < target.channels; ++c) {
            t[c] = ValueAt(target, x, y, c);
            o[c] = ValueAt(other, x, y, c);
        }
        if (share == 0.0f) {
            t = o;
        } else if (target.channels == 4) {
            t = PlainFourChannels(type, t, o, share);
        } else if (target.channels == 3 && type == ZPPixFloat) {
            for (int c = 0; c < 3; ++c) t[c] = o[c] + (t[c] - o[c]) * share;
        } else if (target.channels == 3 && type == ZPPixUChar) {
            for (int c = 0; c < 3; ++c) {
                t[c] = PlainStored(type, t[c] * share + o[c] * (1.0f - share));
            }
        }
        for (int c = 0; c < target.channels; ++c) PutValue(target, x, y, c, t[c]);
    }
}

TEST(BlendRows, EqualsPlainRuleInEveryForm) {
    ForEachPictureForm([](int type, int channels) {
        Noise noise(21);
        ZPImage first(19, 67, channels, type, 0), second(19, 67, channels, type, 0);
        ZPImage flipped(19, 67, channels, type, 1);
        noise.Fill(first);
        noise.Fill(second);
        CopyExact(&flipped, &second);
        // Beyond 0 to 1 alphas leave their range on both sides.
        for (float share : {0.3f, -0.6f, 1.9f, 0.0f, 1.0f}) {
            for (int rowMode : {0, 1, 2, 3}) {
                Snapshot expected(first);
                for (int y = 0; y < 67; ++y) {
                    const bool chosen = rowMode == 1 || y % 2 == (rowMode == 3 ? 1 : 0);
                    if (chosen) PlainBlend(*expected, second, share, y);
                }
                ExpectInPlace(first, *expected, [&](ZPImage& target) {
                    const ZPImage& other = target.bottomUp ? flipped : second;
                    EXPECT_EQ(ZPBlendRows(target, other, rowMode, share), 1);
                });
            }
        }
    });
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

// Two pictures of noise, the second in a row order of its own.
struct NoisePair {
    NoisePair(int type, int channels, int secondOrder = 0)
        : first(19, 67, channels, type, 0), second(19, 67, channels, type, secondOrder) {
        Noise noise(26);
        noise.Fill(first);
        noise.Fill(second);
    }
    ZPImage first;
    ZPImage second;
};

TEST(Blend, EqualsPlainRuleWithFourChannelsAndBlendRowsWithFewer) {
    ForEachPictureForm([](int type, int channels) {
        NoisePair pair(type, channels);
        ZPImage& first = pair.first;
        ZPImage& second = pair.second;
        if (type == ZPPixFloat && channels == 4) second.whitePoint = 0.75f;
        for (float share : {0.0f, 0.3f, -0.6f, 1.9f, 1.0f}) {
            Snapshot expected(share == 0.0f ? second : first);
            if (channels != 4) ZPBlendRows(*expected, second, 1, share);
            const auto mix = [&](int x, int y, int c) {
                const float o = ValueAt(second, x, y, c);
                return o + (ValueAt(first, x, y, c) - o) * share;
            };
            const auto rule = [&](int x, int y, int c) {
                if (!(mix(x, y, 3) > 0.0f)) return 0.0f;
                if (c < 3) return PlainStored(type, mix(x, y, c));
                const float alpha = std::min(mix(x, y, 3), second.whitePoint);
                return type == ZPPixFloat ? alpha : std::floor(alpha);
            };
            if (channels == 4 && share != 0.0f && share != 1.0f) PutEach(*expected, rule);
            ForEachThreadCount([&] {
                GapImage target(19, 67, channels, type, 0);
                CopyExact(&*target, &first);
                EXPECT_EQ(ZPBlend(*target, second, share), 1);
                EXPECT_SAME_IMAGE(*target, *expected);
                EXPECT_TRUE(target.GapsUntouched());
            });
        }
        // With four channels what does not fit is no failure.
        const ZPImage flipped(19, 67, channels, type, 1);
        Snapshot before(first);
        EXPECT_EQ(ZPBlend(first, flipped, 0.3f), channels == 4 ? 1 : 0);
        EXPECT_SAME_IMAGE(first, *before);
    });
}

TEST(BlendTwo, EqualsPlainRuleInEveryForm) {
    ForEachPictureForm([](int type, int channels) {
        const NoisePair pair(type, channels, 1);
        for (float share : {0.3f, 0.5f, 0.0051f, -0.25f, 1.2f}) {
            const bool weighs = channels == 4 && (share < 0.0f || share > 1.0f);
            ZPImage black(19, 67, channels, type, 0), expected(19, 67, channels, type, 0);
            ClearImage(&black);
            ClearImage(&expected);
            if (weighs) {
                ZPImage sameOrder(19, 67, 4, type, 0);
                CopyExact(&sameOrder, &pair.second);
                CopyExact(&expected, &pair.first);
                EXPECT_EQ(ZPBlendRows(expected, sameOrder, 1, 1.0f - share), 1);
            } else if (channels != 2) {
                PutEach(expected, [&](int x, int y, int c) {
                    const float f = ValueAt(pair.first, x, y, c);
                    const float mixed = f + (ValueAt(pair.second, x, y, c) - f) * share;
                    if (type == ZPPixFloat) return mixed;
                    // No clamp: what does not fit keeps its low bits.
                    const int cut = static_cast<int>(mixed + 0.5f);
                    return static_cast<float>(cut & static_cast<int>(WhiteOf(type)));
                });
            }
            ExpectInPlace(black, expected, [&](ZPImage& dest) {
                // Pictures that are weighed have to agree in row order.
                if (weighs && !dest.bottomUp) return CopyExact(&dest, &expected);
                ZPBlendTwo(dest, pair.first, pair.second, share);
            });
        }
    });
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
