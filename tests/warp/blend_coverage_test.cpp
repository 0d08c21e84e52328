#include "warp/blend_coverage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "image/copy.h"
#include "support/forms.h"
#include "support/noise.h"
#include "support/plain_stored.h"
#include "support/put_each.h"

namespace velorin {
namespace {

using Pixel = std::array<float, 4>;
using Blend = decltype(ZPBlendCoverage);

constexpr int kWidth = 19;
constexpr int kHeight = 67;

// Full, empty and partial values in about equal numbers.
void DrawCoverage(ZPImage& image, int channel, Noise& noise) {
    ForEachPixel(image, [&](int x, int y) {
        const int kind = noise.Int(0, 2);
        if (kind < 2) PutValue(image, x, y, channel, image.whitePoint * kind);
    });
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
        result[c] = PlainStored(type, m);
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
    for (int c = 0; c < 4; ++c) result[c] = PlainStored(type, p[c] + (q[c] - p[c]) * share);
    return result;
}

Pixel PlainByMattes(const Pixel& f, const Pixel& s, float mF, float mS, float share, int type) {
    Pixel result{};
    for (int c = 0; c < 3; ++c) {
        const float filledF = f[c] + s[c] * (1 - mF), filledS = f[c] * (1 - mS) + s[c];
        result[c] = mF == 1 && mS == 1 ? PlainStored(type, f[c] + (s[c] - f[c]) * share)
                    : mF == 0          ? s[c]
                    : mS == 0          ? f[c]
                                       : PlainStored(type, filledF * (1 - share) + filledS * share);
    }
    return result;
}

Pixel PixelAt(const ZPImage& image, int x, int y) {
    Pixel pixel{};
    for (int c = 0; c < image.channels; ++c) pixel[c] = ValueAt(image, x, y, c);
    return pixel;
}

TEST(BlendCoverage, EqualsPlainRuleInEveryForm) {
    ForEachPictureForm([](int type, int channels) {
        Noise noise(31);
        for (int matteType : {ZPPixUChar, ZPPixUShort, ZPPixFloat}) {
            ZPImage first(kWidth, kHeight, channels, type, 0);
            ZPImage second(kWidth, kHeight, channels, type, 1);
            ZPImage coverageF(kWidth, kHeight, 1, matteType, 1);
            ZPImage coverageS(kWidth, kHeight, 1, matteType, 0);
            for (ZPImage* image : {&first, &second, &coverageF, &coverageS}) noise.Fill(*image);
            for (ZPImage* image : {&coverageF, &coverageS}) DrawCoverage(*image, 0, noise);
            const bool inFirst = matteType == ZPPixFloat;
            for (ZPImage* image : {&first, &second}) {
                if (channels == 4) DrawCoverage(*image, inFirst ? 0 : 3, noise);
            }
            ZPImage expected(kWidth, kHeight, channels, type, 0);
            for (float share : {0.3f, 0.0f, 1.0f, -0.5f, 2.0f}) {
                for (Blend* blend : {ZPBlendCoverage, ZPBlendCoverageYCbCr}) {
                    PutEach(expected, [&](int x, int y, int c) {
                        const Pixel f = PixelAt(first, x, y), s = PixelAt(second, x, y);
                        const float mF = ValueAt(coverageF, x, y, 0) / coverageF.whitePoint;
                        const float mS = ValueAt(coverageS, x, y, 0) / coverageF.whitePoint;
                        const bool luma = blend == ZPBlendCoverageYCbCr;
                        if (channels < 4 && luma) return 0.0f;
                        if (channels < 4) return PlainByMattes(f, s, mF, mS, share, type)[c];
                        return (luma ? PlainYCbCr : PlainAlpha)(f, s, first.whitePoint, share,
                                                                type)[c];
                    });
                    ForEachThreadCount([&] {
                        GapImage dest(kWidth, kHeight, channels, type, 1);
                        blend(*dest, first, second, coverageF, coverageS, share);
                        EXPECT_SAME_IMAGE(*dest, expected);
                        EXPECT_TRUE(dest.GapsUntouched());
                    });
                }
            }
        }
    });
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
