#include "image/composite.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

#include "support/checksum.h"

namespace velorin {
namespace {

constexpr int kWidth = 11;
constexpr int kHeight = 131;
using Pixel = std::array<float, 4>;

Pixel PixelAt(const ZPImage& image, int x, int y) {
    Pixel pixel;
    for (int c = 0; c < 4; ++c) pixel[c] = ValueAt(image, x, y, c);
    return pixel;
}

void PutPixel(ZPImage& image, int x, int y, const Pixel& pixel) {
    for (int c = 0; c < 4; ++c) PutValue(image, x, y, c, pixel[c]);
}

TEST(Composite, SameBitsInEveryType) {
    const auto sumOf = [](const auto& work) {
        std::uint64_t sum = kEmptySum;
        for (int type : {ZPPixUChar, ZPPixUShort, ZPPixFloat}) {
            const Shape shape{kWidth, kHeight, 4, type}, wider{kWidth + 3, kHeight, 4, type};
            sum = ChecksumOfNoise(shape, wider, work, sum);
        }
        return sum;
    };
    EXPECT_EQ(sumOf([](ZPImage& image, ZPImage&) { Premultiply(image); }), 10997271091314360515u);
    EXPECT_EQ(sumOf([](ZPImage& image, ZPImage&) { Unpremultiply(image); }), 3803171429970653227u);
    EXPECT_EQ(sumOf([](ZPImage& to, const ZPImage& from) {
                  CompositeOver(to, 1, 1, from, 3, 5, 9, kHeight - 2);
              }),
              9642605382370031882u);
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
