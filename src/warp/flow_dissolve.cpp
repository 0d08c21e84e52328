#include "warp/flow_dissolve.h"

#include <cmath>
#include <memory>

#include "filter/gaussian_blur.h"
#include "image/arithmetic.h"
#include "image/copy.h"
#include "warp/blend.h"
#include "warp/blend_coverage.h"
#include "warp/change_matte.h"
#include "warp/inverse_warp.h"
#include "warp/voronoi_fill.h"
#include "warp/warp_image.h"

namespace velorin {

namespace {

constexpr float kChangeThreshold = 0.4f;
constexpr float kSharpenRadius = 3.0f;

std::unique_ptr<ZPImage> CreateLike(const ZPImage& image) {
    return std::make_unique<ZPImage>(image.width, image.height, image.channels, image.pixelType,
                                     image.bottomUp);
}

// The caller's image, or one of our own.
class Scratch {
  public:
    Scratch(ZPImage* given, const ZPImage& like)
        : own(given ? nullptr : CreateLike(like)), image(given ? *given : *own) {}
    ZPImage& operator*() { return image; }

  private:
    std::unique_ptr<ZPImage> own;
    ZPImage& image;
};

void FillCoverage(ZPImage* coverage) {
    if (coverage) FillColor(*coverage, 1.0f, 1.0f, 1.0f, 1.0f);
}

// Unsharp masking of strength 0.5 half-way and 0 on either frame, of the pixels of `moved` that
// differ from `still` in colour.
class Sharpener {
  public:
    explicit Sharpener(const ZPImage& frame) : mask(frame.width, frame.height, 1, ZPPixUChar, 0) {}

    void Apply(ZPImage& moved, const ZPImage& still, float amount) {
        const double strength = 1.0 - 2.0 * std::fabs(0.5 - static_cast<double>(amount));
        if (strength == 0.0) return;
        const int failure = ZPChangeMatte(mask, moved, still, kChangeThreshold, 1);
        if (failure != 0) throw static_cast<ZPErr>(failure);
        // Like the moved picture: the blend mixes images of one row order only.
        const std::unique_ptr<ZPImage> blurred = CreateLike(moved);
        CopyExact(blurred.get(), &moved);
        GaussianBlur(*blurred, 0, kSharpenRadius);
        ZPBlendRows(*blurred, moved, 1, static_cast<float>(-0.5 * strength));
        InvertBytes(mask);
        ZPMatteMix(moved, *blurred, mask);
    }

