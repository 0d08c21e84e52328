#include "engine/compensate_blur.h"
#include "engine/method_matrix.h"
#include "engine/render_pass.h"
#include "image/copy.h"

namespace velorin {

void KQVelorin4Internal::RenderSingleLayer(RenderPass& pass) {
    PrepareEstimator(pass, pass.request.matteLayers, false);
    const int useTrackingClip = pass.request.sameClipForTracking != 1;
    pass.frames.HoldTracked(pass.floorFrame, pass.ceilFrame, useTrackingClip);
    pass.StartStages(pass.interpMethod == 0 ? 1 : 2);
    if (pass.interpMethod == 0) {
        ComputeNearestFlow(pass);
    } else {
        ComputeBothFlows(pass);
    }
    pass.needFlows = false;
    if (pass.TracksOtherClip()) {
        pass.frames.GiveBackTracked();
        pass.frames.HoldWarped(pass.floorFrame, pass.ceilFrame);
    } else {
        pass.frames.WarpTracked();
    }
    if (pass.interpMethod == 0) {
        WarpNearest(pass);
    } else {
        WarpBoth(pass);
    }
    CompensateFrame(pass);
}

void KQVelorin4Internal::PrepareEstimator(RenderPass& pass, int layer, bool masked) {
    for (int asked : {0, layer}) {  // guide points alone are not built yet
        if (!layerUsesOpticalFlow[asked]) throw ZPErrBadArgument;
    }
    if (!opticalFlow) {
        auto estimator = std::make_unique<ZPOpticalFlowUChar>(0, width, height, reductionSteps, 0,
                                                              masked ? 1 : 0, 2);
        if (estimator->status != ZPErrNone) throw static_cast<ZPErr>(estimator->status);
        opticalFlow = std::move(estimator);
        opticalFlow->lumaIsFirstChannel = pass.request.imagesAreYCbCr;
        pass.needFlows = true;
    }
    opticalFlow->SetSensitivity(pass.layerSensitivity[layer]);
}

// The one flow of Nearest leads from the frame that is not shown to the one that is for the inverse
// warps, and from the shown frame on for the forward ones.
bool KQVelorin4Internal::FlowStartsAtFloor(const RenderPass& pass) const {
    return (pass.floorWeight < 0.5f && warpingMethod < kForward) ||
           (pass.floorWeight >= 0.5f && warpingMethod >= kForward);
}

void KQVelorin4Internal::ComputeNearestFlow(RenderPass& pass) {
    pass.NextStage();
    if (!pass.needFlows) return;
    const ZPImage& floorFrame = pass.frames.TrackedFloor();
    const ZPImage& ceilFrame = pass.frames.TrackedCeil();
    const bool fromFloor = FlowStartsAtFloor(pass);
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
    pass.NextStage();
    if (pass.needFlows) {
        opticalFlow->ComputeFlowFromImages(backFlow.get(), &ceilFrame, &floorFrame, 1, 1, 0,
                                           &pass.progress, previous.enhance);
    }
    pass.NextStage();
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
    const std::unique_ptr<ZPImage> coverage = pass.CreateCoverage(UsesCoverage(warpingMethod));
    MoveNearest(pass.Target(), shown, *opticalFlow->Flow(), amount, warpingMethod, coverage.get(),
                pass.progress);
}

void KQVelorin4Internal::CompensateFrame(RenderPass& pass) {
    if (!pass.CompensatesBlur()) return;
    ZPImage& target = pass.Target();
    // In the target's row order, as the sharpening needs it.
    ZPImage blurred(target.width, target.height, target.channels, target.pixelType,
                    static_cast<int>(target.bottomUp));
    CompensateBlur(blurred, target, *LayerFlowA(0), pass.request.fullDetail == 1, pass.progress,
                   pass.BlurAmount());
    CopyExact(&target, &blurred);
}

void KQVelorin4Internal::WarpBoth(RenderPass& pass) {
    const FramePair pair{
        pass.frames.WarpedFloor(), pass.frames.WarpedCeil(),   *forwardFlow, *backFlow,
        pass.floorWeight,          pass.request.imagesAreYCbCr};
    const std::unique_ptr<ZPImage> floorCoverage = pass.CreateCoverage(UsesCoverage(warpingMethod));
    const std::unique_ptr<ZPImage> ceilCoverage = pass.CreateCoverage(UsesCoverage(warpingMethod));
    WarpRoom room{nullptr, nullptr, floorCoverage.get(), ceilCoverage.get()};
    if (pass.interpMethod == 1) {
        const std::unique_ptr<ZPImage> floorPicture = pass.CreateWorkingImage();
        const std::unique_ptr<ZPImage> ceilPicture = pass.CreateWorkingImage();
        room.floorPicture = floorPicture.get();
        room.ceilPicture = ceilPicture.get();
        MixBlend(pass.Target(), pair, warpingMethod, room, pass.progress);
    } else {
        pass.RequireChannels();
        MixEnergy(pass.Target(), pair, warpingMethod, room, pass.progress);
    }
}

}  // namespace velorin
