#include "flow/matte.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "filter/gaussian_blur.h"
#include "flow/channel_fill.h"
#include "image/copy.h"
#include "image/parallel_rows.h"
#include "image/pixel_form.h"
#include "image/rounding.h"

namespace velorin {

namespace {

// The largest distance whose bell GaussianBlur still takes.
constexpr float kMaxChoke = 4093.0f;

// Replaces every sample of a float image by change(sample).
template <typename Change>
void ChangeSamples(ZPImage& image, const Change& change) {
    ParallelRows(image.height, [&](int firstRow, int lastRow) {
        for (int y = firstRow; y <= lastRow; ++y) {
            float* row = image.Row<float>(y);
            for (int i = 0; i < image.width * image.channels; ++i) row[i] = change(row[i]);
        }
    });
}

// Turns black and white around; what comes out all but white is made white.
void InvertMatte(ZPImage& image) {
    ChangeSamples(image, [](float v) {
        const float inverse = 1.0f - v;
        return inverse > 0.999f ? 1.0f : inverse;
    });
}

// NaN becomes 0.
void ClampMatte(ZPImage& image) {
    ChangeSamples(image, [](float v) {
        if (!(v > 0.0f)) return 0.0f;
        return v > 1.0f ? 1.0f : v;
    });
}

// The share of a bell of 2 * middle + 1 taps that lies beyond the choke distance, which is `part`
// of the way from the third tap to the second. Exponents, taps and sums are in float, the power in
// double; sums ascend.
float ShareBeyond(int middle, float part) {
    const float third = static_cast<float>(middle) / 3.0f;
    const auto weigh = [middle, s = third * third](int i) {
        const float exponent = static_cast<float>(-(i - middle) * (i - middle)) / s;
        return static_cast<float>(std::pow(2.0, static_cast<double>(exponent)));
    };
    const int taps = 2 * middle + 1;
    float total = 0.0f, fromSecond = 0.0f, fromThird = 0.0f;
    for (int i = 0; i < taps; ++i) total += weigh(i);
    for (int i = 2; i < taps; ++i) fromSecond += weigh(i) / total;
    for (int i = 3; i < taps; ++i) fromThird += weigh(i) / total;
    return fromThird + (fromSecond - fromThird) * part;
}

// Blurs, and cuts where a hard straight edge, blurred, has its value at `distance` inside the
// white; what lies above is stretched to 0.0 to 1.0.
void ChokeStep(ZPImage& image, int distance) {
    if (distance == 0) return;
    // A little more than the distance, so that the threshold lies above a tap and not on it.
    const float r = static_cast<float>(distance) + 0.01f;
    const float c = std::ceil(r + 1.0f);
    const double gap = static_cast<double>(c) - (static_cast<double>(r) + 1.0);
    const float d = static_cast<float>(1.0 - gap);
    GaussianBlur(image, 0, c + d);
    const float t = ShareBeyond(TruncateInside(c), d);
    ChangeSamples(image, [t](float v) {
        if (v < t) return 0.0f;
        const double above = static_cast<double>(v) - static_cast<double>(t);
        const double stretched = above / (1.0 - static_cast<double>(t));
        return std::abs(stretched - 1.0) < 0.0001 ? 1.0f : static_cast<float>(stretched);
    });
}

// Nothing is clamped here: ClampMatte ends every choke, and gives the same after InvertMatte.
void BlendRows(ZPImage& image, const ZPImage& other, float share, int firstRow, int lastRow) {
    for (int y = firstRow; y <= lastRow; ++y) {
        float* v = image.Row<float>(y);
        const float* c = other.Row<float>(y);
        for (int i = 0; i < image.width * image.channels; ++i) v[i] += (c[i] - v[i]) * share;
    }
}

// Chokes by whole pixels, or by the two nearest whole amounts, and mixes.
void ChokeWhite(ZPImage& image, float amount) {
    const int less = TruncateInside(std::floor(amount));
    const int more = TruncateInside(std::ceil(amount));
    if (less == more) return ChokeStep(image, less);
    ZPImage copy(image.width, image.height, image.channels, ZPPixFloat, 0);
    CopyExact(&copy, &image);
    ChokeStep(image, less);
    ChokeStep(copy, more);
    ParallelRows(image.height, [&](int firstRow, int lastRow) {
        BlendRows(image, copy, amount - static_cast<float>(less), firstRow, lastRow);
    });
}

void ChokeFloat(ZPImage& image, float amount) {
    if (amount < 0.0f) {
        InvertMatte(image);
        ChokeWhite(image, -amount);
        InvertMatte(image);
    } else {
        ChokeWhite(image, amount);
    }
    ClampMatte(image);
}

bool HasHole(const ZPImage& matte) {
    bool found = false;
    const bool known = WithPictureType(matte.pixelType, [&](auto zero) {
        using Value = decltype(zero);
        for (int y = 0; y < matte.height && !found; ++y) {
            const Value* row = matte.Row<Value>(y);
            int holes = 0;
            for (int x = 0; x < matte.width; ++x) holes += row[x] != 0 ? 1 : 0;
            found = holes > 0;
        }
    });
    if (!known || matte.channels != 1) throw ZPErrBadArgument;
    return found;
}

}  // namespace

void ZPMatte::Choke(ZPImage& image, float amount) {
    if (image.pixelType != ZPPixFloat && image.channels != 1) {
        std::fprintf(stderr, "ZPMatte Choke, invalid input\n");
        return;
    }
    if (!(std::abs(amount) <= kMaxChoke)) throw ZPErrBadArgument;
    if (!WithPictureForm(image, [](auto) {})) return;
    if (image.pixelType == ZPPixFloat) return ChokeFloat(image, amount);
    ZPImage fractions(image.width, image.height, 1, ZPPixFloat, 0);
    CopyConverted(fractions, image);
    ChokeFloat(fractions, amount);
    CopyConverted(image, fractions);
}

void FillUnderMatte(ZPImage& image, const ZPImage& holeMatte, KQIdleAndProgressClass* progress,
                    int channels) {
    if (SizeDiffers(&image, &holeMatte)) return;
    KQIdleAndProgressClass all(progress);
    if (!HasHole(holeMatte)) return all.ReportProgress(1.0f);
    ZPSingleChannelFill fill(image.width, image.height);
    fill.LoadHoles(holeMatte);
    const int filled = std::min(image.channels, channels);
    for (int c = 0; c < filled; ++c) {
        const float total = static_cast<float>(filled);
        all.SetRange(static_cast<float>(c) / total, static_cast<float>(c + 1) / total);
        fill.LoadValues(image, c);
        fill.Fill(&all);
        fill.StoreChannel(image, c);
    }
}

}  // namespace velorin
