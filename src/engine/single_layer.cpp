#include "engine/render_pass.h"
#include "image/copy.h"
#include "warp/blend.h"
#include "warp/inverse_warp.h"

namespace velorin {

namespace {

enum Warping { kInverse = 0 };

// Moves `source` into `dest` along `flow` by `amount` of it, borders extended. A source that does
// not fit leaves black.
void Inverse(RenderPass& pass, ZPImage& dest, const ZPImage& source, const ZPImage& flow,
             float amount) {
    if (!ZPInverseWarp(dest, source, flow, 1, nullptr, 1, amount)) ClearImage(&dest);
    pass.progress.Tick();
}

// Which part of the whole bar the next stage of this pass moves.
void SetStage(RenderPass& pass, int stage, int stages) {
    const float total = static_cast<float>(stages * pass.passCount);
    const float done = static_cast<float>(stages * pass.pass + stage);
    pass.progress.SetRange(done / total, (done + 1.0f) / total);
}

}  // namespace

void KQVelorin4Internal::RenderSingleLayer(RenderPass& pass) {
    if (warpingMethod != kInverse) throw ZPErrBadArgument;
    PrepareEstimator(pass);
    const int useTrackingClip = pass.request.sameClipForTracking != 1;
    pass.frames.HoldTracked(pass.floorFrame, pass.ceilFrame, useTrackingClip);
    switch (pass.interpMethod) {
        case 0:
            ComputeNearestFlow(pass);
            break;
        case 1:
            ComputeBothFlows(pass);
            break;
        default:
            throw ZPErrBadArgument;
    }
    pass.needFlows = false;
    if (pass.request.sameClipForTracking == 0) {
        pass.frames.GiveBackTracked();
        pass.frames.HoldWarped(pass.floorFrame, pass.ceilFrame);
    } else {
        pass.frames.WarpTracked();
    }
    if (pass.interpMethod == 0) {
        WarpNearest(pass);
    } else {
        WarpBlend(pass);
    }
}

void KQVelorin4Internal::PrepareEstimator(RenderPass& pass) {
    const int background = pass.request.matteLayers;
    if (!layerUsesOpticalFlow[0]) throw ZPErrBadArgument;  // guide points alone are not built yet
    if (!opticalFlow) {
        auto estimator =
            std::make_unique<ZPOpticalFlowUChar>(0, width, height, reductionSteps, 0, 0, 2);
        if (estimator->status != ZPErrNone) throw static_cast<ZPErr>(estimator->status);
        opticalFlow = std::move(estimator);
        opticalFlow->lumaIsFirstChannel = pass.request.imagesAreYCbCr;
        pass.needFlows = true;
    }
    opticalFlow->SetSensitivity(pass.layerSensitivity[background]);
}

// One flow: for the inverse warp from the frame that is not shown to the one that is.
void KQVelorin4Internal::ComputeNearestFlow(RenderPass& pass) {
    SetStage(pass, 0, 1);
    if (!pass.needFlows) return;
    const ZPImage& floorFrame = pass.frames.TrackedFloor();
    const ZPImage& ceilFrame = pass.frames.TrackedCeil();
    const bool fromFloor = (pass.floorWeight < 0.5f && warpingMethod < 2) ||
                           (pass.floorWeight >= 0.5f && warpingMethod >= 2);
    const ZPImage& a = fromFloor ? floorFrame : ceilFrame;
    const ZPImage& b = fromFloor ? ceilFrame : floorFrame;
    opticalFlow->ComputeFlowFromImages(nullptr, &a, &b, 1, 1, 0, &pass.progress, previous.enhance);
}

// Two flows, the back flow first: the forward flow stays in the estimator.
void KQVelorin4Internal::ComputeBothFlows(RenderPass& pass) {
    if (!backFlow) {
        backFlow = std::make_unique<ZPImage>(flowWidth, flowHeight, 2, ZPPixFloat, 0);
        ClearImage(backFlow.get());  // frames that do not fit each other leave it so
    }
    const ZPImage& floorFrame = pass.frames.TrackedFloor();
    const ZPImage& ceilFrame = pass.frames.TrackedCeil();
    SetStage(pass, 0, 2);
    if (pass.needFlows) {
        opticalFlow->ComputeFlowFromImages(backFlow.get(), &ceilFrame, &floorFrame, 1, 1, 0,
                                           &pass.progress, previous.enhance);
    }
    SetStage(pass, 1, 2);
    if (pass.needFlows) {
        opticalFlow->ComputeFlowFromImages(nullptr, &floorFrame, &ceilFrame, 1, 1, 0,
                                           &pass.progress, previous.enhance);
    }
    forwardFlow = opticalFlow->Flow();
}

void KQVelorin4Internal::WarpNearest(RenderPass& pass) {
    const bool showsFloor = pass.floorWeight >= 0.5f;
    const ZPImage& shown = showsFloor ? pass.frames.WarpedFloor() : pass.frames.WarpedCeil();
    const float amount = showsFloor ? 1.0f - pass.floorWeight : pass.floorWeight;
    Inverse(pass, pass.Target(), shown, *opticalFlow->Flow(), amount);
}

void KQVelorin4Internal::WarpBlend(RenderPass& pass) {
    const std::unique_ptr<ZPImage> floorWarped = pass.CreateWorkingImage();
    const std::unique_ptr<ZPImage> ceilWarped = pass.CreateWorkingImage();
    const float fromFloor = 1.0f - pass.floorWeight;
    const float fromCeil = pass.floorWeight;
    Inverse(pass, *floorWarped, pass.frames.WarpedFloor(), *backFlow, fromFloor);
    Inverse(pass, *ceilWarped, pass.frames.WarpedCeil(), *forwardFlow, fromCeil);
    ZPBlendTwo(pass.Target(), *floorWarped, *ceilWarped, fromFloor);
}

}  // namespace velorin
