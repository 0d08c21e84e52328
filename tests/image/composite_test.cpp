#include "image/composite.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "support/as_plain.h"

namespace velorin {
namespace {

constexpr int kWidth = 11;
constexpr int kHeight = 131;
constexpr float kWhites[] = {255.0f, 65535.0f, 1.0f};
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

// As it is written: what writes an integer cuts it.
float Stored(int type, float value) {
    return type == ZPPixFloat ? value : value + 0.5f;
}

Pixel PlainPremultiply(int type, Pixel p) {
    for (int c = 0; c < 3; ++c) p[c] = Stored(type, p[c] * (p[3] * kReciprocals[type]));
    return p;
}

Pixel PlainUnpremultiply(int type, Pixel p) {
    if (type == ZPPixFloat ? p[3] < 1e-7f : p[3] == 0) return p;
    const float k = kWhites[type] / p[3];
    for (int c = 0; c < 3; ++c) {
        const float value = p[c] * k;
        p[c] = type == ZPPixFloat ? value : Stored(type, std::min(value, kWhites[type]));
    }
    return p;
}

template <typename Change, typename Rule>
void ExpectEachPixel(const Change& change, const Rule& rule) {
    for (int type : {ZPPixUChar, ZPPixUShort, ZPPixFloat}) {
        ExpectAsPlain({kWidth, kHeight, 4, type}, change, [&](ZPImage& image) {
            for (int y = 0; y < kHeight; ++y) {
                for (int x = 0; x < kWidth; ++x) {
                    PutPixel(image, x, y, rule(type, PixelAt(image, x, y)));
                }
            }
        });
    }
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
    EXPECT_EQ(Changed(ZPPixUShort, {65535, 1, 0, 65535}, Premultiply), (Pixel{65535, 1, 0, 65535}));
    EXPECT_EQ(Changed(ZPPixUShort, {300, 3, 0, 2}, Unpremultiply), (Pixel{65535, 65535, 0, 2}));
    EXPECT_EQ(Changed(ZPPixFloat, {3, 0.5f, -1, 0.25f}, Unpremultiply), (Pixel{12, 2, -4, 0.25f}));
    EXPECT_EQ(Changed(ZPPixFloat, {3, 1, 1, 0.9e-7f}, Unpremultiply), (Pixel{3, 1, 1, 0.9e-7f}));
    EXPECT_EQ(Changed(ZPPixFloat, {3, 1, 1, -0.5f}, Unpremultiply), (Pixel{3, 1, 1, -0.5f}));
    // A division by 65535 gives 766. (In 8 bits no pixel tells the two rules apart.)
    EXPECT_EQ(Changed(ZPPixUShort, {1018, 0, 0, 49280}, Premultiply)[0], 765);
}

TEST(Premultiply, OtherImagesAreLeft) {
    const auto both = [](ZPImage& image) {
        Premultiply(image);
        Unpremultiply(image);
    };
    ExpectAsPlain({4, 4, 3, ZPPixUChar}, both, kNothing);
    for (auto change : {Premultiply, Unpremultiply}) {
        const auto whiteOfTwo = [&](ZPImage& image) {
            image.whitePoint = 2.0f;
            change(image);
        };
        EXPECT_EQ(Changed(ZPPixFloat, {3, 2, 1, 0.5f}, whiteOfTwo), (Pixel{3, 2, 1, 0.5f}));
        EXPECT_EQ(Changed(ZPPixShort, {90, 80, 70, 9}, change), (Pixel{90, 80, 70, 9}));
    }
}

Pixel PlainOver(int type, const Pixel& under, const Pixel& over) {
    const float white = kWhites[type];
    if (over[3] == 0) return under;
    if (over[3] == white) return over;
    const float f = over[3] * kReciprocals[type];
    Pixel result;
    for (int c = 0; c < 3; ++c) result[c] = under[c] * (1 - f) + over[c];
    result[3] = under[3] + (white - under[3]) * f;
    if (type == ZPPixFloat) return result;
    for (float& value : result) value = std::min(Stored(type, value), white);
    return result;
}

TEST(CompositeOver, EqualsPlainRuleInARectangle) {
    for (int type : {ZPPixUChar, ZPPixUShort, ZPPixFloat}) {
        ExpectAsPlain(
            {kWidth, kHeight, 4, type}, {kWidth + 3, kHeight, 4, type},
            [](ZPImage& to, const ZPImage& from) {
                CompositeOver(to, 1, 1, from, 3, 5, 9, kHeight - 2);
            },
            [&](ZPImage& to, const ZPImage& from) {
                for (int y = 5; y <= kHeight - 2; ++y) {
                    for (int x = 3; x <= 9; ++x) {
                        const Pixel under = PixelAt(to, x - 2, y - 4);
                        PutPixel(to, x - 2, y - 4, PlainOver(type, under, PixelAt(from, x, y)));
                    }
                }
            });
    }
}

Pixel Over(int type, const Pixel& under, const Pixel& over) {
    ZPImage source(1, 1, 4, type, 1);
    PutPixel(source, 0, 0, over);
    return Changed(type, under,
                   [&](ZPImage& image) { CompositeOver(image, 0, 0, source, 0, 0, 0, 0); });
}

TEST(CompositeOver, PinnedPixels) {
    EXPECT_EQ(Over(ZPPixUChar, {10, 20, 30, 40}, {9, 9, 9, 0}), (Pixel{10, 20, 30, 40}));
    EXPECT_EQ(Over(ZPPixUChar, {100, 200, 0, 0}, {50, 0, 7, 51}), (Pixel{130, 160, 7, 51}));
    EXPECT_EQ(Over(ZPPixUShort, {1000, 0, 0, 0}, {50, 0, 7, 13107}), (Pixel{850, 0, 7, 13107}));
    EXPECT_EQ(Over(ZPPixFloat, {1, 2, 0, 0}, {0.5f, 0, 7, 0.25f}), (Pixel{1.25f, 1.5f, 7, 0.25f}));
    // Nothing shows through full alpha, not even 0 times infinity.
    EXPECT_EQ(Over(ZPPixFloat, {INFINITY, 2, 3, 0.5f}, {4, 5, 6, 1}), (Pixel{4, 5, 6, 1}));
    // A colour above its alpha clamps to white and does not wrap.
    EXPECT_EQ(Over(ZPPixUChar, {255, 0, 0, 255}, {250, 0, 0, 100}), (Pixel{255, 0, 0, 255}));
    EXPECT_EQ(Over(ZPPixUShort, {65535, 0, 0, 1}, {65535, 0, 0, 1}), (Pixel{65535, 0, 0, 2}));
}

TEST(CompositeOver, OtherPairsAreLeft) {
    const Shape bytes{3, 3, 4, ZPPixUChar}, three{3, 3, 3, ZPPixUChar}, words{3, 3, 4, ZPPixUShort};
    const auto over = [](ZPImage& to, const ZPImage& from) {
        CompositeOver(to, 0, 0, from, 0, 0, 2, 2);
    };
    ExpectAsPlain(bytes, words, over, kNothing);
    ExpectAsPlain(bytes, three, over, kNothing);
    ExpectAsPlain(three, bytes, over, kNothing);
}

}  // namespace
}  // namespace velorin
