#include "warp/change_matte.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "image/copy.h"
#include "support/forms.h"
#include "support/gap_image.h"
#include "support/noise.h"

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
                ZPImage expected(19, height, 1, ZPPixUChar, 0);
                ClearImage(&expected);
                const int start = rowMode == 3 ? height - 2 : height - 1;
                for (int y = start; y >= 0 && channels >= 3; y -= rowMode == 1 ? 1 : 2) {
                    for (int x = 0; x < 19; ++x) {
                        double sum = 0.0;
                        for (int c = 0; c < 3; ++c) {
                            const float difference =
                                ValueAt(first, x, y, c) - ValueAt(second, x, y, c);
                            sum += static_cast<double>(std::fabs(difference));
                        }
                        const bool changed = !(static_cast<float>(sum) < limit);
                        PutValue(expected, x, y, 0, changed ? 255 : 0);
                    }
                }
                ForEachThreadCount([&] {
                    for (int bottomUp : {0, 1}) {
                        GapImage matte(19, height, 1, ZPPixUChar, bottomUp);
                        EXPECT_EQ(ZPChangeMatte(*matte, first, second, 0.7f, rowMode), 0);
                        EXPECT_SAME_IMAGE(*matte, expected);
                        EXPECT_TRUE(matte.GapsUntouched());
                    }
                });
            }
        }
    });
}

TEST(ChangeMatte, MarksAFifthOfWhiteOverThreeChannelsAndNoAlpha) {
    ZPImage first(3, 1, 4, ZPPixUChar, 0), second(3, 1, 4, ZPPixUChar, 0);
    ZPImage matte(3, 1, 1, ZPPixUChar, 0);
    ClearImage(&first);
    ClearImage(&second);
    // The limit of 0.4 is 48.96.
    PutValue(first, 0, 0, 0, 48);
    PutValue(first, 1, 0, 1, 20);
    PutValue(second, 1, 0, 2, 29);
    PutValue(first, 2, 0, 3, 255);
    EXPECT_EQ(ZPChangeMatte(matte, first, second, 0.4f, 1), 0);
    EXPECT_EQ(ValueAt(matte, 0, 0, 0), 0);
    EXPECT_EQ(ValueAt(matte, 1, 0, 0), 255);
    EXPECT_EQ(ValueAt(matte, 2, 0, 0), 0);
    const ZPImage narrow(2, 1, 4, ZPPixUChar, 0), words(3, 1, 4, ZPPixUShort, 0),
        three(3, 1, 3, ZPPixUChar, 0);
    for (const ZPImage* odd : {&narrow, &words, &three}) {
        PutValue(matte, 1, 0, 0, 7);
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
            for (int i = 0; i < 19 * 67; ++i) {
                const int x = i % 19, y = i / 19, kind = noise.Int(0, 3);
                if (kind < 2) PutValue(matte, x, y, 0, 255.0f * static_cast<float>(kind));
                const float m = ValueAt(matte, x, y, 0) / 255.0f;
                for (int c = 0; c < common && common >= 3 && m != 1.0f; ++c) {
                    const float o = ValueAt(other, x, y, c);
                    float value = m == 0.0f ? o : ValueAt(first, x, y, c) * m + o * (1.0f - m);
                    if (type != ZPPixFloat) value = std::floor(value + 0.5f);
                    PutValue(*expected, x, y, c, value);
                }
            }
            ForEachThreadCount([&] {
                for (int bottomUp : {0, 1}) {
                    GapImage target(19, 67, channels, type, bottomUp);
                    CopyExact(&*target, &first);
                    ZPMatteMix(*target, other, matte);
                    EXPECT_SAME_IMAGE(*target, *expected);
                    EXPECT_TRUE(target.GapsUntouched());
                }
            });
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
    for (int c = 0; c < 3; ++c) {
        PutValue(target, 0, 0, c, 0.1f);
        PutValue(other, 0, 0, c, 0.3f);
    }
    PutValue(matte, 0, 0, 0, 100);
    ZPMatteMix(target, other, matte);
    EXPECT_SAME_BITS(ValueAt(target, 0, 0, 0), 0x1.c5c5c8p-3f);
}

}  // namespace
}  // namespace velorin
