#include "image/composite.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "support/forms.h"
#include "support/gap_image.h"
#include "support/noise.h"

namespace velorin {
namespace {

constexpr int kWidth = 11;
constexpr int kHeight = 131;
constexpr float kReciprocals[] = {0.003921569f, 1.5259022e-5f, 1.0f};

using Pixel = std::array<float, 4>;

Pixel PixelAt(const ZPImage& image, int x, int y) {
    Pixel pixel;
    for (int c = 0; c < 4; ++c) pixel[c] = ValueAt(image, x, y, c);
    return pixel;
}

void PutPixel(ZPImage& image, int x, int y, const Pixel& pixel) {
    for (int c = 0; c < 4; ++c) PutValue(image, x, y, c, pixel[c]);
}

// Rounded as an integer type stores it; a float is what it is. The sum is in double.
float Stored(int type, float value) {
    if (type == ZPPixFloat) return value;
    return static_cast<float>(std::floor(static_cast<double>(value) + 0.5));
}

Pixel PlainPremultiply(int type, Pixel p) {
    for (int c = 0; c < 3; ++c) p[c] = Stored(type, p[c] * (p[3] * kReciprocals[type]));
    return p;
}

Pixel PlainUnpremultiply(int type, Pixel p) {
    const float white = type == ZPPixUChar ? 255.0f : type == ZPPixUShort ? 65535.0f : 1.0f;
    if (type == ZPPixFloat ? p[3] < 1e-7f : p[3] == 0) return p;
    const float k = white / p[3];
    for (int c = 0; c < 3; ++c) {
        const float value = p[c] * k;
        p[c] = Stored(type, type != ZPPixFloat && value > white ? white : value);
    }
    return p;
}

// Noise with many pixels of no and of full alpha.
void FillWithAlpha(Noise& noise, ZPImage& image) {
    noise.Fill(image);
    for (int y = 0; y < image.height; ++y) {
        for (int x = 0; x < image.width; ++x) {
            const int kind = noise.Int(0, 4);
            if (kind == 0) PutValue(image, x, y, 3, 0.0f);
            if (kind == 1) PutValue(image, x, y, 3, image.whitePoint);
        }
    }
    if (image.pixelType == ZPPixFloat) noise.Sprinkle(image, 80);
}

template <typename Change, typename Rule>
void ExpectEachPixel(const Change& change, const Rule& rule) {
    ForEachThreadCount([&] {
        for (int type = 0; type < 3; ++type) {
            for (int bottomUp : {0, 1}) {
                GapImage image(kWidth, kHeight, 4, type, bottomUp);
                Noise noise(31);
                FillWithAlpha(noise, *image);
                Snapshot expected(*image);
                for (int y = 0; y < kHeight; ++y) {
                    for (int x = 0; x < kWidth; ++x) {
                        PutPixel(*expected, x, y, rule(type, PixelAt(*image, x, y)));
                    }
                }
                change(*image);
                EXPECT_SAME_IMAGE(*image, *expected);
                EXPECT_TRUE(image.GapsUntouched());
            }
        }
    });
}

TEST(Premultiply, EqualsPlainRules) {
    ExpectEachPixel(Premultiply, PlainPremultiply);
    ExpectEachPixel(Unpremultiply, PlainUnpremultiply);
}

// One pixel of a type through `change`.
template <typename Change>
Pixel Changed(int type, const Pixel& pixel, const Change& change) {
    ZPImage image(1, 1, 4, type, 0);
    PutPixel(image, 0, 0, pixel);
    change(image);
    return PixelAt(image, 0, 0);
}

TEST(Premultiply, PinnedPixels) {
    EXPECT_EQ(Changed(ZPPixUChar, {100, 255, 1, 128}, Premultiply), (Pixel{50, 128, 1, 128}));
    EXPECT_EQ(Changed(ZPPixUChar, {100, 10, 0, 50}, Unpremultiply), (Pixel{255, 51, 0, 50}));
    EXPECT_EQ(Changed(ZPPixUChar, {9, 9, 9, 0}, Unpremultiply), (Pixel{9, 9, 9, 0}));
    EXPECT_EQ(Changed(ZPPixUShort, {65535, 1, 0, 65535}, Premultiply), (Pixel{65535, 1, 0, 65535}));
    EXPECT_EQ(Changed(ZPPixUShort, {300, 3, 0, 2}, Unpremultiply), (Pixel{65535, 65535, 0, 2}));
    EXPECT_EQ(Changed(ZPPixFloat, {3, 0.5f, -1, 0.25f}, Unpremultiply), (Pixel{12, 2, -4, 0.25f}));
    EXPECT_EQ(Changed(ZPPixFloat, {3, 1, 1, 0.9e-7f}, Unpremultiply), (Pixel{3, 1, 1, 0.9e-7f}));
    EXPECT_EQ(Changed(ZPPixFloat, {3, 1, 1, -0.5f}, Unpremultiply), (Pixel{3, 1, 1, -0.5f}));
}

TEST(Premultiply, ReciprocalIsNotADivision) {
    // A division by 65535 gives 766. (In 8 bits no pixel tells the two rules apart.)
    EXPECT_EQ(Changed(ZPPixUShort, {1018, 0, 0, 49280}, Premultiply)[0], 765);
}

TEST(Premultiply, OtherImagesAreLeft) {
    GapImage three(4, 4, 3, ZPPixUChar, 0);
    GapImage white(4, 4, 4, ZPPixFloat, 0);
    white->whitePoint = 2.0f;
    GapImage signedWords(4, 4, 4, ZPPixShort, 0);
    for (GapImage* image : {&three, &white, &signedWords}) {
        if ((*image)->pixelType != ZPPixShort) Noise(32).Fill(**image);
        Snapshot before(**image);
        Premultiply(**image);
        Unpremultiply(**image);
        for (int i = 0; i < 16; ++i) {
            const int c = i % (*image)->channels;
            EXPECT_SAME_BITS(ValueAt(**image, i / 4, i % 4, c), ValueAt(*before, i / 4, i % 4, c));
        }
    }
}

Pixel PlainOver(int type, const Pixel& under, const Pixel& over) {
    const float white = type == ZPPixUChar ? 255.0f : type == ZPPixUShort ? 65535.0f : 1.0f;
    if (over[3] == 0) return under;
    if (over[3] == white) return over;
    const float f = over[3] * kReciprocals[type];
    Pixel result;
    for (int c = 0; c < 3; ++c) result[c] = under[c] * (1 - f) + over[c];
    result[3] = under[3] + (white - under[3]) * f;
    if (type == ZPPixFloat) return result;
    for (float& value : result) value = std::min(std::floor(value + 0.5f), white);
    return result;
}

TEST(CompositeOver, EqualsPlainRuleInARectangle) {
    ForEachThreadCount([] {
        for (int type = 0; type < 3; ++type) {
            ForEachRowOrderPair([&](int toOrder, int fromOrder) {
                GapImage to(kWidth, kHeight, 4, type, toOrder);
                GapImage from(kWidth + 3, kHeight, 4, type, fromOrder);
                Noise noise(33);
                FillWithAlpha(noise, *to);
                FillWithAlpha(noise, *from);
                Snapshot expected(*to);
                for (int y = 5; y <= kHeight - 2; ++y) {
                    for (int x = 3; x <= 9; ++x) {
                        const Pixel under = PixelAt(*to, x - 2, y - 4);
                        const Pixel over = PixelAt(*from, x, y);
                        PutPixel(*expected, x - 2, y - 4, PlainOver(type, under, over));
                    }
                }
                CompositeOver(*to, 1, 1, *from, 3, 5, 9, kHeight - 2);
                EXPECT_SAME_IMAGE(*to, *expected);
                EXPECT_TRUE(to.GapsUntouched());
            });
        }
    });
}

Pixel Over(int type, const Pixel& under, const Pixel& over) {
    ZPImage source(1, 1, 4, type, 1);
    PutPixel(source, 0, 0, over);
    return Changed(type, under,
                   [&](ZPImage& image) { CompositeOver(image, 0, 0, source, 0, 0, 0, 0); });
}

TEST(CompositeOver, PinnedPixels) {
    EXPECT_EQ(Over(ZPPixUChar, {10, 20, 30, 40}, {9, 9, 9, 0}), (Pixel{10, 20, 30, 40}));
    EXPECT_EQ(Over(ZPPixUChar, {10, 20, 30, 40}, {9, 8, 7, 255}), (Pixel{9, 8, 7, 255}));
    EXPECT_EQ(Over(ZPPixUChar, {100, 200, 0, 0}, {50, 0, 7, 51}), (Pixel{130, 160, 7, 51}));
    EXPECT_EQ(Over(ZPPixUShort, {1000, 0, 0, 0}, {50, 0, 7, 13107}), (Pixel{850, 0, 7, 13107}));
    EXPECT_EQ(Over(ZPPixFloat, {1, 2, 0, 0}, {0.5f, 0, 7, 0.25f}), (Pixel{1.25f, 1.5f, 7, 0.25f}));
    EXPECT_EQ(Over(ZPPixFloat, {1, 2, 3, 0.5f}, {9, 9, 9, 0}), (Pixel{1, 2, 3, 0.5f}));
    EXPECT_EQ(Over(ZPPixFloat, {1, 2, 3, 0.5f}, {4, 5, 6, 1}), (Pixel{4, 5, 6, 1}));
    // A colour above its alpha clamps to white and does not wrap.
    EXPECT_EQ(Over(ZPPixUChar, {255, 0, 0, 255}, {250, 0, 0, 100}), (Pixel{255, 0, 0, 255}));
    EXPECT_EQ(Over(ZPPixUShort, {65535, 0, 0, 1}, {65535, 0, 0, 1}), (Pixel{65535, 0, 0, 2}));
}

TEST(CompositeOver, OtherPairsAreLeft) {
    GapImage to(3, 3, 4, ZPPixUChar, 0);
    GapImage words(3, 3, 4, ZPPixUShort, 0);
    GapImage three(3, 3, 3, ZPPixUChar, 0);
    Noise noise(34);
    for (GapImage* image : {&to, &words, &three}) noise.Fill(**image);
    Snapshot before(*to);
    Snapshot beforeThree(*three);
    CompositeOver(*to, 0, 0, *words, 0, 0, 2, 2);
    CompositeOver(*to, 0, 0, *three, 0, 0, 2, 2);
    CompositeOver(*three, 0, 0, *to, 0, 0, 2, 2);
    EXPECT_SAME_IMAGE(*to, *before);
    EXPECT_SAME_IMAGE(*three, *beforeThree);
}

}  // namespace
}  // namespace velorin
