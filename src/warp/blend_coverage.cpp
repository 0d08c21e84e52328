#include "warp/blend_coverage.h"

#include "image/copy.h"
#include "image/parallel_rows.h"
#include "image/pixel_form.h"
#include "image/rounding.h"
#include "warp/blend_coverage_kernel.h"

namespace velorin {

namespace {

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

// Pixels of four channels, by one of the kernels.
template <typename Kernel>
bool BlendFour(const CoverageJob& job, const Kernel& blendRows) {
    ParallelRows(job.dest.height,
                 [&](int firstRow, int lastRow) { blendRows(job, firstRow, lastRow); });
    return job.dest.pixelType <= ZPPixFloat;
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
        Fits(job) &&
        (dest.channels == 4 ? BlendFour(job, VELORIN_KERNEL(BlendAlphaRows)) : BlendByMattes(job));
    if (!known) ClearImage(&dest);
}

void ZPBlendCoverageYCbCr(ZPImage& dest, const ZPImage& first, const ZPImage& second,
                          const ZPImage& coverageFirst, const ZPImage& coverageSecond,
                          float share) {
    const CoverageJob job{dest, first, second, coverageFirst, coverageSecond, share};
    const bool known =
        Fits(job) && dest.channels == 4 && BlendFour(job, VELORIN_KERNEL(BlendYCbCrRows));
    if (!known) ClearImage(&dest);
}

}  // namespace velorin
