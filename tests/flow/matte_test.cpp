#include "flow/matte.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/checksum.h"
#include "support/stderr_text.h"

namespace velorin {
namespace {

TEST(Choke, MovesAHardEdgeByTheAmount) {
    // Amount; the first sample of the white, for the third two before it, and the next one.
    constexpr float kCases[][3] = {{1.0f, 0.0f, 0x1.c4137ap-1f},
                                   {1.5f, 0.0f, 0x1.c4137ap-2f},
                                   {-1.0f, 0x1.df643p-4f, 1.0f},
                                   {2.0f, 0.0f, 0.0f}};
    for (const auto& [amount, value, next] : kCases) {
        ZPImage image(40, 40, 1, ZPPixFloat, 0);
        PutEach(image, [](int column, int, int) { return column < 20 ? 0.0f : 1.0f; });
        ZPMatte::Choke(image, amount);
        float white = 0.0f;
        for (int i = 0; i < 40; ++i) white += ValueAt(image, i, 9, 0);
        EXPECT_NEAR(20.0f - white, amount, 0.15f);
        const int x = amount < 0.0f ? 18 : 20;
        EXPECT_SAME_BITS(ValueAt(image, x, 9, 0), value);
        EXPECT_SAME_BITS(ValueAt(image, x + 1, 9, 0), next);
    }
}

// Channels are choked each by itself; integers as fractions of white.
TEST(Choke, SameBitsInEveryForm) {
    std::uint64_t sum = kEmptySum;
    ForEachPictureForm([&](int type, int channels) {
        if (type != ZPPixFloat && channels > 1) return;
        const auto choke = [&](ZPImage& image, ZPImage&) {
            Noise noise(95);
            PutEach(image, [&](int x, int y, int c) {
                return image.whitePoint *
                       ((x / 9 + y / 11 + c) % 2 * 0.8f + noise.Float(0.0f, 0.2f));
            });
            ZPMatte::Choke(image, -1.3f);
        };
        sum = ChecksumOfNoise({37, 130, channels, type}, {1, 1, 1, ZPPixUChar}, choke, sum);
    });
    EXPECT_EQ(sum, 10740055008820017741u);
}

TEST(Choke, EvenMattesAndWhatItRefuses) {
    // Value, amount, result: clamped; all but white once stretched, and once turned around.
    constexpr float kCases[][3] = {{-0.25f, 0.0f, 0.0f},    {1.25f, 0.0f, 1.0f},
                                   {0.4f, 0.0f, 0.4f},      {NAN, 0.0f, 0.0f},
                                   {0.99998f, 1.0f, 1.0f},  {0.99996f, 1.0f, 0x1.ffec06p-1f},
                                   {0.0009f, -0.25f, 0.0f}, {0.0011f, -0.25f, 0x1.ea94p-10f}};
    for (const auto& [value, amount, result] : kCases) {
        ZPImage image(9, 8, 1, ZPPixFloat, 0);
        PutAll(image, value);
        ZPMatte::Choke(image, amount);
        EXPECT_SAME_BITS(ValueAt(image, 4, 4, 0), result);
    }
    ZPImage matte(9, 8, 1, ZPPixFloat, 0), colour(9, 8, 3, ZPPixUChar, 0);
    PutAll(matte, 0.7f);
    for (float amount : {NAN, INFINITY, -INFINITY, 4093.5f, -1e30f}) {
        EXPECT_THROW(ZPMatte::Choke(matte, amount), ZPErr);
    }
    ZPMatte::Choke(matte, 4093.0f);
    PutAll(colour, 77.0f);
    Snapshot before(colour);
    EXPECT_EQ(StderrOf([&] { ZPMatte::Choke(colour, 1.0f); }), "ZPMatte Choke, invalid input\n");
    EXPECT_SAME_IMAGE(colour, *before);
}

}  // namespace
}  // namespace velorin
