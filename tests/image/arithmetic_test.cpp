#include "image/arithmetic.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "image/copy.h"
#include "support/forms.h"
#include "support/gap_image.h"
#include "support/noise.h"
#include "support/wrapping_handle.h"

namespace velorin {
namespace {

constexpr int kWidth = 7;
constexpr int kHeight = 131;

// Runs change(image) on noise of every form in both row orders and with all thread counts, and
// compares with expected(image, value, channel) of every value.
template <typename Change, typename Expected>
void ExpectEachValue(const Change& change, const Expected& expected) {
    ForEachThreadCount([&] {
        ForEachPictureForm([&](int type, int channels) {
            for (int bottomUp : {0, 1}) {
                GapImage image(kWidth, kHeight, channels, type, bottomUp);
                Noise noise(21);
                noise.Fill(*image);
                if (type == ZPPixFloat) noise.Sprinkle(*image, 60);
                Snapshot result(*image);
                for (int y = 0; y < kHeight; ++y) {
                    for (int i = 0; i < kWidth * channels; ++i) {
                        const float value = ValueAt(*image, 0, y, i);
                        PutValue(*result, 0, y, i, expected(*image, value, i % channels));
                    }
                }
                change(*image);
                EXPECT_SAME_IMAGE(*image, *result);
                EXPECT_TRUE(image.GapsUntouched());
            }
        });
    });
}

TEST(FillColor, FractionsOfWhite) {
    constexpr float kColor[] = {0.25f, 1.0f, 0.0f, 0.7f};
    // In double 0.7f * 255 stays below the half; in float it would become 178.5.
    constexpr float kBytes[] = {64.0f, 255.0f, 0.0f, 178.0f};
    constexpr float kWords[] = {16384.0f, 65535.0f, 0.0f, 45874.0f};
    ExpectEachValue(
        [&](ZPImage& image) { FillColor(image, kColor[0], kColor[1], kColor[2], kColor[3]); },
        [&](const ZPImage& image, float, int c) {
            const float* stored[] = {kBytes, kWords, kColor};
            return stored[image.pixelType][c];
        });
}

TEST(FillColor, HalvesGoUpInBytesAndDownInWords) {
    ZPImage words(1, 1, 1, ZPPixUShort, 0);
    FillColor(words, 0.5f, 0, 0, 0);  // 32767.5
    EXPECT_EQ(ValueAt(words, 0, 0, 0), 32767.0f);
    ZPImage bytes(1, 1, 1, ZPPixUChar, 0);
    FillColor(bytes, 0.5f, 0, 0, 0);  // 127.5
    EXPECT_EQ(ValueAt(bytes, 0, 0, 0), 128.0f);
    ZPImage floats(1, 1, 1, ZPPixFloat, 0);
    floats.whitePoint = 2.0f;
    FillColor(floats, 0.75f, 0, 0, 0);
    EXPECT_EQ(ValueAt(floats, 0, 0, 0), 1.5f);
}

TEST(FillColor, OtherFormsAreLeft) {
    std::uint8_t block[20];
    std::memset(block, 3, sizeof block);
    ZPImage fiveChannels(block, 2, 2, 5, ZPPixUChar, 0);
    ZPImage signedBytes(block, 2, 2, 4, ZPPixChar, 0);
    FillColor(fiveChannels, 1, 1, 1, 1);
    FillColor(signedBytes, 1, 1, 1, 1);
    for (std::uint8_t value : block) EXPECT_EQ(value, 3);
}

TEST(FillPixel, CopiesThePixelEverywhere) {
    float pixel[4] = {0.5f, -1.0f, 1e-41f, 7.0f};
    const auto* words = reinterpret_cast<const std::uint16_t*>(pixel);
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(pixel);
    ExpectEachValue([&](ZPImage& image) { FillPixel(image, pixel); },
                    [&](const ZPImage& image, float, int c) -> float {
                        if (image.pixelType == ZPPixUChar) return bytes[c];
                        return image.pixelType == ZPPixUShort ? words[c] : pixel[c];
                    });
}

TEST(ScaleValues, Truncates) {
    ExpectEachValue([](ZPImage& image) { ScaleValues(image, 0.3f); },
                    [](const ZPImage&, float value, int) { return value * 0.3f; });
    std::uint8_t bytes[] = {3, 200};
    ZPImage image(bytes, 2, 1, 1, ZPPixUChar, 0);
    ScaleValues(image, 1.5f);
    EXPECT_EQ(bytes[0], 4);   // 4.5
    EXPECT_EQ(bytes[1], 44);  // 300
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

// Runs combine(destination, source) over all pairs of types and channel counts; `rule` is in float
// and its result is written by truncation.
template <typename Combine, typename Rule>
void ExpectCombined(const Combine& combine, const Rule& rule) {
    ForEachThreadCount([&] {
        for (int pair = 0; pair < 9; ++pair) {
            for (int channels = 1; channels <= 4; ++channels) {
                ForEachRowOrderPair([&](int toOrder, int fromOrder) {
                    GapImage to(kWidth, kHeight, channels, pair / 3, toOrder);
                    GapImage from(kWidth, kHeight, channels, pair % 3, fromOrder);
                    Noise noise(22);
                    noise.Fill(*to);
                    noise.Fill(*from);
                    Snapshot expected(*to);
                    for (int y = 0; y < kHeight; ++y) {
                        for (int i = 0; i < kWidth * channels; ++i) {
                            const float ours = ValueAt(*to, 0, y, i);
                            PutValue(*expected, 0, y, i, rule(ours, ValueAt(*from, 0, y, i)));
                        }
                    }
                    combine(*to, *from);
                    EXPECT_SAME_IMAGE(*to, *expected);
                    EXPECT_TRUE(to.GapsUntouched());
                });
            }
        }
    });
}

TEST(Combine, MaximumAndDifference) {
    ExpectCombined(MaxInto, [](float a, float b) { return b > a ? b : a; });
    ExpectCombined(SubtractInto, [](float a, float b) { return a - b; });
}

TEST(Combine, DifferencesKeepLowBits) {
    ZPImage a(1, 1, 1, ZPPixUChar, 0);
    ZPImage b(1, 1, 1, ZPPixUChar, 0);
    PutValue(a, 0, 0, 0, 5.0f);
    PutValue(b, 0, 0, 0, 7.0f);
    SubtractInto(a, b);
    EXPECT_EQ(ValueAt(a, 0, 0, 0), 254.0f);
}

TEST(Invert, TurnsValuesAround) {
    ForEachThreadCount([] {
        for (int type = 0; type < 3; ++type) {
            for (int bottomUp : {0, 1}) {
                GapImage image(kWidth, kHeight, 1, type, bottomUp);
                Noise(23).Fill(*image);
                Snapshot before(*image);
                InvertImage(*image);
                for (int y = 0; y < kHeight; ++y) {
                    for (int x = 0; x < kWidth; ++x) {
                        const float expected = image->whitePoint - ValueAt(*before, x, y, 0);
                        EXPECT_SAME_BITS(ValueAt(*image, x, y, 0), expected);
                    }
                }
                EXPECT_TRUE(image.GapsUntouched());
                if (type != ZPPixUChar) continue;
                InvertBytes(*image);
                EXPECT_SAME_IMAGE(*image, *before);
            }
        }
    });
    float quarter = 0.25f;
    ZPImage floats(&quarter, 1, 1, 1, ZPPixFloat, 0);
    floats.whitePoint = 2.0f;
    InvertImage(floats);
    EXPECT_EQ(quarter, 0.75f);
}

TEST(Invert, CountsValuesNotPixels) {
    std::uint16_t words[] = {1, 2, 3, 4};
    ZPImage image(words, 2, 1, 2, ZPPixUShort, 0);
    InvertImage(image);
    EXPECT_EQ(words[1], 65533);
    EXPECT_EQ(words[2], 3);
    std::uint8_t bytes[] = {1, 2, 3, 4};
    ZPImage wide(bytes, 2, 1, 2, ZPPixUChar, 0);
    InvertBytes(wide);
    EXPECT_EQ(bytes[1], 253);
    EXPECT_EQ(bytes[2], 3);
}

TEST(PixelAccess, ReadsAndWritesWhatTheTypeSays) {
    ZPImage bytes(2, 2, 3, ZPPixUChar, 1);
    const float color[4] = {7.9f, 300.0f, -1.0f, 0.0f};
    WritePixel(bytes, 1, 0, color);
    float values[4] = {};
    ReadPixel(bytes, 1, 0, values);
    EXPECT_EQ(values[0], 7.0f);
    EXPECT_EQ(values[1], 44.0f);
    EXPECT_EQ(values[2], 255.0f);
    ZPImage floats(2, 2, 2, ZPPixFloat, 0);
    WritePixel(floats, 0, 1, color);
    EXPECT_EQ(ValueAt(floats, 0, 1, 1), 300.0f);
    // A float image is read as 16-bit words from its first bytes.
    ReadPixel(floats, 0, 1, values);
    std::uint16_t words[2];
    std::memcpy(words, ChannelAt(floats, 0, 1, 0), sizeof words);
    EXPECT_EQ(values[0], words[0]);
    EXPECT_EQ(values[1], words[1]);
    ZPImage doubles(1, 1, 1, ZPPixDouble, 0);
    WritePixel(doubles, 0, 0, color);
    EXPECT_EQ(ValueAt(doubles, 0, 0, 0), 7.9f);
    values[0] = -5.0f;
    ReadPixel(doubles, 0, 0, values);
    EXPECT_EQ(values[0], -5.0f);
}

// What a scale of the host's depth makes of the first values of a 16-bit image.
template <typename Scale>
std::vector<float> ScaledWords(std::vector<std::uint16_t> words, int channels, const Scale& scale) {
    const int width = static_cast<int>(words.size()) / channels;
    const ZPImage image(words.data(), width, 1, channels, ZPPixUShort, 0);
    WrappingHandle handle(image);
    EXPECT_EQ(scale(&handle), 0);
    return {words.begin(), words.end()};
}

TEST(HostDepth, WidensTwelveBitsToSixteen) {
    const auto widen = [](KQImage* image) { return ScaleForHostDepth(image, 16.003662f); };
    EXPECT_EQ(ScaledWords({0, 1, 2048, 4095}, 4, widen), (std::vector<float>{0, 16, 32776, 65535}));
    // Four channels keep the low bits, one channel clamps.
    EXPECT_EQ(ScaledWords({4096, 0, 0, 0}, 4, widen)[0], 15.0f);
    EXPECT_EQ(ScaledWords({4096, 4095, 1}, 1, widen), (std::vector<float>{65535, 65535, 16}));
    const auto black = [](KQImage* image) { return ScaleForHostDepth(image, 0.0f); };
    EXPECT_EQ(ScaledWords({9, 9, 9, 9}, 4, black), (std::vector<float>{0, 0, 0, 65535}));
    EXPECT_EQ(ScaledWords({9, 9, 9}, 3, black), (std::vector<float>{0, 0, 0}));
}

TEST(HostDepth, NarrowsUnpremultipliedAndClamped) {
    const auto narrow = [](KQImage* image) {
        return ScaleClamped(image, static_cast<float>(4095.0 / 65535.0), 4095.0f);
    };
    // Colour over alpha first: 16384 / 0.5, then to 12 bits; alpha narrowed, not multiplied again.
    EXPECT_EQ(ScaledWords({16384, 65535, 0, 32768}, 4, narrow),
              (std::vector<float>{2048, 4095, 0, 2048}));
    EXPECT_EQ(ScaledWords({65535, 8, 7}, 3, narrow), (std::vector<float>{4095, 0, 0}));
    const auto clear = [](KQImage* image) { return ScaleClamped(image, 0.0f, 4095.0f); };
    EXPECT_EQ(ScaledWords({9, 9, 9, 9}, 4, clear), (std::vector<float>{0, 0, 0, 0}));
    const auto negative = [](KQImage* image) { return ScaleClamped(image, -1.0f, 4095.0f); };
    EXPECT_EQ(ScaledWords({9, 0}, 1, negative), (std::vector<float>{0, 0}));
}

TEST(HostDepth, OnlyWideningAddsTheHalfInDouble) {
    const float belowHalf = std::nextafter(0.5f, 0.0f);
    const auto widen = [&](KQImage* image) { return ScaleForHostDepth(image, belowHalf); };
    const auto narrow = [&](KQImage* image) { return ScaleClamped(image, belowHalf, 4095.0f); };
    EXPECT_EQ(ScaledWords({1, 1, 1, 1}, 4, widen), (std::vector<float>{0, 0, 0, 0}));
    EXPECT_EQ(ScaledWords({1}, 1, narrow), (std::vector<float>{1}));
}

TEST(HostDepth, AllRowOrdersAndThreads) {
    ForEachThreadCount([] {
        for (int bottomUp : {0, 1}) {
            GapImage image(kWidth, kHeight, 4, ZPPixUShort, bottomUp);
            Noise(24).Fill(*image);
            Snapshot expected(*image);
            for (int y = 0; y < kHeight; ++y) {
                for (int i = 0; i < kWidth * 4; ++i) {
                    const float product = ValueAt(*image, 0, y, i) * 0.37f;
                    const double raised = static_cast<double>(product) + 0.5;
                    PutValue(*expected, 0, y, i, static_cast<float>(std::floor(raised)));
                }
            }
            WrappingHandle handle(*image);
            ScaleForHostDepth(&handle, 0.37f);
            EXPECT_SAME_IMAGE(*image, *expected);
            EXPECT_TRUE(image.GapsUntouched());
        }
    });
}

TEST(HostDepth, TouchesSixteenBitsOnly) {
    EXPECT_EQ(ScaleForHostDepth(nullptr, 2.0f), ZPErrBadArgument);
    EXPECT_EQ(ScaleClamped(nullptr, 2.0f, 1.0f), ZPErrBadArgument);
    KQImage empty;
    EXPECT_EQ(ScaleForHostDepth(&empty, 2.0f), 0);
    EXPECT_EQ(ScaleClamped(&empty, 2.0f, 1.0f), 0);
    for (int type : {ZPPixUChar, ZPPixFloat}) {
        GapImage image(3, 3, 4, type, 0);
        Noise(25).Fill(*image);
        Snapshot before(*image);
        WrappingHandle handle(*image);
        EXPECT_EQ(ScaleForHostDepth(&handle, 2.0f), 0);
        EXPECT_EQ(ScaleClamped(&handle, 0.0f, 1.0f), 0);
        EXPECT_SAME_IMAGE(*image, *before);
    }
}

}  // namespace
}  // namespace velorin
