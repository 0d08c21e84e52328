#include "engine/method_matrix.h"

#include "flow/matte.h"
#include "image/arithmetic.h"
#include "image/copy.h"
#include "warp/blend.h"
#include "warp/blend_coverage.h"
#include "warp/flow_dissolve.h"
#include "warp/inverse_warp.h"
#include "warp/warp_image.h"

namespace velorin {

namespace {

// Gives what is not covered the values of its surroundings.
void FillUncovered(ZPImage& image, ZPImage& coverage, KQIdleAndProgressClass& progress) {
    InvertBytes(coverage);
    FillUnderMatte(image, coverage, &progress);
    progress.Tick();
}

}  // namespace

void MoveFrame(ZPImage& dest, const ZPImage& source, const ZPImage& flow, float amount, int warping,
               ZPImage* coverage, KQIdleAndProgressClass& progress) {
    // The forward warp draws of a frame of another size what there is.
    if (SizeDiffers(&dest, &source)) ClearImage(&dest);
    const int fits = warping >= kForward
                         ? ZPWarpImage(dest, source, flow, 1, 1, 1, amount, 1, 1, 1, 1, &progress,
                                       coverage, 1, 1, nullptr)
                         : ZPInverseWarp(dest, source, flow, coverage ? 0 : 1, coverage, 1, amount);
    if (!fits) {
        ClearImage(&dest);
        ClearImage(coverage);
    }
    progress.Tick();
}

void MoveNearest(ZPImage& target, const ZPImage& shown, const ZPImage& flow, float amount,
                 int warping, ZPImage* coverage, KQIdleAndProgressClass& progress) {
    if (!UsesCoverage(warping)) {
        return MoveFrame(target, shown, flow, amount, warping, nullptr, progress);
    }
    MoveFrame(target, shown, flow, amount, warping, coverage, progress);
    FillUncovered(target, *coverage, progress);
}

void MixBlend(ZPImage& target, const FramePair& pair, int warping, const WarpRoom& room,
              KQIdleAndProgressClass& progress) {
    const bool forward = warping >= kForward;
    const bool covers = UsesCoverage(warping);
    const float fromFloor = 1.0f - pair.floorWeight;
    const float fromCeil = pair.floorWeight;
    MoveFrame(*room.floorPicture, pair.floorFrame, forward ? pair.forwardFlow : pair.backFlow,
              fromFloor, warping, covers ? room.floorCoverage : nullptr, progress);
    MoveFrame(*room.ceilPicture, pair.ceilFrame, forward ? pair.backFlow : pair.forwardFlow,
              fromCeil, warping, covers ? room.ceilCoverage : nullptr, progress);
    if (!covers) return ZPBlendTwo(target, *room.floorPicture, *room.ceilPicture, fromFloor);
    // On purpose not for the forward warp, whatever the pictures hold.
    const auto blend = pair.isYCbCr && !forward ? ZPBlendCoverageYCbCr : ZPBlendCoverage;
    blend(target, *room.floorPicture, *room.ceilPicture, *room.floorCoverage, *room.ceilCoverage,
          fromFloor);
    progress.Tick();
    MaxInto(*room.floorCoverage, *room.ceilCoverage);
    FillUncovered(target, *room.floorCoverage, progress);
}

bool MixBlendAtOnce(ZPImage& target, const FramePair& pair, int warping,
                    KQIdleAndProgressClass& progress) {
    const float fromFloor = 1.0f - pair.floorWeight;
    const MovedPicture floorFrame{pair.floorFrame, pair.backFlow, fromFloor};
    const MovedPicture ceilFrame{pair.ceilFrame, pair.forwardFlow, pair.floorWeight};
    if (warping != kInverse || !MixMoved(target, floorFrame, ceilFrame, fromFloor)) return false;
    progress.Tick();
    return true;
}

void MixEnergy(ZPImage& target, const FramePair& pair, int warping, const WarpRoom& room,
               KQIdleAndProgressClass& progress) {
    const ZPImage* forward = &pair.forwardFlow;
    const ZPImage* back = &pair.backFlow;
    if (warping == kInverse) {
        ZPFlowDissolve(target, pair.floorFrame, forward, pair.ceilFrame, back, room.floorPicture,
                       room.ceilPicture, pair.floorWeight);
    } else if (warping == kInverseSmart) {
        ZPFlowDissolveCoverage(target, pair.floorFrame, forward, pair.ceilFrame, back,
                               room.floorPicture, room.ceilPicture, *room.floorCoverage,
                               *room.ceilCoverage, pair.floorWeight);
    } else {
        const bool covers = UsesCoverage(warping);
        ZPFlowDissolveForward(target, pair.floorFrame, forward, pair.ceilFrame, back,
                              room.floorPicture, room.ceilPicture,
                              covers ? room.floorCoverage : nullptr,
                              covers ? room.ceilCoverage : nullptr, &progress, pair.floorWeight);
    }
    progress.Tick();
}

}  // namespace velorin
