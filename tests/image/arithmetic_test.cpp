#include "image/arithmetic.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "support/checksum.h"
#include "support/wrapping_handle.h"

namespace velorin {
namespace {

constexpr int kWidth = 7;
constexpr int kHeight = 131;

// The sum of what an operation makes of noise in every form.
template <typename Change>
std::uint64_t SumOf(const Change& change) {
    std::uint64_t sum = kEmptySum;
    ForEachPictureForm([&](int type, int channels) {
        sum = ChecksumOfNoise(
            {kWidth, kHeight, channels, type}, {1, 1, 1, ZPPixUChar},
            [&](ZPImage& image, ZPImage&) { change(image); }, sum);
    });
    return sum;
}
// And for every pair of types.
template <typename Combine>
std::uint64_t SumOfPairs(const Combine& combine) {
    std::uint64_t sum = kEmptySum;
    ForEachTypePair([&](int toType, int fromType, int channels) {
        sum = ChecksumOfNoise({kWidth, kHeight, channels, toType},
                              {kWidth, kHeight, channels, fromType}, combine, sum);
    });
    return sum;
}

TEST(Arithmetic, SameBitsInEveryForm) {
    const float pixel[4] = {0.5f, -1.0f, 1e-41f, 7.0f};
    EXPECT_EQ(SumOf([](ZPImage& image) { FillColor(image, 0.25f, 1.0f, 0.5f, 0.7f); }),
              14330974530775415286u);
    EXPECT_EQ(SumOf([&](ZPImage& image) { FillPixel(image, pixel); }), 14510959668314772973u);
    EXPECT_EQ(SumOf([](ZPImage& image) { ScaleValues(image, 1.5f); }), 4075071371505869591u);
    EXPECT_EQ(SumOf(InvertImage), 3387649482680636358u);
    EXPECT_EQ(SumOfPairs(MaxInto), 9810328128386871055u);
    EXPECT_EQ(SumOfPairs(SubtractInto), 15656149351362154644u);
}

TEST(FillColor, FractionsOfWhite) {
    // A half goes up in bytes and down in words. In double 0.7f * 255 stays below the half; in
    // float it would become 178.5.
    constexpr float kStored[][4] = {{64, 255, 128, 178}, {16384, 65535, 32767, 45874}};
    for (int type : {ZPPixUChar, ZPPixUShort}) {
        ZPImage image(1, 1, 4, type, 0);
        FillColor(image, 0.25f, 1.0f, 0.5f, 0.7f);
        for (int c = 0; c < 4; ++c) EXPECT_EQ(ValueAt(image, 0, 0, c), kStored[type][c]);
    }
    ExpectAsPlain(
        {2, 2, 5, ZPPixUChar}, [](ZPImage& image) { FillColor(image, 1, 1, 1, 1); }, kNothing);
    ZPImage floats(1, 1, 1, ZPPixFloat, 0);
    floats.whitePoint = 2.0f;
    FillColor(floats, 0.75f, 0, 0, 0);
    EXPECT_EQ(ValueAt(floats, 0, 0, 0), 1.5f);
}

TEST(ScaleValues, FactorsNextToOneDoNothing) {
    float value = 1e6f;
    ZPImage image(&value, 1, 1, 1, ZPPixFloat, 0);
    for (float factor : {1.0000001f, 1.0f + 8 * 0x1p-23f, 1.0f - 16 * 0x1p-24f}) {
        ScaleValues(image, factor);
        EXPECT_EQ(value, 1e6f);
    }
    ScaleValues(image, 1.0f + 9 * 0x1p-23f);
    EXPECT_NE(value, 1e6f);
}

TEST(Invert, TurnsAsManyValuesOfARowAroundAsThereAreColumns) {
    std::uint8_t bytes[] = {1, 2, 3, 4, 5, 6};
    ZPImage pairs(bytes, 3, 1, 2, ZPPixUChar, 0);
    for (auto invert : {InvertImage, InvertBytes}) {
        invert(pairs);
        EXPECT_EQ(bytes[2], invert == InvertImage ? 252 : 3);
        EXPECT_EQ(bytes[3], 4);
    }
    float quarter = 0.25f;
    ZPImage floats(&quarter, 1, 1, 1, ZPPixFloat, 0);
    floats.whitePoint = 2.0f;
    InvertImage(floats);
    EXPECT_EQ(quarter, 0.75f);
}

using Values = std::vector<float>;

Values ReadBack(const ZPImage& image, int x, int y) {
    Values values(image.channels, -5.0f);
    ReadPixel(image, x, y, values.data());
    return values;
}

TEST(PixelAccess, ReadsAndWritesWhatTheTypeSays) {
    const float color[] = {7.9f, 300.0f, -1.0f};
    ZPImage bytes(2, 2, 3, ZPPixUChar, 1);
    WritePixel(bytes, 1, 0, color);
    EXPECT_EQ(ReadBack(bytes, 1, 0), (Values{7, 44, 255}));
    ZPImage floats(2, 2, 2, ZPPixFloat, 0);
    WritePixel(floats, 0, 1, color);
    EXPECT_EQ(ValueAt(floats, 0, 1, 1), 300.0f);
    // A float image is read as 16-bit words from its first bytes.
    std::uint16_t words[2];
    std::memcpy(words, color, sizeof words);
    EXPECT_EQ(ReadBack(floats, 0, 1), Values(words, words + 2));
    ZPImage doubles(1, 1, 1, ZPPixDouble, 0);
    WritePixel(doubles, 0, 0, color);
    EXPECT_EQ(ValueAt(doubles, 0, 0, 0), 7.9f);
    EXPECT_EQ(ReadBack(doubles, 0, 0), Values{-5});
}

// What a scale of the host's depth makes of the values of a 16-bit image.
template <typename Scale>
Values ScaledWords(std::vector<std::uint16_t> words, int channels, const Scale& scale) {
    const int width = static_cast<int>(words.size()) / channels;
    const ZPImage image(words.data(), width, 1, channels, ZPPixUShort, 0);
    WrappingHandle handle(image);
    EXPECT_EQ(scale(&handle), 0);
    return {words.begin(), words.end()};
}
Values Widened(std::vector<std::uint16_t> words, int channels, float scale) {
    return ScaledWords(std::move(words), channels,
                       [&](KQImage* image) { return ScaleForHostDepth(image, scale); });
}
Values Narrowed(std::vector<std::uint16_t> words, int channels, float scale) {
    return ScaledWords(std::move(words), channels,
                       [&](KQImage* image) { return ScaleClamped(image, scale, 4095.0f); });
}

TEST(HostDepth, WidensTwelveBitsToSixteen) {
    const float scale = 16.003662f;
    EXPECT_EQ(Widened({0, 1, 2048, 4095}, 4, scale), (Values{0, 16, 32776, 65535}));
    // Four channels keep the low bits, one channel clamps.
    EXPECT_EQ(Widened({4096, 0, 0, 0}, 4, scale), (Values{15, 0, 0, 0}));
    EXPECT_EQ(Widened({4096, 4095, 1}, 1, scale), (Values{65535, 65535, 16}));
    EXPECT_EQ(Widened({9, 9, 9, 9}, 4, 0.0f), (Values{0, 0, 0, 65535}));
    EXPECT_EQ(Widened({9, 9, 9}, 3, 0.0f), (Values{0, 0, 0}));
    // The half is added in double, unlike below.
    EXPECT_EQ(Widened({1, 1, 1, 1}, 4, std::nextafter(0.5f, 0.0f)), (Values{0, 0, 0, 0}));
}

TEST(HostDepth, NarrowsUnpremultipliedAndClamped) {
    const float scale = static_cast<float>(4095.0 / 65535.0);
    // Colour over alpha first: 16384 / 0.5, then to 12 bits; alpha narrowed, not multiplied again.
    EXPECT_EQ(Narrowed({16384, 65535, 0, 32768}, 4, scale), (Values{2048, 4095, 0, 2048}));
    EXPECT_EQ(Narrowed({65535, 8, 7}, 3, scale), (Values{4095, 0, 0}));
    EXPECT_EQ(Narrowed({9, 9, 9, 9}, 4, 0.0f), (Values{0, 0, 0, 0}));
    EXPECT_EQ(Narrowed({9, 0}, 1, -1.0f), (Values{0, 0}));
    EXPECT_EQ(Narrowed({1}, 1, std::nextafter(0.5f, 0.0f)), (Values{1}));
}

TEST(HostDepth, TouchesSixteenBitsOnly) {
    const auto widen = [](ZPImage& image) {
        WrappingHandle handle(image);
        EXPECT_EQ(ScaleForHostDepth(&handle, 0.37f), 0);
    };
    const auto clear = [](ZPImage& image) {
        WrappingHandle handle(image);
        EXPECT_EQ(ScaleClamped(&handle, 0.0f, 1.0f), 0);
    };
    EXPECT_EQ(ChecksumOfNoise({kWidth, kHeight, 4, ZPPixUShort}, {1, 1, 1, ZPPixUChar},
                              [&](ZPImage& image, ZPImage&) { widen(image); }),
              6973048052242615490u);
    for (int type : {ZPPixUChar, ZPPixFloat}) {
        ExpectAsPlain({3, 3, 4, type}, widen, kNothing);
        ExpectAsPlain({3, 3, 4, type}, clear, kNothing);
    }
    EXPECT_EQ(ScaleForHostDepth(nullptr, 2.0f), ZPErrBadArgument);
    EXPECT_EQ(ScaleClamped(nullptr, 2.0f, 1.0f), ZPErrBadArgument);
    KQImage empty;
    EXPECT_EQ(ScaleForHostDepth(&empty, 2.0f), 0);
    EXPECT_EQ(ScaleClamped(&empty, 2.0f, 1.0f), 0);
}

}  // namespace
}  // namespace velorin
