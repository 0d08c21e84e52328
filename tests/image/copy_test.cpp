#include "image/copy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "support/forms.h"
#include "support/gap_image.h"
#include "support/noise.h"

namespace velorin {
namespace {

// High enough for 8 workers, whose last one takes a remainder.
constexpr int kWidth = 7;
constexpr int kHeight = 131;

// The two ways to carry a value, in integers wide enough that no cut is out of range.
float Narrowed(int pixelType, long long number) {
    return static_cast<float>(number & (pixelType == ZPPixUChar ? 0xff : 0xffff));
}
float Cast(int pixelType, float value) {
    return pixelType == ZPPixFloat ? value : Narrowed(pixelType, static_cast<long long>(value));
}
float Scaled(const ZPImage& to, const ZPImage& from, float value) {
    const float product = value * (to.whitePoint / from.whitePoint);
    if (to.pixelType == ZPPixFloat) return product;
    return Narrowed(to.pixelType, static_cast<long long>(product + 0.5f));
}

template <typename Work>
void ForEachTypePair(Work&& work) {
    for (int to = 0; to < 3; ++to) {
        for (int from = 0; from < 3; ++from) {
            SCOPED_TRACE("types " + std::to_string(to) + " and " + std::to_string(from));
            work(to, from);
        }
    }
}

TEST(Copy, ClearZeroesPixelsAndNothingElse) {
    ForEachThreadCount([] {
        ForEachPictureForm([](int type, int channels) {
            for (int bottomUp : {0, 1}) {
                GapImage image(kWidth, kHeight, channels, type, bottomUp);
                Noise(1).Fill(*image);
                ClearImage(&*image);
                GapImage zero(kWidth, kHeight, channels, type, 0);
                for (int y = 0; y < kHeight; ++y) {
                    std::fill_n(zero->Row<char>(y), zero->RowPixelBytes(), 0);
                }
                EXPECT_SAME_IMAGE(*image, *zero);
                EXPECT_TRUE(image.GapsUntouched());
            }
        });
    });
    ClearImage(nullptr);
    ZPImage empty(nullptr, 3, 3, 1, ZPPixUChar, 0);
    ClearImage(&empty);
}

TEST(Copy, ExactCopiesEveryBitInAnyRowOrder) {
    ForEachThreadCount([] {
        ForEachPictureForm([](int type, int channels) {
            ForEachRowOrderPair([&](int toOrder, int fromOrder) {
                GapImage to(kWidth, kHeight, channels, type, toOrder);
                GapImage from(kWidth, kHeight, channels, type, fromOrder);
                Noise noise(2);
                noise.Fill(*from);
                if (type == ZPPixFloat) noise.Sprinkle(*from, 60);
                CopyExact(&*to, &*from);
                EXPECT_SAME_IMAGE(*to, *from);
                EXPECT_TRUE(to.GapsUntouched());
            });
        });
    });
}

TEST(Copy, ExactLeavesImagesThatDoNotFit) {
    GapImage to(4, 4, 2, ZPPixUChar, 0);
    Noise(3).Fill(*to);
    Snapshot before(*to);
    for (auto [width, height, channels, type] :
         {std::array{5, 4, 2, 0}, {4, 3, 2, 0}, {4, 4, 1, 0}, {4, 4, 2, 1}}) {
        GapImage other(width, height, channels, type, 0);
        CopyExact(&*to, &*other);
        EXPECT_SAME_IMAGE(*to, *before);
    }
    CopyExact(&*to, nullptr);
    CopyExact(nullptr, &*to);
    EXPECT_SAME_IMAGE(*to, *before);
}

TEST(Copy, RectScalesByWhitePoints) {
    ForEachThreadCount([] {
        ForEachTypePair([](int toType, int fromType) {
            for (int channels = 1; channels <= 4; ++channels) {
                ForEachRowOrderPair([&](int toOrder, int fromOrder) {
                    GapImage to(kWidth + 2, kHeight, channels, toType, toOrder);
                    GapImage from(kWidth, kHeight + 3, channels, fromType, fromOrder);
                    Noise noise(4);
                    noise.Fill(*to);
                    noise.Fill(*from);
                    Snapshot expected(*to);
                    for (int y = 0; y < kHeight - 2; ++y) {
                        for (int i = 0; i < 4 * channels; ++i) {
                            const float value = ValueAt(*from, 3, y + 5, i);
                            PutValue(*expected, 1, y + 2, i, Scaled(*to, *from, value));
                        }
                    }
                    CopyRect(*to, 1, 2, *from, 3, 5, 4, kHeight - 2);
                    EXPECT_SAME_IMAGE(*to, *expected);
                    EXPECT_TRUE(to.GapsUntouched());
                });
            }
        });
    });
}

TEST(Copy, RectBetweenWhitePointsOfOneType) {
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
    ForEachThreadCount([] {
        ForEachTypePair([](int firstType, int secondType) {
            for (int channels = 1; channels <= 4; ++channels) {
                ForEachRowOrderPair([&](int firstOrder, int secondOrder) {
                    GapImage first(kWidth, kHeight, channels, firstType, firstOrder);
                    GapImage second(kWidth, kHeight, channels, secondType, secondOrder);
                    Noise noise(5);
                    noise.Fill(*first);
                    noise.Fill(*second);
                    Snapshot expectedFirst(*first);
                    Snapshot expectedSecond(*second);
                    for (int y = 0; y < kHeight - 4; ++y) {
                        for (int i = 0; i < 3 * channels; ++i) {
                            const float a = ValueAt(*first, 4, y + 1, i);
                            const float b = ValueAt(*second, 2, y + 3, i);
                            if (firstType == secondType) {
                                PutValue(*expectedFirst, 4, y + 1, i, b);
                            } else {
                                PutValue(*expectedSecond, 2, y + 3, i, Cast(secondType, a));
                            }
                        }
                    }
                    CopyRegion(*first, 4, 1, *second, 2, 3, 3, kHeight - 4);
                    EXPECT_SAME_IMAGE(*first, *expectedFirst);
                    EXPECT_SAME_IMAGE(*second, *expectedSecond);
                    EXPECT_TRUE(first.GapsUntouched() && second.GapsUntouched());
                });
            }
        });
    });
}

TEST(Copy, DirectionOfRegionAgainstRect) {
    std::uint16_t integers[] = {40000};
    float floats[] = {0.61036f};
    ZPImage first(integers, 1, 1, 1, ZPPixUShort, 0);
    ZPImage second(floats, 1, 1, 1, ZPPixFloat, 0);
    CopyRegion(first, 0, 0, second, 0, 0, 1, 1);
    EXPECT_EQ(floats[0], 40000.0f);
    EXPECT_EQ(integers[0], 40000);
    floats[0] = 0.61036f;
    integers[0] = 7;
    CopyRect(first, 0, 0, second, 0, 0, 1, 1);
    EXPECT_EQ(integers[0], 40000);
    // What does not fit keeps its low bits: 65536 + 0.5 cut to 16 bits.
    floats[0] = 65536.0f / 65535.0f;
    CopyRect(first, 0, 0, second, 0, 0, 1, 1);
    EXPECT_EQ(integers[0], 0);
}

// Both centring copies of a small image into a larger one and back, pixels being their place.
template <typename Copy>
void ExpectCentred(const Copy& copy) {
    GapImage small(640, 480, 1, ZPPixUShort, 1);
    GapImage large(720, 486, 1, ZPPixUShort, 0);
    Noise(6).Fill(*small);
    Noise(7).Fill(*large);
    Snapshot expected(*large);
    for (int y = 0; y < 480; ++y) {
        for (int x = 0; x < 640; ++x) {
            PutValue(*expected, x + 40, y + 3, 0, ValueAt(*small, x, y, 0));
        }
    }
    copy(*large, *small);
    EXPECT_SAME_IMAGE(*large, *expected);
    GapImage back(640, 480, 1, ZPPixUShort, 0);
    copy(*back, *large);
    EXPECT_SAME_IMAGE(*back, *small);
}

TEST(Copy, OtherSizesAreCentred) {
    ExpectCentred([](ZPImage& to, ZPImage& from) { CopyCentred(&to, &from); });
    ExpectCentred([](ZPImage& to, ZPImage& from) { CopyConverted(to, from); });
    // One axis each way, odd differences rounded down.
    GapImage wide(6, 1, 1, ZPPixUChar, 0);
    GapImage high(3, 4, 1, ZPPixUChar, 0);
    ClearImage(&*wide);
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 3; ++x) PutValue(*high, x, y, 0, static_cast<float>(10 * y + x));
    }
    CopyCentred(&*wide, &*high);
    const float expected[] = {0, 10, 11, 12, 0, 0};
    for (int x = 0; x < 6; ++x) EXPECT_EQ(ValueAt(*wide, x, 0, 0), expected[x]);
}