  private:
    ZPImage mask;
};

// A frame that a warp has refused.
void LeaveBlack(ZPImage& moved, ZPImage* coverage) {
    ClearImage(&moved);
    ClearImage(coverage);
}

// The frame moved by the inverse warp, or as it stands where `flow` is null.
void MoveInverse(ZPImage& moved, const ZPImage& frame, const ZPImage* flow, ZPImage* coverage,
                 float amount) {
    if (!flow) {
        CopyExact(&moved, &frame);
        FillCoverage(coverage);
    } else if (!ZPInverseWarp(moved, frame, *flow, coverage ? 0 : 1, coverage, 1, amount)) {
        LeaveBlack(moved, coverage);
    }
}

void MoveForward(ZPImage& moved, const ZPImage& frame, const ZPImage& flow, ZPImage* coverage,
                 KQIdleAndProgressClass* progress, float amount) {
    if (!ZPWarpImage(moved, frame, flow, 1, 1, 1, amount, 1, 1, 1, 1, progress, coverage, 1, 1,
                     nullptr)) {
        LeaveBlack(moved, coverage);
    }
}

// Mixes what both frames cover, and gives what neither does the nearest colour.
void MixCovered(ZPImage& dest, const ZPImage& first, const ZPImage& second, ZPImage& coverageFirst,
                const ZPImage& coverageSecond, float share) {
    ZPBlendCoverage(dest, first, second, coverageFirst, coverageSecond, share);
    MaxInto(coverageFirst, coverageSecond);
    InvertBytes(coverageFirst);
    ZPVoronoiFill(dest, coverageFirst);
}

// What the three forms have in common: move(moved, frame, number, amount) for both frames, each
// sharpened where it changed, then mix(first, second, share of second).
template <typename Move, typename Mix>
void Dissolve(const ZPImage& first, const ZPImage& second, ZPImage* scratchFirst,
              ZPImage* scratchSecond, float share, const Move& move, const Mix& mix) {
    const float rest = 1.0f - share;
    Scratch movedFirst(scratchFirst, first);
    Scratch movedSecond(scratchSecond, second);
    Sharpener sharpener(first);
    move(*movedFirst, first, 0, rest);
    sharpener.Apply(*movedFirst, first, rest);
    move(*movedSecond, second, 1, share);
    sharpener.Apply(*movedSecond, second, share);
    mix(*movedFirst, *movedSecond, rest);
}

}  // namespace

void ZPFlowDissolve(ZPImage& dest, const ZPImage& first, const ZPImage* flowForSecond,
                    const ZPImage& second, const ZPImage* flowForFirst, ZPImage* scratchFirst,
                    ZPImage* scratchSecond, float share) {
    const ZPImage* flows[] = {flowForFirst, flowForSecond};
    Dissolve(
        first, second, scratchFirst, scratchSecond, share,
        [&](ZPImage& moved, const ZPImage& frame, int i, float amount) {
            MoveInverse(moved, frame, flows[i], nullptr, amount);
        },
        [&](const ZPImage& a, const ZPImage& b, float rest) { ZPBlendTwo(dest, a, b, rest); });
}

void ZPFlowDissolveCoverage(ZPImage& dest, const ZPImage& first, const ZPImage* flowForSecond,
                            const ZPImage& second, const ZPImage* flowForFirst,
                            ZPImage* scratchFirst, ZPImage* scratchSecond, ZPImage& coverageFirst,
                            ZPImage& coverageSecond, float share) {
    const ZPImage* flows[] = {flowForFirst, flowForSecond};
    ZPImage* coverages[] = {&coverageFirst, &coverageSecond};
    Dissolve(
        first, second, scratchFirst, scratchSecond, share,
        [&](ZPImage& moved, const ZPImage& frame, int i, float amount) {
            MoveInverse(moved, frame, flows[i], coverages[i], amount);
        },
        [&](const ZPImage& a, const ZPImage& b, float rest) {
            MixCovered(dest, a, b, coverageFirst, coverageSecond, rest);
        });
}

void ZPFlowDissolveForward(ZPImage& dest, const ZPImage& first, const ZPImage* flowForSecond,
                           const ZPImage& second, const ZPImage* flowForFirst,
                           ZPImage* scratchFirst, ZPImage* scratchSecond, ZPImage* coverageFirst,
                           ZPImage* coverageSecond, KQIdleAndProgressClass* progress, float share) {
    const bool covers = coverageFirst && coverageSecond;
    const bool moves = flowForFirst && flowForSecond;
    const ZPImage* flows[] = {flowForSecond, flowForFirst};  // against the inverse form, exchanged
    ZPImage* coverages[] = {covers ? coverageFirst : nullptr, covers ? coverageSecond : nullptr};
    Dissolve(
        first, second, scratchFirst, scratchSecond, share,
        [&](ZPImage& moved, const ZPImage& frame, int i, float amount) {
            if (moves) {
                MoveForward(moved, frame, *flows[i], coverages[i], progress, amount);
            } else {
                MoveInverse(moved, frame, nullptr, coverages[i], amount);
            }
        },
        [&](const ZPImage& a, const ZPImage& b, float rest) {
            if (covers) {
                MixCovered(dest, a, b, *coverageFirst, *coverageSecond, rest);
            } else {
                ZPBlendTwo(dest, a, b, rest);
            }
        });
}

}  // namespace velorin
