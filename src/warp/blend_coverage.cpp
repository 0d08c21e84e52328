#include "warp/blend_coverage.h"

#include <algorithm>
#include <array>

#include "image/copy.h"
#include "image/float4.h"
#include "image/parallel_rows.h"
#include "image/pixel_form.h"
#include "image/rounding.h"

namespace velorin {

namespace {

struct CoverageJob {
    ZPImage& dest;
    const ZPImage& first;
    const ZPImage& second;
    const ZPImage& coverageFirst;
    const ZPImage& coverageSecond;
    float share;
};

using Pixel = std::array<float, 4>;

template <typename Value>
Pixel LoadPixel(const Value* from) {
    Pixel pixel;
    for (int c = 0; c < 4; ++c) pixel[c] = static_cast<float>(from[c]);
    return pixel;
}

Pixel MixPixels(const Pixel& first, const Pixel& second, float share) {
    Pixel mixed;
    for (int c = 0; c < 4; ++c) mixed[c] = first[c] + (second[c] - first[c]) * share;
    return mixed;
}

// `front` with what `back` has under it; alpha is the last channel.
Pixel FillUnder(const Pixel& front, const Pixel& back, float white) {
    if (front[3] == 0.0f) return back;
    if (front[3] == white) return front;
    const float k = front[3] / white;
    Pixel filled;
    for (int c = 0; c < 3; ++c) filled[c] = back[c] * (1.0f - k) + front[c];
    filled[3] = (white - back[3]) * k + back[3];
    return filled;
}

// Pixels that carry their coverage as alpha.
template <typename Value>
struct AlphaRule {
    static constexpr int kMatte = 3;

    // Where both are covered: the generic rule, without what leaves the bits as they are.
    static Float4 MixCovered(Float4 first, Float4 second, float share) {
        return first + (second - first) * share;
    }

    static void Mix(const Pixel& first, const Pixel& second, float white, float share, Value* out) {
        const Pixel p = FillUnder(first, second, white);
        const Pixel q = FillUnder(second, first, white);
        const float top = std::max(first[3], second[3]);
        Pixel mixed = MixPixels(p, q, share);
        if (mixed[3] != top) {
            if (mixed[3] == 0.0f) {
                const Pixel& whole = p[3] > q[3] ? p : q;
                for (int c = 0; c < 4; ++c) out[c] = TruncateClamped<Value>(whole[c]);
                return;
            }
            for (int c = 0; c < 3; ++c) mixed[c] = mixed[c] * top / mixed[3];
            mixed[3] = top;
        }
        for (int c = 0; c < 4; ++c) out[c] = RoundClamped<Value>(mixed[c]);
    }
};

// Pixels that carry their matte in the first channel.
template <typename Value>
struct YCbCrRule {
    static constexpr int kMatte = 0;

    static Float4 MixCovered(Float4 first, Float4 second, float share) {
        const Float4 p = second * 0.0f + first;
        const Float4 q = first * 0.0f + second;
        return p + (q - p) * share;
    }

    // `front` over `back`, with a matte that is full or, where neither is, zero.
    static Pixel Fill(const Pixel& front, const Pixel& back, float white) {
        if (back[0] != white) return front[0] == white ? front : Pixel{};
        Pixel filled{back[0]};
        const float behind = 1.0f - front[0] / white;
        for (int c = 1; c < 4; ++c) filled[c] = back[c] * behind + front[c];
        return filled;
    }

