#include "image/copy.h"

#include <gtest/gtest.h>

#include "support/as_plain.h"

namespace velorin {
namespace {

// High enough for 8 workers, whose last one takes a remainder.
constexpr int kWidth = 7;
constexpr int kHeight = 131;

// The two ways to carry a value. What writes the result cuts it and keeps the low bits.
float Cast(const ZPImage& /*to*/, const ZPImage& /*from*/, float value) {
    return value;
}
float Scaled(const ZPImage& to, const ZPImage& from, float value) {
    const float product = value * (to.whitePoint / from.whitePoint);
    return to.pixelType == ZPPixFloat ? product : product + 0.5f;
}

struct Rect {
    int toX, toY, fromX, fromY, width, height;
};

template <typename Carry>
void PlainCopy(ZPImage& to, const ZPImage& from, const Rect& rect, const Carry& carry) {
    for (int y = 0; y < rect.height; ++y) {
        for (int x = 0; x < rect.width; ++x) {
            for (int c = 0; c < to.channels; ++c) {
                const float value = ValueAt(from, rect.fromX + x, rect.fromY + y, c);
                PutValue(to, rect.toX + x, rect.toY + y, c, carry(to, from, value));
            }
        }
    }
}

// Of two types the second image is the one written.
void PlainRegion(ZPImage& first, ZPImage& second, const Rect& rect) {
    if (first.pixelType == second.pixelType) return PlainCopy(first, second, rect, Cast);
    const Rect back{rect.fromX, rect.fromY, rect.toX, rect.toY, rect.width, rect.height};
    PlainCopy(second, first, back, Cast);
}

void CopyExactly(ZPImage& to, const ZPImage& from) {
    CopyExact(&to, &from);
}

TEST(Copy, WholeImagesAreClearedAndCopied) {
    ForEachPictureForm([](int type, int channels) {
        const Shape shape{kWidth, kHeight, channels, type};
        ExpectAsPlain(
            shape, [](ZPImage& image) { ClearImage(&image); },
            [](ZPImage& image) { PutEach(image, [](int, int, int) { return 0.0f; }); });
        ExpectAsPlain(shape, shape, CopyExactly, [](ZPImage& to, const ZPImage& from) {
            PlainCopy(to, from, {0, 0, 0, 0, kWidth, kHeight}, Cast);
        });
    });
}

TEST(Copy, ImagesThatAreMissingOrDoNotFitAreLeft) {
    const Shape shape{4, 4, 2, ZPPixUChar};
    for (const Shape& other : {Shape{5, 4, 2, 0}, {4, 3, 2, 0}, {4, 4, 1, 0}, {4, 4, 2, 1}}) {
        ExpectAsPlain(shape, other, CopyExactly, kNothing);
    }
    const auto copyNull = [](ZPImage& image) {
        CopyExact(&image, nullptr);
        CopyExact(nullptr, &image);
        CopyCentred(&image, nullptr);
        CopyCentred(nullptr, &image);
    };
    ExpectAsPlain(shape, copyNull, kNothing);
    ClearImage(nullptr);
    ZPImage empty(nullptr, 3, 3, 1, ZPPixUChar, 0);
    ClearImage(&empty);
}

TEST(Copy, RectScalesByWhitePoints) {
    ForEachTypePair([](int toType, int fromType, int channels) {
        ExpectAsPlain(
            {kWidth + 2, kHeight, channels, toType}, {kWidth, kHeight + 3, channels, fromType},
            [](ZPImage& to, const ZPImage& from) {
                CopyRect(to, 1, 2, from, 3, 5, 4, kHeight - 2);
            },
            [](ZPImage& to, const ZPImage& from) {
                PlainCopy(to, from, {1, 2, 3, 5, 4, kHeight - 2}, Scaled);
            });
    });
}

TEST(Copy, ConvertsBetweenWhitePointsOfOneType) {
    std::uint16_t twelveBits[] = {0, 1, 2048, 4095};
    ZPImage from(twelveBits, 2, 2, 1, ZPPixUShort, 0);
    from.whitePoint = 4095.0f;
    ZPImage to(2, 2, 1, ZPPixUShort, 0);
    CopyConverted(to, from);
    EXPECT_EQ(ValueAt(to, 1, 0, 0), 16.0f);
    EXPECT_EQ(ValueAt(to, 0, 1, 0), 32776.0f);  // 2048 * 16.003662 = 32775.5
    EXPECT_EQ(ValueAt(to, 1, 1, 0), 65535.0f);
}

TEST(Copy, RegionWritesTheFirstOfOneTypeAndTheSecondOfTwo) {
    ForEachTypePair([](int firstType, int secondType, int channels) {
        ExpectAsPlain(
            {kWidth, kHeight, channels, firstType}, {kWidth, kHeight, channels, secondType},
            [](ZPImage& first, ZPImage& second) {
                CopyRegion(first, 4, 1, second, 2, 3, 3, kHeight - 4);
            },
            [](ZPImage& first, ZPImage& second) {
                PlainRegion(first, second, {4, 1, 2, 3, 3, kHeight - 4});
            });
    });
}

TEST(Copy, OtherSizesAreCentred) {
    const struct {
        int toWidth, toHeight, fromWidth, fromHeight;
        Rect rect;
    } kCases[] = {
        {9, 8, 9, 8, {0, 0, 0, 0, 9, 8}},
        {12, 21, 5, 16, {3, 2, 0, 0, 5, 16}},
        {5, 16, 12, 21, {0, 0, 3, 2, 5, 16}},
        {6, 5, 5, 4, {0, 0, 0, 0, 5, 4}},
        {5, 4, 6, 5, {0, 0, 0, 0, 5, 4}},
        {6, 1, 3, 4, {1, 0, 0, 1, 3, 1}},  // one axis each way
    };
    for (const auto& sizes : kCases) {
        ForEachTypePair([&](int toType, int fromType, int channels) {
            const Shape to{sizes.toWidth, sizes.toHeight, channels, toType};
            const Shape from{sizes.fromWidth, sizes.fromHeight, channels, fromType};
            ExpectAsPlain(to, from, CopyConverted, [&](ZPImage& dest, const ZPImage& source) {
                PlainCopy(dest, source, sizes.rect, Scaled);
            });
            ExpectAsPlain(
                to, from, [](ZPImage& dest, ZPImage& source) { CopyCentred(&dest, &source); },
                [&](ZPImage& dest, ZPImage& source) { PlainRegion(dest, source, sizes.rect); });
        });
    }
}

}  // namespace
}  // namespace velorin
