#include "warp/blend_coverage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "image/copy.h"
#include "support/forms.h"
#include "support/gap_image.h"
#include "support/noise.h"

namespace velorin {
namespace {

using Pixel = std::array<float, 4>;
using Blend = decltype(ZPBlendCoverage);

constexpr int kWidth = 19;
constexpr int kHeight = 67;

// Full, empty and partial values in about equal numbers.
void FillCoverage(ZPImage& image, int channel, Noise& noise) {
    for (int y = 0; y < image.height; ++y) {
        for (int x = 0; x < image.width; ++x) {
            const int kind = noise.Int(0, 2);
            if (kind < 2) PutValue(image, x, y, channel, image.whitePoint * kind);
        }
    }
}

float Stored(float value, int type) {
    const float white = type == ZPPixUChar ? 255.0f : 65535.0f;
    if (type == ZPPixFloat) return value;
    return std::floor(std::max(std::min(value + 0.5f, white), 0.0f));
}

// Lays f over s: step 1 of the rule for alphas.
Pixel Under(const Pixel& f, const Pixel& s, float white) {
    const float k = f[3] / white;
    Pixel p{};
    for (int c = 0; c < 3; ++c) {
        p[c] = f[3] == 0 ? s[c] : f[3] == white ? f[c] : s[c] * (1 - k) + f[c];
    }
    p[3] = f[3] == 0 ? s[3] : f[3] == white ? white : (white - s[3]) * k + s[3];
    return p;
}

Pixel PlainAlpha(const Pixel& f, const Pixel& s, float white, float share, int type) {
    const Pixel p = Under(f, s, white), q = Under(s, f, white);
    const float top = std::max(f[3], s[3]);
    const float ma = p[3] + (q[3] - p[3]) * share;
    Pixel result{};
    for (int c = 0; c < 4; ++c) {
        float m = p[c] + (q[c] - p[c]) * share;
        if (ma != top) m = c == 3 ? top : m * top / ma;
        result[c] = Stored(m, type);
        if (ma != top && ma == 0) {
            const float whole = p[3] > q[3] ? p[c] : q[c];
            result[c] = type == ZPPixFloat ? whole : std::floor(std::min(whole, white));
        }
    }
    return result;
}

Pixel PlainYCbCr(const Pixel& f, const Pixel& s, float white, float share, int type) {
    const auto fill = [white](const Pixel& front, const Pixel& back) {
        Pixel p{};
        if (back[0] == white) {
            p[0] = back[0];
            for (int c = 1; c < 4; ++c) p[c] = back[c] * (1 - front[0] / white) + front[c];
        } else if (front[0] == white) {
            p = front;
        }
        return p;
    };
    const Pixel p = fill(f, s), q = fill(s, f);
    Pixel result{};
    for (int c = 0; c < 4; ++c) result[c] = Stored(p[c] + (q[c] - p[c]) * share, type);
    return result;
}

float PlainByMattes(float f, float s, float mF, float mS, float share, int type) {
    const float kF = 1 - mF, kS = 1 - mS;
    if (mF == 1 && mS == 1) return Stored(f + (s - f) * share, type);
    if (mF == 0) return s;
    if (mS == 0) return f;
    return Stored((f + s * kF) * (1 - share) + (f * kS + s) * share, type);
}

Pixel PixelAt(const ZPImage& image, int x, int y) {
    Pixel pixel{};
    for (int c = 0; c < image.channels; ++c) pixel[c] = ValueAt(image, x, y, c);
    return pixel;
}

void PutPixel(ZPImage& image, int x, int y, const Pixel& pixel) {
    for (int c = 0; c < image.channels; ++c) PutValue(image, x, y, c, pixel[c]);
}

void ExpectBlend(Blend blend, const ZPImage& first, const ZPImage& second, const ZPImage& coverageF,
                 const ZPImage& coverageS, float share, const ZPImage& expected) {
    ForEachThreadCount([&] {
        for (int bottomUp : {0, 1}) {
            GapImage dest(kWidth, kHeight, first.channels, first.pixelType, bottomUp);
            blend(*dest, first, second, coverageF, coverageS, share);
            EXPECT_SAME_IMAGE(*dest, expected);
            EXPECT_TRUE(dest.GapsUntouched());
        }
    });
}

TEST(BlendCoverage, EqualsPlainRuleInEveryForm) {
    ForEachPictureForm([](int type, int channels) {
        Noise noise(31);
        ZPImage first(kWidth, kHeight, channels, type, 0),
            expected(kWidth, kHeight, channels, type, 0);
        ZPImage second(kWidth, kHeight, channels, type, 1);
        for (int matteType : {ZPPixUChar, ZPPixUShort, ZPPixFloat}) {
            ZPImage coverageF(kWidth, kHeight, 1, matteType, 1),
                coverageS(kWidth, kHeight, 1, matteType, 0);
            for (ZPImage* image : {&first, &second, &coverageF, &coverageS}) {
                noise.Fill(*image);
                if (image->channels == 1) FillCoverage(*image, 0, noise);
                if (image->channels == 4)
                    FillCoverage(*image, matteType == ZPPixFloat ? 0 : 3, noise);
            }
            const float white = coverageF.whitePoint;
            for (float share : {0.3f, 0.0f, 1.0f, -0.5f, 2.0f}) {
                const auto plain = [&](auto rule) {
                    for (int y = 0; y < kHeight; ++y) {
                        for (int x = 0; x < kWidth; ++x) {
                            PutPixel(expected, x, y,
                                     rule(x, y, PixelAt(first, x, y), PixelAt(second, x, y)));
                        }
                    }
                };
                plain([&](int x, int y, const Pixel& f, const Pixel& s) {
                    if (channels == 4) return PlainAlpha(f, s, first.whitePoint, share, type);
                    Pixel result{};
                    const float mF = ValueAt(coverageF, x, y, 0) / white;
                    const float mS = ValueAt(coverageS, x, y, 0) / white;
                    for (int c = 0; c < channels; ++c) {
                        result[c] = PlainByMattes(f[c], s[c], mF, mS, share, type);
                    }
                    return result;
                });
                ExpectBlend(ZPBlendCoverage, first, second, coverageF, coverageS, share, expected);
                plain([&](int, int, const Pixel& f, const Pixel& s) {
                    if (channels != 4) return Pixel{};
                    return PlainYCbCr(f, s, first.whitePoint, share, type);
                });
                ExpectBlend(ZPBlendCoverageYCbCr, first, second, coverageF, coverageS, share,
                            expected);
            }
        }
    });
}

Pixel BlendOne(Blend blend, const Pixel& f, const Pixel& s, float share, int type = ZPPixUChar) {
    ZPImage first(1, 1, 4, type, 0), second(1, 1, 4, type, 0), dest(1, 1, 4, type, 0);
    const ZPImage coverage(1, 1, 1, ZPPixUChar, 0);
    PutPixel(first, 0, 0, f);
    PutPixel(second, 0, 0, s);
    blend(dest, first, second, coverage, coverage, share);
    return PixelAt(dest, 0, 0);
}

TEST(BlendCoverage, FillsHolesWithTheOtherPicture) {
    const struct {
        Blend* blend;
        Pixel first, second;
        float share;
        Pixel expected;
    } kCases[] = {
        // A hole in one, then in both: the other's pixel; the mix as it stands.
        {ZPBlendCoverage, {9, 9, 9, 0}, {40, 50, 60, 255}, 0.3f, {40, 50, 60, 255}},
        {ZPBlendCoverage, {10, 20, 30, 0}, {20, 40, 50, 0}, 0.5f, {15, 30, 40, 0}},
        // 102 / 255 = 0.4: 0.6 of the second shows under the first.
        {ZPBlendCoverage, {40, 20, 0, 102}, {100, 100, 100, 255}, 0.5f, {100, 90, 80, 255}},
        // The filled alphas would be 163: colours and alpha go back to the greater, 102.
        {ZPBlendCoverage, {0, 80, 100, 102}, {0, 80, 100, 102}, 0.5f, {0, 80, 100, 102}},
        {ZPBlendCoverageYCbCr, {255, 10, 20, 9}, {255, 30, 60, 9}, 0.25f, {255, 15, 30, 9}},
        {ZPBlendCoverageYCbCr, {255, 20, 0, 10}, {102, 100, 50, 30}, 0.5f, {255, 66, 25, 23}},
        {ZPBlendCoverageYCbCr, {254, 20, 0, 10}, {102, 100, 50, 30}, 0.5f, {0, 0, 0, 0}},
    };
    for (const auto& [blend, first, second, share, expected] : kCases) {
        EXPECT_EQ(BlendOne(blend, first, second, share), expected);
    }
}

TEST(BlendCoverage, Pinned) {
    const Pixel f{0.1f, 0.2f, 0.3f, 0.4f}, s{0.3f, 0.1f, 0.2f, 0.7f};
    const Pixel mixed = BlendOne(ZPBlendCoverage, f, s, 0.37f, ZPPixFloat);
    EXPECT_SAME_BITS(mixed[0], 0x1.04eec4p-2f);
    EXPECT_SAME_BITS(mixed[3], 0.7f);
    const Pixel luma =
        BlendOne(ZPBlendCoverageYCbCr, {1.0f, 0.2f, 0.3f, 0.4f}, s, 0.37f, ZPPixFloat);
    EXPECT_SAME_BITS(luma[1], 0x1.b7e91p-3f);
    ZPImage dest(1, 1, 1, ZPPixFloat, 0), first(1, 1, 1, ZPPixFloat, 0),
        second(1, 1, 1, ZPPixFloat, 0);
    ZPImage coverageF(1, 1, 1, ZPPixUChar, 0), coverageS(1, 1, 1, ZPPixUChar, 0);
    PutValue(first, 0, 0, 0, f[0]);
    PutValue(second, 0, 0, 0, s[0]);
    PutValue(coverageF, 0, 0, 0, 40);
    PutValue(coverageS, 0, 0, 0, 200);
    ZPBlendCoverage(dest, first, second, coverageF, coverageS, 0.37f);
    EXPECT_SAME_BITS(ValueAt(dest, 0, 0, 0), 0x1.5d867ep-2f);
}

TEST(BlendCoverage, ClearsWhereImagesDoNotFit) {
    const ZPImage fits(kWidth, kHeight, 4, ZPPixUChar, 0),
        narrow(kWidth - 1, kHeight, 4, ZPPixUChar, 0), three(kWidth, kHeight, 3, ZPPixUChar, 0),
        words(kWidth, kHeight, 2, ZPPixUShort, 0);
    const ZPImage matte(kWidth, kHeight, 1, ZPPixUChar, 0),
        low(kWidth, kHeight - 1, 1, ZPPixUChar, 0), wide(kWidth, kHeight, 1, ZPPixUShort, 0),
        two(kWidth, kHeight, 2, ZPPixUChar, 0);
    ZPImage dest(kWidth, kHeight, 4, ZPPixUChar, 0), black(kWidth, kHeight, 4, ZPPixUChar, 0);
    ClearImage(&black);
    const auto expectCleared = [&](const ZPImage& second, const ZPImage& coverageF,
                                   const ZPImage& coverageS) {
        for (Blend* blend : {ZPBlendCoverage, ZPBlendCoverageYCbCr}) {
            Noise(33).Fill(dest);
            blend(dest, fits, second, coverageF, coverageS, 0.5f);
            EXPECT_SAME_IMAGE(dest, black);
        }
    };
    for (const ZPImage* odd : {&narrow, &three, &words}) expectCleared(*odd, matte, matte);
    for (const ZPImage* odd : {&low, &wide, &two}) expectCleared(fits, matte, *odd);
    expectCleared(fits, two, two);
}

}  // namespace
}  // namespace velorin
