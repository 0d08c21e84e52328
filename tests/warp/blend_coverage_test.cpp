#include "warp/blend_coverage.h"

#include <gtest/gtest.h>

#include <array>

#include "image/copy.h"
#include "support/checksum.h"

namespace velorin {
namespace {

using Pixel = std::array<float, 4>;
using Blend = decltype(ZPBlendCoverage);

constexpr int kWidth = 19;
constexpr int kHeight = 67;

// Full, empty and partial values in about equal numbers; every third row is full.
void DrawCoverage(ZPImage& image, int channel, Noise& noise) {
    ForEachPixel(image, [&](int x, int y) {
        const int kind = y % 3 == 0 ? 1 : noise.Int(0, 2);
        if (kind < 2) PutValue(image, x, y, channel, image.whitePoint * kind);
    });
}

Pixel PixelAt(const ZPImage& image, int x, int y) {
    Pixel pixel{};
    for (int c = 0; c < image.channels; ++c) pixel[c] = ValueAt(image, x, y, c);
    return pixel;
}

// Fills four images with noise, of which a third of the coverage is full and a third empty.
void DrawCase(ZPImage& first, ZPImage& second, ZPImage& coverageF, ZPImage& coverageS) {
    Noise noise(31);
    for (ZPImage* image : {&first, &second, &coverageF, &coverageS}) noise.Fill(*image);
    for (ZPImage* image : {&coverageF, &coverageS}) DrawCoverage(*image, 0, noise);
    const bool inFirst = coverageF.pixelType == ZPPixFloat;
    for (ZPImage* image : {&first, &second}) {
        if (image->channels == 4) DrawCoverage(*image, inFirst ? 0 : 3, noise);
    }
}

TEST(BlendCoverage, SameBitsInEveryForm) {
    std::uint64_t sum = kEmptySum;
    ForEachPictureForm([&](int type, int channels) {
        for (int matteType : {ZPPixUChar, ZPPixUShort, ZPPixFloat}) {
            ZPImage first(kWidth, kHeight, channels, type, 0);
            ZPImage second(kWidth, kHeight, channels, type, 1);
            ZPImage coverageF(kWidth, kHeight, 1, matteType, 1);
            ZPImage coverageS(kWidth, kHeight, 1, matteType, 0);
            ZPImage expected(kWidth, kHeight, channels, type, 0);
            DrawCase(first, second, coverageF, coverageS);
            for (float share : {0.3f, 0.0f, 1.0f, -0.5f, 2.0f}) {
                for (Blend* blend : {ZPBlendCoverage, ZPBlendCoverageYCbCr}) {
                    blend(expected, first, second, coverageF, coverageS, share);
                    sum = Checksum(expected, sum);
                    ForEachThreadCount([&] {
                        ForEachInstructionSet([&] {
                            GapImage dest(kWidth, kHeight, channels, type, 1);
                            blend(*dest, first, second, coverageF, coverageS, share);
                            EXPECT_SAME_IMAGE(*dest, expected);
                            EXPECT_TRUE(dest.GapsUntouched());
                        });
                    });
                }
            }
        }
    });
    EXPECT_EQ(sum, 8200386364648866217u);
}

Pixel BlendOne(Blend blend, const Pixel& f, const Pixel& s, float share) {
    ZPImage first(1, 1, 4, ZPPixFloat, 0), second(1, 1, 4, ZPPixFloat, 0);
    ZPImage dest(1, 1, 4, ZPPixFloat, 0), coverage(1, 1, 1, ZPPixUChar, 0);
    PutEach(first, [&](int, int, int c) { return f[c]; });
    PutEach(second, [&](int, int, int c) { return s[c]; });
    blend(dest, first, second, coverage, coverage, share);
    return PixelAt(dest, 0, 0);
}

TEST(BlendCoverage, Pinned) {
    const Pixel f{0.1f, 0.2f, 0.3f, 0.4f}, s{0.3f, 0.1f, 0.2f, 0.7f};
    const Pixel mixed = BlendOne(ZPBlendCoverage, f, s, 0.37f);
    EXPECT_SAME_BITS(mixed[0], 0x1.04eec4p-2f);
    EXPECT_SAME_BITS(mixed[3], 0.7f);
    const Pixel luma = BlendOne(ZPBlendCoverageYCbCr, {1.0f, 0.2f, 0.3f, 0.4f}, s, 0.37f);
    EXPECT_SAME_BITS(luma[1], 0x1.b7e91p-3f);
    ZPImage dest(1, 1, 1, ZPPixFloat, 0), first(1, 1, 1, ZPPixFloat, 0),
        second(1, 1, 1, ZPPixFloat, 0);
    ZPImage coverageF(1, 1, 1, ZPPixUChar, 0), coverageS(1, 1, 1, ZPPixUChar, 0);
    PutAll(first, f[0]);
    PutAll(second, s[0]);
    PutAll(coverageF, 40);
    PutAll(coverageS, 200);
    ZPBlendCoverage(dest, first, second, coverageF, coverageS, 0.37f);
    EXPECT_SAME_BITS(ValueAt(dest, 0, 0, 0), 0x1.5d867ep-2f);
}

TEST(BlendCoverage, ClearsWhereImagesDoNotFit) {
    const ZPImage fits(4, 3, 4, ZPPixUChar, 0), narrow(3, 3, 4, ZPPixUChar, 0),
        three(4, 3, 3, ZPPixUChar, 0), words(4, 3, 4, ZPPixUShort, 0);
    const ZPImage matte(4, 3, 1, ZPPixUChar, 0), low(4, 2, 1, ZPPixUChar, 0),
        wide(4, 3, 1, ZPPixUShort, 0), two(4, 3, 2, ZPPixUChar, 0);
    const std::array<const ZPImage*, 3> kCases[] = {
        {&narrow, &matte, &matte}, {&three, &matte, &matte}, {&words, &matte, &matte},
        {&fits, &low, &low},       {&fits, &matte, &wide},   {&fits, &two, &two}};
    for (const auto& [second, coverageF, coverageS] : kCases) {
        for (Blend* blend : {ZPBlendCoverage, ZPBlendCoverageYCbCr}) {
            ZPImage dest(4, 3, 4, ZPPixUChar, 0), black(4, 3, 4, ZPPixUChar, 0);
            ClearImage(&black);
            Noise(33).Fill(dest);
            blend(dest, fits, *second, *coverageF, *coverageS, 0.5f);
            EXPECT_SAME_IMAGE(dest, black);
        }
    }
}

}  // namespace
}  // namespace velorin
