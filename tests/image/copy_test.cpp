#include "image/copy.h"

#include <gtest/gtest.h>

#include "support/checksum.h"

namespace velorin {
namespace {

// High enough for 8 workers, whose last one takes a remainder.
constexpr int kWidth = 7;
constexpr int kHeight = 131;

// The sum of what work(to, from) makes of `to` over all pairs of types; the sizes are those of `to`
// and of `from`.
template <typename Work>
std::uint64_t SumOf(int width, int height, int fromWidth, int fromHeight, const Work& work,
                    std::uint64_t sum = kEmptySum) {
    ForEachTypePair([&](int toType, int fromType, int channels) {
        sum = ChecksumOfNoise({width, height, channels, toType},
                              {fromWidth, fromHeight, channels, fromType}, work, sum);
    });
    return sum;
}

void CopyExactly(ZPImage& to, const ZPImage& from) {
    CopyExact(&to, &from);
}

TEST(Copy, WholeImagesAreClearedAndCopied) {
    ForEachPictureForm([](int type, int channels) {
        const Shape shape{kWidth, kHeight, channels, type};
        ExpectAsPlain(
            shape, [](ZPImage& image) { ClearImage(&image); },
            [](ZPImage& image) { PutAll(image, 0.0f); });
        ExpectAsPlain(shape, shape, CopyExactly, CopyPixels);
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

TEST(Copy, SameBitsForAllPairsOfTypes) {
    EXPECT_EQ(SumOf(kWidth + 2, kHeight, kWidth, kHeight + 3,
                    [](ZPImage& to, const ZPImage& from) {
                        CopyRect(to, 1, 2, from, 3, 5, 4, kHeight - 2);
                    }),
              14100701213296578727u);
    // Writes the first of one type and the second of two.
    const auto copyRegion = [](ZPImage& first, ZPImage& second) {
        CopyRegion(first, 4, 1, second, 2, 3, 3, kHeight - 4);
    };
    const auto swapped = [&](ZPImage& second, ZPImage& first) { copyRegion(first, second); };
    EXPECT_EQ(SumOf(kWidth, kHeight, kWidth, kHeight, copyRegion), 2089997567914858761u);
    EXPECT_EQ(SumOf(kWidth, kHeight, kWidth, kHeight, swapped), 6272574268258550056u);
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

TEST(Copy, OtherSizesAreCentred) {
    const auto centre = [](ZPImage& to, ZPImage& from) { CopyCentred(&to, &from); };
    const auto backwards = [](ZPImage& from, ZPImage& to) { CopyCentred(&to, &from); };
    constexpr int kSizes[][4] = {{9, 8, 9, 8}, {12, 21, 5, 16}, {5, 16, 12, 21},
                                 {6, 5, 5, 4}, {5, 4, 6, 5},    {6, 1, 3, 4}};
    const auto sumOf = [&](const auto& work) {
        std::uint64_t sum = kEmptySum;
        for (const auto& [w, h, fromW, fromH] : kSizes) sum = SumOf(w, h, fromW, fromH, work, sum);
        return sum;
    };
    EXPECT_EQ(sumOf(CopyConverted), 14126352431849048528u);
    EXPECT_EQ(sumOf(centre), 634564601511291695u);
    EXPECT_EQ(sumOf(backwards), 12096712063550404994u);
}

}  // namespace
}  // namespace velorin