    static void Mix(const Pixel& first, const Pixel& second, float white, float share, Value* out) {
        const Pixel mixed =
            MixPixels(Fill(first, second, white), Fill(second, first, white), share);
        for (int c = 0; c < 4; ++c) out[c] = RoundClamped<Value>(mixed[c]);
    }
};

template <template <typename> class Rule, typename Value>
void BlendFourRow(const CoverageJob& job, int y) {
    const float white = job.first.whitePoint;
    const Value* first = job.first.Row<Value>(y);
    const Value* second = job.second.Row<Value>(y);
    Value* out = job.dest.Row<Value>(y);
    for (int i = 0; i < 4 * job.dest.width; i += 4) {
        constexpr int kMatte = Rule<Value>::kMatte;
        const bool covered = static_cast<float>(first[i + kMatte]) == white &&
                             static_cast<float>(second[i + kMatte]) == white;
        if (covered) {
            StoreClamped(Rule<Value>::MixCovered(Float4::Load(first + i), Float4::Load(second + i),
                                                 job.share),
                         out + i);
        } else {
            Rule<Value>::Mix(LoadPixel(first + i), LoadPixel(second + i), white, job.share,
                             out + i);
        }
    }
}

// One value of pixels whose coverage stands beside them; k is what each leaves open.
float MixOpen(float f, float s, float openFirst, float openSecond, float share) {
    return (f + s * openFirst) * (1.0f - share) + (f * openSecond + s) * share;
}

template <typename Form, typename Matte>
void BlendByMattesRow(const CoverageJob& job, int y) {
    using Value = typename Form::Value;
    const float whiteFirst = job.coverageFirst.whitePoint;
    const float whiteSecond = job.coverageSecond.whitePoint;
    const Matte* matteFirst = job.coverageFirst.Row<Matte>(y);
    const Matte* matteSecond = job.coverageSecond.Row<Matte>(y);
    const Value* first = job.first.Row<Value>(y);
    const Value* second = job.second.Row<Value>(y);
    Value* out = job.dest.Row<Value>(y);
    for (int x = 0; x < job.dest.width; ++x) {
        const float mF = static_cast<float>(matteFirst[x]);
        const float mS = static_cast<float>(matteSecond[x]);
        const bool covered = mF == whiteFirst && mS == whiteSecond;
        const float openFirst = 1.0f - mF / whiteFirst;
        const float openSecond = 1.0f - mS / whiteSecond;
        for (int c = 0; c < Form::kChannels; ++c, ++first, ++second, ++out) {
            const float f = static_cast<float>(*first);
            const float s = static_cast<float>(*second);
            if (covered) {
                *out = RoundClamped<Value>(f + (s - f) * job.share);
            } else if (mF == 0.0f) {
                *out = *second;
            } else if (mS == 0.0f) {
                *out = *first;
            } else {
                *out = RoundClamped<Value>(MixOpen(f, s, openFirst, openSecond, job.share));
            }
        }
    }
}

bool SameForm(const ZPImage& a, const ZPImage& b) {
    return !ShapeDiffers(&a, &b) && a.pixelType == b.pixelType;
}

bool Fits(const CoverageJob& job) {
    return SameForm(job.dest, job.first) && SameForm(job.dest, job.second) &&
           SameForm(job.coverageFirst, job.coverageSecond) &&
           !SizeDiffers(&job.dest, &job.coverageFirst) && job.coverageFirst.channels == 1 &&
           job.coverageFirst.pixelType <= ZPPixFloat;
}

template <typename Row>
void ForEachRow(int height, const Row& row) {
    ParallelRows(height, [&](int firstRow, int lastRow) {
        for (int y = firstRow; y <= lastRow; ++y) row(y);
    });
}

template <template <typename> class Rule>
bool BlendFour(const CoverageJob& job) {
    return WithPictureType(job.dest.pixelType, [&](auto zero) {
        using Value = decltype(zero);
        ForEachRow(job.dest.height, [&](int y) { BlendFourRow<Rule, Value>(job, y); });
    });
}

bool BlendByMattes(const CoverageJob& job) {
    bool known = false;
    WithPictureType(job.coverageFirst.pixelType, [&](auto zero) {
        using Matte = decltype(zero);
        known = WithPictureForm(job.dest, [&](auto form) {
            using Form = decltype(form);
            if constexpr (Form::kChannels < 4) {
                ForEachRow(job.dest.height, [&](int y) { BlendByMattesRow<Form, Matte>(job, y); });
            }
        });
    });
    return known;
}

}  // namespace

void ZPBlendCoverage(ZPImage& dest, const ZPImage& first, const ZPImage& second,
                     const ZPImage& coverageFirst, const ZPImage& coverageSecond, float share) {
    const CoverageJob job{dest, first, second, coverageFirst, coverageSecond, share};
    const bool known =
        Fits(job) && (dest.channels == 4 ? BlendFour<AlphaRule>(job) : BlendByMattes(job));
    if (!known) ClearImage(&dest);
}

void ZPBlendCoverageYCbCr(ZPImage& dest, const ZPImage& first, const ZPImage& second,
                          const ZPImage& coverageFirst, const ZPImage& coverageSecond,
                          float share) {
    const CoverageJob job{dest, first, second, coverageFirst, coverageSecond, share};
    const bool known = Fits(job) && dest.channels == 4 && BlendFour<YCbCrRule>(job);
    if (!known) ClearImage(&dest);
}

}  // namespace velorin
