#include "engine/compensate_blur.h"
#include "engine/method_matrix.h"
#include "engine/render_pass.h"
#include "flow/luminance.h"
#include "image/copy.h"

namespace velorin {

void KQVelorin4Internal::RenderSingleLayer(RenderPass& pass) {
    ObtainFrameFlows(pass);
    pass.needFlows = false;
    pass.progress.CollapseRange();  // the picture takes little time beside the flows
    const bool tracked = pass.hostVectors != 1 && layerUsesOpticalFlow[0];
    if (tracked && !pass.TracksOtherClip()) {
        pass.frames.WarpTracked();
    } else {
        pass.frames.GiveBackTracked();
        pass.frames.HoldWarped(pass.floorFrame, pass.ceilFrame);
    }
    if (pass.interpMethod == 0) {
        WarpNearest(pass);
    } else {
        WarpBoth(pass);
    }
    CompensateFrame(pass);
}

void KQVelorin4Internal::ObtainFrameFlows(RenderPass& pass) {
    pass.StartStages(pass.FlowStages());
    if (pass.hostVectors == 1) return ImportFlows(pass, nullptr, nullptr);
    // One kind at a time: the other one's flow would be taken for this one's.
    if (layerUsesOpticalFlow[0]) {
        morphFlow.reset();
    } else {
        opticalFlow.reset();
    }
    PrepareFlowObject(pass, 0, false);
    if (layerUsesOpticalFlow[0]) {
        const int useTrackingClip = pass.request.sameClipForTracking != 1;
        pass.frames.HoldTracked(pass.floorFrame, pass.ceilFrame, useTrackingClip);
    }
    if (pass.interpMethod == 0) {
        ComputeFrameFlow(pass, nullptr, FlowStartsAtFloor(pass));
    } else {
        ComputeBothFlows(pass);
    }
}

// From the floor frame to the ceil frame, or back; into `dest` too, unless null.
void KQVelorin4Internal::ComputeFrameFlow(RenderPass& pass, ZPImage* dest, bool fromFloor) {
    pass.NextStage();
    if (!pass.needFlows) return;
    FeedGuides(pass, 0, fromFloor);
    if (!layerUsesOpticalFlow[0]) return morphFlow->Compute(dest, &pass.progress, 1);
    const ZPImage& floorFrame = pass.frames.TrackedFloor();
    const ZPImage& ceilFrame = pass.frames.TrackedCeil();
    const ZPImage& a = fromFloor ? floorFrame : ceilFrame;
    const ZPImage& b = fromFloor ? ceilFrame : floorFrame;
    opticalFlow->ComputeFlowFromImages(dest, &a, &b, 1, 1, 0, &pass.progress, previous.enhance);
}

// From the floor frame to the ceil frame, after the flow back.
void KQVelorin4Internal::ReverseFrameFlow(RenderPass& pass) {
    // A frame of another size, or without luminance, leaves parts of a level as they were: loading
    // it again is not the same.
    const auto fillsLevel = [&](const ZPImage& frame) {
        return frame.width == width && frame.height == height && HasLuminance(frame);
    };
    if (!layerUsesOpticalFlow[0] || (pass.needFlows && (!fillsLevel(pass.frames.TrackedFloor()) ||
                                                        !fillsLevel(pass.frames.TrackedCeil())))) {
        return ComputeFrameFlow(pass, nullptr, true);
    }
    pass.NextStage();
    if (!pass.needFlows) return;
    FeedGuides(pass, 0, true);
    opticalFlow->ComputeReverseFlow(nullptr, 1, 0, &pass.progress);
}

// Two flows, the back flow first: the forward flow stays where it was computed.
void KQVelorin4Internal::ComputeBothFlows(RenderPass& pass) {
    if (!backFlow) {
        backFlow = std::make_unique<ZPImage>(flowWidth, flowHeight, 2, ZPPixFloat, 0);
        ClearImage(backFlow.get());  // frames that do not fit each other leave it so
    }
    ComputeFrameFlow(pass, backFlow.get(), false);
    ReverseFrameFlow(pass);
    forwardFlow = HeldFlow(0);
}

void KQVelorin4Internal::WarpNearest(RenderPass& pass) {
    const bool showsFloor = pass.floorWeight >= 0.5f;
    const ZPImage& shown = showsFloor ? pass.frames.WarpedFloor() : pass.frames.WarpedCeil();
    const float amount = showsFloor ? 1.0f - pass.floorWeight : pass.floorWeight;
    const std::unique_ptr<ZPImage> coverage = pass.CreateCoverage(UsesCoverage(warpingMethod));
    MoveNearest(pass.Target(), shown, NearestFlow(pass, 0), amount, warpingMethod, coverage.get(),
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
    const bool blends = pass.interpMethod == 1;
    if (blends && MixBlendAtOnce(pass.Target(), pair, warpingMethod, pass.progress)) return;
    const std::unique_ptr<ZPImage> floorCoverage = pass.CreateCoverage(UsesCoverage(warpingMethod));
    const std::unique_ptr<ZPImage> ceilCoverage = pass.CreateCoverage(UsesCoverage(warpingMethod));
    WarpRoom room{nullptr, nullptr, floorCoverage.get(), ceilCoverage.get()};
    if (blends) {
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
