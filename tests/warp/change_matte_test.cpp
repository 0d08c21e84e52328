#include "warp/change_matte.h"

#include <gtest/gtest.h>

#include "image/copy.h"
#include "support/checksum.h"
#include "support/refusal.h"

namespace velorin {
namespace {

TEST(ChangeMatte, SameBitsInEveryFormAndRowMode) {
    std::uint64_t sum = kEmptySum;
    ForEachPictureForm([&](int type, int channels) {
        // Of one row, mode 3 takes none.
        for (int height : {67, 1}) {
            for (int rowMode : {0, 1, 2, 3}) {
                ZPImage second(19, height, channels, type, 1);
                Noise(41).Fill(second);
                sum = ChecksumOfNoise(
                    {19, height, 1, ZPPixUChar}, {19, height, channels, type},
                    [&](ZPImage& matte, ZPImage& first) {
                        first.whitePoint = 1.25f * second.whitePoint;
                        EXPECT_EQ(ZPChangeMatte(matte, first, second, 0.7f, rowMode), 0);
                    },
                    sum);
            }
        }
    });
    EXPECT_EQ(sum, 9881370351144379528u);
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

TEST(MatteMix, SameBitsForEveryPairOfChannelCounts) {
    std::uint64_t sum = kEmptySum;
    ForEachPictureForm([&](int type, int channels) {
        for (int otherChannels : {2, 3, 4}) {
            ZPImage matte(19, 67, 1, ZPPixUChar, 1);
            Noise noise(42);
            PutEach(matte, [&](int, int, int) {
                constexpr float kEnds[] = {0.0f, 255.0f};
                const int kind = noise.Int(0, 3);
                return kind < 2 ? kEnds[kind] : static_cast<float>(noise.Int(0, 255));
            });
            sum = ChecksumOfNoise(
                {19, 67, channels, type}, {19, 67, otherChannels, type},
                [&](ZPImage& target, ZPImage& other) { ZPMatteMix(target, other, matte); }, sum);
        }
    });
    EXPECT_EQ(sum, 16575025195288523609u);
}

TEST(MatteMix, RefusesImagesThatDoNotFit) {
    const Shape fits{3, 2, 4, 0}, matte{3, 2, 1, 0};
    const Shape wrong[][2] = {{{2, 2, 4, 0}, matte},
                              {{3, 2, 4, ZPPixUShort}, matte},
                              {fits, {3, 1, 1, 0}},
                              {fits, {3, 2, 1, ZPPixUShort}}};
    for (const auto& [other, odd] : wrong) {
        ExpectRefused({fits, other, odd}, "", [](Images& i) { ZPMatteMix(*i[0], *i[1], *i[2]); });
    }
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
