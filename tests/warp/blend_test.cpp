#include "warp/blend.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "image/copy.h"
#include "support/forms.h"
#include "support/gap_image.h"
#include "support/noise.h"

namespace velorin {
namespace {

using Pixel = std::array<float, 4>;

float WhiteOf(int type) {
    return type == ZPPixUChar ? 255.0f : type == ZPPixUShort ? 65535.0f : 1.0f;
}

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
    for (int x = 0; x < target.width; ++x) {
        Pixel t{}, o{};
        for (int c = 0; c < target.channels; ++c) {
            t[c] = ValueAt(target, x, y, c);
            o[c] = ValueAt(other, x, y, c);
        }
        if (target.channels == 4) {
            t = PlainFourChannels(type, t, o, share);
        } else if (target.channels == 3 && type == ZPPixFloat) {
            for (int c = 0; c < 3; ++c) t[c] = o[c] + (t[c] - o[c]) * share;
        } else if (target.channels == 3 && type == ZPPixUChar) {
            for (int c = 0; c < 3; ++c) {
                const float raised = t[c] * share + o[c] * (1.0f - share) + 0.5f;
                t[c] = std::floor(std::min(std::max(raised, 0.0f), 255.0f));
            }
        }
        for (int c = 0; c < target.channels; ++c) PutValue(target, x, y, c, t[c]);
    }
}

TEST(BlendRows, EqualsPlainRuleInEveryForm) {
    ForEachPictureForm([](int type, int channels) {
        Noise noise(21);
        ZPImage first(19, 67, channels, type, 0), second(19, 67, channels, type, 0);
        noise.Fill(first);
        noise.Fill(second);
        // Beyond 0 to 1 alphas leave their range on both sides.
        for (float share : {0.3f, 0.77f, -0.6f, 1.9f}) {
            for (int rowMode : {0, 1, 2, 3}) {
                Snapshot expected(first);
                for (int y = 0; y < 67; ++y) {
                    const bool chosen = rowMode == 1 || y % 2 == (rowMode == 3 ? 1 : 0);
                    if (chosen) PlainBlend(*expected, second, share, y);
                }
                ForEachThreadCount([&] {
                    for (int bottomUp : {0, 1}) {
                        GapImage target(19, 67, channels, type, bottomUp);
                        GapImage other(19, 67, channels, type, bottomUp);
                        CopyExact(&*target, &first);
                        CopyExact(&*other, &second);
                        EXPECT_EQ(ZPBlendRows(*target, *other, rowMode, share), 1);
                        EXPECT_SAME_IMAGE(*target, *expected);
                        EXPECT_TRUE(target.GapsUntouched());
                    }
                });
            }
        }
    });
}

TEST(BlendRows, WeighsByAlpha) {
    const auto blend = [](Pixel t, Pixel o, float share) {
        ZPImage target(1, 1, 4, ZPPixUChar, 0), other(1, 1, 4, ZPPixUChar, 0);
        for (int c = 0; c < 4; ++c) {
            PutValue(target, 0, 0, c, t[c]);
            PutValue(other, 0, 0, c, o[c]);
        }
        EXPECT_EQ(ZPBlendRows(target, other, 1, share), 1);
        Pixel result;
        for (int c = 0; c < 4; ++c) result[c] = ValueAt(target, 0, 0, c);
        return result;
    };
    EXPECT_EQ(blend({90, 10, 0, 100}, {30, 20, 0, 50}, 0.5f), (Pixel{60, 15, 0, 75}));
    EXPECT_EQ(blend({90, 10, 7, 0}, {30, 20, 7, 0}, 0.5f), (Pixel{0, 0, 0, 0}));
    EXPECT_EQ(blend({90, 200, 0, 100}, {30, 180, 0, 50}, 0.5f), (Pixel{60, 75, 0, 75}));
    // Alpha 382.5 is 1.5 times white: colours are divided by it.
    EXPECT_EQ(blend({90, 60, 30, 255}, {90, 60, 30, 0}, 1.5f), (Pixel{60, 40, 20, 255}));
}

TEST(BlendRows, SharesOfZeroAndOneComputeNothing) {
    ForEachPictureForm([](int type, int channels) {
        Noise noise(22);
        ZPImage target(9, 5, channels, type, 0), other(9, 5, channels, type, 0);
        noise.Fill(target);
        noise.Fill(other);
        Snapshot before(target);
        EXPECT_EQ(ZPBlendRows(target, other, 1, 1.0f), 1);
        EXPECT_SAME_IMAGE(target, *before);
        EXPECT_EQ(ZPBlendRows(target, other, 3, 0.0f), 1);
        for (int y = 0; y < 5; ++y) {
            const ZPImage& from = y % 2 == 1 ? other : *before;
            EXPECT_SAME_BITS(ValueAt(target, 4, y, 0), ValueAt(from, 4, y, 0));
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
        testing::internal::CaptureStderr();
        EXPECT_EQ(ZPBlendRows(target, *other, 1, 0.5f), 0);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "ZPBlend: float image doesn't have 1.0 for white point\n");
        EXPECT_EQ(ZPBlendRows(target, *other, 1, 1.0f), 1);
        odd->whitePoint = 1.0f;
    }
    EXPECT_SAME_IMAGE(target, *before);
}

TEST(Blend, EqualsPlainRuleWithFourChannelsAndBlendRowsWithFewer) {
    ForEachPictureForm([](int type, int channels) {
        Noise noise(26);
        GapImage first(19, 67, channels, type, 0), second(19, 67, channels, type, 0);
        noise.Fill(*first);
        noise.Fill(*second);
        if (type == ZPPixFloat && channels == 4) second->whitePoint = 0.75f;
        const float white = second->whitePoint;
        for (float share : {0.0f, 0.3f, -0.6f, 1.9f, 1.0f}) {
            Snapshot expected(share == 0.0f ? *second : *first);
            const bool mixes = share != 0.0f && share != 1.0f && channels == 4;
            if (channels != 4) ZPBlendRows(*expected, *second, 1, share);
            for (int i = 0; i < 19 * 67 * 4 && mixes; ++i) {
                const int x = i / 4 % 19, y = i / 4 / 19, c = i % 4;
                const auto mix = [&](int channel) {
                    const float o = ValueAt(*second, x, y, channel);
                    return o + (ValueAt(*first, x, y, channel) - o) * share;
                };
                float value = c < 3 ? mix(c) : std::min(mix(3), white);
                if (type != ZPPixFloat) {
                    value += c < 3 ? 0.5f : 0.0f;
                    value = std::floor(std::max(std::min(value, white), 0.0f));
                }
                PutValue(*expected, x, y, c, mix(3) > 0.0f ? value : 0.0f);
            }
            ForEachThreadCount([&] {
                Snapshot before(*first);
                EXPECT_EQ(ZPBlend(*first, *second, share), 1);
                EXPECT_SAME_IMAGE(*first, *expected);
                EXPECT_TRUE(first.GapsUntouched());
                CopyExact(&*first, &*before);
            });
        }
        // With four channels what does not fit is no failure.
        const ZPImage flipped(19, 67, channels, type, 1);
        Snapshot before(*first);
        EXPECT_EQ(ZPBlend(*first, flipped, 0.3f), channels == 4 ? 1 : 0);
        EXPECT_SAME_IMAGE(*first, *before);
    });
}

TEST(BlendTwo, EqualsPlainRuleInEveryForm) {
    ForEachPictureForm([](int type, int channels) {
        Noise noise(24);
        ZPImage first(19, 67, channels, type, 0), second(19, 67, channels, type, 1);
        noise.Fill(first);
        noise.Fill(second);
        for (float share : {0.3f, 0.5f, 0.0051f, -0.25f, 1.2f}) {
            ZPImage expected(19, 67, channels, type, 0);
            ClearImage(&expected);
            for (int y = 0; y < 67 && channels != 2; ++y) {
                for (int i = 0; i < 19 * channels; ++i) {
                    const float f = ValueAt(first, 0, y, i);
                    float mixed = f + (ValueAt(second, 0, y, i) - f) * share;
                    if (type != ZPPixFloat) {
                        // No clamp: what does not fit keeps its low bits.
                        const int cut = static_cast<int>(mixed + 0.5f);
                        mixed = static_cast<float>(cut & static_cast<int>(WhiteOf(type)));
                    }
                    PutValue(expected, 0, y, i, mixed);
                }
            }
            if (channels == 4 && (share < 0.0f || share > 1.0f)) {
                CopyExact(&expected, &first);
                ZPImage sameOrder(19, 67, 4, type, 0);
                CopyExact(&sameOrder, &second);
                EXPECT_EQ(ZPBlendRows(expected, sameOrder, 1, 1.0f - share), 1);
            }
            ForEachThreadCount([&] {
                for (int bottomUp : {0, 1}) {
                    GapImage dest(19, 67, channels, type, bottomUp);
                    ClearImage(&*dest);
                    // Beyond 0 to 1 four channels are blended in one row order only.
                    if (channels == 4 && bottomUp == 0 && (share < 0.0f || share > 1.0f)) continue;
                    ZPBlendTwo(*dest, first, second, share);
                    EXPECT_SAME_IMAGE(*dest, expected);
                    EXPECT_TRUE(dest.GapsUntouched());
                }
            });
        }
    });
}

TEST(BlendTwo, CopiesWithinFiveThousandthsOfAnEnd) {
    ForEachPictureForm([](int type, int channels) {
        Noise noise(25);
        ZPImage first(9, 5, channels, type, 0), second(9, 5, channels, type, 0);
        ZPImage dest(9, 5, channels, type, 1);
        noise.Fill(first);
        noise.Fill(second);
        for (float share : {0.0f, 0.0049f, -0.0049f}) {
            ZPBlendTwo(dest, first, second, share);
            EXPECT_SAME_IMAGE(dest, first);
        }
        for (float share : {1.0f, 0.9951f, 1.0049f}) {
            ZPBlendTwo(dest, first, second, share);
            EXPECT_SAME_IMAGE(dest, second);
        }
        // On purpose compared in double: 0.005f lies below 0.005.
        ZPBlendTwo(dest, first, second, 0.005f);
        EXPECT_SAME_IMAGE(dest, first);
        ZPImage narrow(8, 5, channels, type, 0);
        ZPBlendTwo(dest, first, narrow, 0.5f);
        EXPECT_SAME_IMAGE(dest, first);
    });
}

TEST(Blends, Pinned) {
    ZPImage first(1, 1, 4, ZPPixFloat, 0), second(1, 1, 4, ZPPixFloat, 0), dest(1, 1, 4, 2, 0);
    for (int c = 0; c < 4; ++c) {
        PutValue(first, 0, 0, c, 0.1f + 0.3f * c);
        PutValue(second, 0, 0, c, 0.7f + 0.13f * c);
    }
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
