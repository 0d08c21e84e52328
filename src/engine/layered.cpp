#include "engine/compensate_blur.h"
#include "engine/layer_work.h"
#include "flow/matte.h"
#include "image/arithmetic.h"
#include "image/composite.h"
#include "image/copy.h"

namespace velorin {

namespace {

// Takes what the layers in front of `layer` cover away from its matte. A front matte grows by its
// shrink first, so that the hole in what lies behind is that much wider than the foreground.
void PunchOut(const LayerSide& side, int layer, RenderPass& pass, ZPImage& scratchFloat) {
    for (int i = layer - 1; i >= 0; --i) {
        CopyCHannelIntoCHannel(scratchFloat, 0, *side.mattes[i], 0);
        ScaleValues(scratchFloat, 1.0f / side.mattes[i]->whitePoint);
        ZPMatte::Choke(scratchFloat, -pass.layerShrink[i]);
        RenderBlackMatte(side.visible, scratchFloat);
        pass.progress.Tick();
    }
}

// The tracked frames stay held as such where they are the warped ones too.
const ZPImage& WarpedFloor(const RenderPass& pass) {
    return pass.TracksOtherClip() ? pass.frames.WarpedFloor() : pass.frames.TrackedFloor();
}
const ZPImage& WarpedCeil(const RenderPass& pass) {
    return pass.TracksOtherClip() ? pass.frames.WarpedCeil() : pass.frames.TrackedCeil();
}

void RequireMattesLike(const ZPImage& sample, const LayerMattes& mattes) {
    for (const ZPImage* matte : mattes) {
        if (!matte) continue;
        if (SizeDiffers(matte, &sample) || matte->pixelType != sample.pixelType) {
            throw ZPErrBadArgument;
        }
    }
}

}  // namespace

LayerWork::LayerWork(const RenderPass& pass)
    : LayerWork(pass, pass.Sample().width, pass.Sample().height, pass.Sample().pixelType) {}

LayerWork::LayerWork(const RenderPass& pass, int width, int height, int pixelType)
    : layerP(width, height, 4, pixelType, 0),
      layerQ(width, height, 4, pixelType, 0),
      layerR(width, height, 4, pixelType, 0),
      layerS(width, height, 4, pixelType, 0),
      matteFloorWork(width, height, 1, pixelType, 0),
      matteCeilWork(width, height, 1, pixelType, 0),
      scratchFloat(width, height, 1, ZPPixFloat, 0),
      scratchMatte(width, height, 1, pixelType, 0),
      coverageA(scratchMatte.data, width, height, 1, ZPPixUChar, 0),
      coverageB(scratchFloat.data, width, height, 1, ZPPixUChar, 0),
      floorSide{pass.frames.TrackedFloor(), WarpedFloor(pass), pass.frames.FloorMattes(),
                matteFloorWork, layerR},
      ceilSide{pass.frames.TrackedCeil(), WarpedCeil(pass), pass.frames.CeilMattes(), matteCeilWork,
               layerS} {}

void KQVelorin4Internal::RenderLayers(RenderPass& pass) {
    if (pass.Sample().channels != 4) throw ZPErrBadArgument;
    const FrameRequest& request = pass.request;
    pass.frames.HoldTracked(pass.floorFrame, pass.ceilFrame, request.sameClipForTracking != 1);
    if (pass.TracksOtherClip()) pass.frames.HoldWarped(pass.floorFrame, pass.ceilFrame);
    pass.frames.HoldMattes(pass.floorFrame, pass.ceilFrame, request.matteLayers);
    RequireMattesLike(pass.Sample(), pass.frames.FloorMattes());
    RequireMattesLike(pass.Sample(), pass.frames.CeilMattes());
    LayerWork work(pass);
    const int start = pass.host.GetDrawStartLayer();
    const int end = pass.host.GetDrawEndLayer();
    if (start >= layerCount || end < 0 || start < end) throw ZPErrBadArgument;
    pass.StartStages((start - end + 1) * pass.FlowStages());
    for (int layer = start; layer >= end; --layer) RenderLayer(pass, work, layer);
    pass.needFlows = false;
}

void KQVelorin4Internal::RenderLayer(RenderPass& pass, LayerWork& work, int layer) {
    const bool moves = pass.vectorQuality != 0 && !pass.onFrame;
    const bool imports = moves && pass.hostVectors == 1;
    if (moves && !imports) PrepareFlowObject(pass, layer, true);
    const bool estimates = moves && !imports && pass.needFlows;
    for (const LayerSide* side : {&work.floorSide, &work.ceilSide}) {
        LayerMatte(side->visible, side->mattes, layer, layerCount, nullptr);
        PunchOut(*side, layer, pass, work.scratchFloat);
        if (estimates || !moves) MultiplyByMatte(side->cutTracked, side->tracked, side->visible);
    }
    if (imports) ImportFlows(pass, &work.floorSide.visible, &work.ceilSide.visible);
    if (estimates) ComputeLayerFlows(pass, work, layer);
    pass.progress.CollapseRange();  // the picture takes little time beside the flows
    ZPImage* picture = pass.interpMethod == 0 ? &BuildNearestLayer(pass, work, layer, moves)
                                              : &BuildMixedLayer(pass, work, layer, moves);
    if (moves && pass.CompensatesBlur()) {
        ZPImage& blurred = picture == &work.layerP ? work.layerQ : work.layerP;
        CompensateBlur(blurred, *picture, *LayerFlowA(layer), pass.request.fullDetail == 1,
                       pass.progress, pass.BlurAmount());
        picture = &blurred;
    }
    ZPImage& target = pass.Target();
    if (layer == layerCount - 1) {
        CopyExact(&target, picture);
    } else {
        CompositeOver(target, 0, 0, *picture, 0, 0, picture->lastColumn, picture->lastRow);
    }
}

}  // namespace velorin