TEST(Copy, CentredCopyOfTwoTypesGoesTheOtherWay) {
    GapImage destination(5, 5, 1, ZPPixUChar, 0);
    GapImage source(3, 3, 1, ZPPixUShort, 0);
    Noise(8).Fill(*destination);
    Noise(9).Fill(*source);
    Snapshot before(*destination);
    CopyCentred(&*destination, &*source);
    EXPECT_SAME_IMAGE(*destination, *before);
    EXPECT_EQ(ValueAt(*source, 0, 0, 0), ValueAt(*destination, 1, 1, 0));
    CopyCentred(nullptr, &*source);
    CopyCentred(&*destination, nullptr);
    EXPECT_SAME_IMAGE(*destination, *before);
}

TEST(Copy, ConvertedScalesWholeImages) {
    ForEachTypePair([](int toType, int fromType) {
        GapImage to(kWidth, kHeight, 3, toType, 1);
        GapImage from(kWidth, kHeight, 3, fromType, 0);
        Noise(10).Fill(*from);
        CopyConverted(*to, *from);
        for (int y = 0; y < kHeight; ++y) {
            for (int i = 0; i < kWidth * 3; ++i) {
                const float value = ValueAt(*from, 0, y, i);
                const float expected = toType == fromType ? value : Scaled(*to, *from, value);
                EXPECT_SAME_BITS(ValueAt(*to, 0, y, i), expected);
            }
        }
    });
}

}  // namespace
}  // namespace velorin
