#include "warp/change_matte.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/in_place.h"
#include "support/plain_stored.h"
#include "support/put_each.h"

namespace velorin {
namespace {

TEST(ChangeMatte, EqualsPlainRuleInEveryForm) {
    ForEachPictureForm([](int type, int channels) {
        Noise noise(41);
        // Of one row, mode 3 takes none.
        for (int height : {67, 1}) {
            ZPImage first(19, height, channels, type, 0), second(19, height, channels, type, 1);
            noise.Fill(first);
            noise.Fill(second);
            if (type == ZPPixFloat) noise.Sprinkle(first, height / 4);
            first.whitePoint *= 1.25f;
            const float limit = first.whitePoint * (0.7f * 0.7f * 0.7f) * 3.0f;
            for (int rowMode : {0, 1, 2, 3}) {
                ZPImage untouched(19, height, 1, ZPPixUChar, 0);
                ZPImage expected(19, height, 1, ZPPixUChar, 0);
                PutAll(untouched, 7);
                PutEach(expected, [&](int x, int y, int) {
                    const int fromEnd = height - 1 - y;
                    const bool chosen = rowMode == 1 || fromEnd % 2 == (rowMode == 3 ? 1 : 0);
                    if (channels < 3 || !chosen) return 0.0f;
                    double sum = 0.0;
                    for (int c = 0; c < 3; ++c) {
                        sum += std::fabs(ValueAt(first, x, y, c) - ValueAt(second, x, y, c));
                    }
                    return static_cast<float>(sum) < limit ? 0.0f : 255.0f;
                });
                ExpectInPlace(untouched, expected, [&](ZPImage& matte) {
                    EXPECT_EQ(ZPChangeMatte(matte, first, second, 0.7f, rowMode), 0);
                });
            }
        }
    });
}

TEST(ChangeMatte, MarksNothingInImagesThatDoNotFit) {
    ZPImage first(3, 1, 4, ZPPixUChar, 0), matte(3, 1, 1, ZPPixUChar, 0);
    PutAll(first, 200);
    ZPImage narrow(2, 1, 4, ZPPixUChar, 0), words(3, 1, 4, ZPPixUShort, 0),
        three(3, 1, 3, ZPPixUChar, 0);
    for (ZPImage* odd : {&narrow, &words, &three}) {
        ClearImage(odd);
        PutAll(matte, 7);
        EXPECT_EQ(ZPChangeMatte(matte, first, *odd, 0.4f, 1), 0);
        EXPECT_EQ(ValueAt(matte, 1, 0, 0), 0);
    }
}

TEST(MatteMix, EqualsPlainRuleForEveryPairOfChannelCounts) {
    ForEachPictureForm([](int type, int channels) {
        for (int otherChannels : {2, 3, 4}) {
            Noise noise(42);
            ZPImage first(19, 67, channels, type, 0), other(19, 67, otherChannels, type, 1);
            ZPImage matte(19, 67, 1, ZPPixUChar, 1);
            for (ZPImage* image : {&first, &other, &matte}) noise.Fill(*image);
            // A pixel that the matte keeps is not computed: an infinity stays one.
            if (type == ZPPixFloat) noise.Sprinkle(first, 40);
            Snapshot expected(first);
            const int common = std::min(channels, otherChannels);
            ForEachPixel(matte, [&](int x, int y) {
                const int kind = noise.Int(0, 3);
                if (kind < 2) PutValue(matte, x, y, 0, 255.0f * static_cast<float>(kind));
                const float m = ValueAt(matte, x, y, 0) / 255.0f;
                for (int c = 0; c < common && common >= 3 && m != 1.0f; ++c) {
                    const float o = ValueAt(other, x, y, c);
                    const float mixed = ValueAt(first, x, y, c) * m + o * (1.0f - m);
                    PutValue(*expected, x, y, c, m == 0.0f ? o : PlainStored(type, mixed));
                }
            });
            ExpectInPlace(first, *expected,
                          [&](ZPImage& target) { ZPMatteMix(target, other, matte); });
        }
    });
}

TEST(MatteMix, RefusesImagesThatDoNotFit) {
    ZPImage target(3, 2, 4, ZPPixUChar, 0), black(3, 2, 4, ZPPixUChar, 0);
    ClearImage(&target);
    ClearImage(&black);
    ZPImage other(3, 2, 4, ZPPixUChar, 0), narrow(2, 2, 4, ZPPixUChar, 0),
        words(3, 2, 4, ZPPixUShort, 0);
    ZPImage matte(3, 2, 1, ZPPixUChar, 0), low(3, 1, 1, ZPPixUChar, 0),
        wide(3, 2, 1, ZPPixUShort, 0);
    Noise noise(43);
    for (ZPImage* image : {&other, &narrow, &words, &matte, &low, &wide}) noise.Fill(*image);
    for (const ZPImage* odd : {&narrow, &words}) ZPMatteMix(target, *odd, matte);
    for (const ZPImage* odd : {&low, &wide}) ZPMatteMix(target, other, *odd);
    EXPECT_SAME_IMAGE(target, black);
}

TEST(MatteMix, Pinned) {
    ZPImage target(1, 1, 3, ZPPixFloat, 0), other(1, 1, 3, ZPPixFloat, 0);
    ZPImage matte(1, 1, 1, ZPPixUChar, 0);
    PutAll(target, 0.1f);
    PutAll(other, 0.3f);
    PutAll(matte, 100);
    ZPMatteMix(target, other, matte);
    EXPECT_SAME_BITS(ValueAt(target, 0, 0, 0), 0x1.c5c5c8p-3f);
}

}  // namespace
}  // namespace velorin
