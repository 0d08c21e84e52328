#include "engine/layer_work.h"
#include "engine/method_matrix.h"
#include "image/composite.h"
#include "image/copy.h"
#include "warp/blend.h"

namespace velorin {

namespace {

// Gives a picture the alpha of its whole layer: what a layer in front hides counts as there.
void RestoreAlpha(ZPImage& picture, const LayerSide& side, LayerWork& work, int layer,
                  int layerCount, RenderPass& pass) {
    LayerMatte(work.scratchMatte, side.mattes, layer, layerCount, &side.warped);
    pass.progress.Tick();
    CopyCHannelIntoCHannel(picture, 3, work.scratchMatte, 0);
    pass.progress.Tick();
}

void LayOver(ZPImage& picture, const ZPImage& source, RenderPass& pass) {
    CompositeOver(picture, 0, 0, source, 0, 0, source.lastColumn, source.lastRow);
    pass.progress.Tick();
}

}  // namespace

// The nearer frame's layer, its colours grown over what hides it, moved.
ZPImage& KQVelorin4Internal::BuildNearestLayer(RenderPass& pass, LayerWork& work, int layer,
                                               bool moves) {
    const bool showsFloor = pass.floorWeight >= 0.5f;
    const LayerSide& side = showsFloor ? work.floorSide : work.ceilSide;
    const float amount = showsFloor ? 1.0f - pass.floorWeight : pass.floorWeight;
    ZPImage& still = showsFloor ? work.layerP : work.layerQ;
    MultiplyByMatte(still, side.warped, side.visible);
    Unpremultiply(still);
    ExtendColors(still, work.scratchMatte, pass.progress);
    RestoreAlpha(still, side, work, layer, layerCount, pass);
    Premultiply(still);
    pass.progress.Tick();
    if (!moves) return still;
    MoveNearest(work.layerR, still, NearestFlow(pass, layer), amount, warpingMethod,
                &work.coverageA, pass.progress);
    return work.layerR;
}

// Both frames' layers, the holes of each filled from the other one moved all the way to it: the
// floor layer ends in layerR, the ceil layer in layerS.
void KQVelorin4Internal::FillFromEachOther(RenderPass& pass, LayerWork& work, int layer,
                                           bool moves) {
    const auto cut = [&](ZPImage& picture, const LayerSide& side) {
        MultiplyByMatte(picture, side.warped, side.visible);
        pass.progress.Tick();
    };
    const bool forward = warpingMethod >= kForward;
    cut(work.layerR, work.floorSide);
    cut(work.layerQ, work.ceilSide);
    // On purpose laid over what stands there without vectors, the tracked ceil layer: a matte that
    // is all but white becomes white so.
    if (moves) {
        const ZPImage& flow = forward ? *LayerFlowA(layer) : *LayerFlowB(layer);
        MoveFrame(work.layerS, work.layerR, flow, 1.0f, warpingMethod, nullptr, pass.progress);
    }
    LayOver(work.layerS, work.layerQ, pass);
    cut(work.layerP, work.floorSide);
    if (moves) {
        const ZPImage& flow = forward ? *LayerFlowB(layer) : *LayerFlowA(layer);
        MoveFrame(work.layerR, work.layerQ, flow, 1.0f, warpingMethod, nullptr, pass.progress);
    }
    LayOver(work.layerR, work.layerP, pass);
}

ZPImage& KQVelorin4Internal::BuildMixedLayer(RenderPass& pass, LayerWork& work, int layer,
                                             bool moves) {
    FillFromEachOther(pass, work, layer, moves);
    for (ZPImage* picture : {&work.layerR, &work.layerS}) {
        Unpremultiply(*picture);
        pass.progress.Tick();
    }
    for (ZPImage* picture : {&work.layerR, &work.layerS}) {
        ExtendColors(*picture, work.scratchMatte, pass.progress);
    }
    RestoreAlpha(work.layerR, work.floorSide, work, layer, layerCount, pass);
    RestoreAlpha(work.layerS, work.ceilSide, work, layer, layerCount, pass);
    // Y'CbCr layers blend like others: the rule of their own is for whole frames.
    const auto pair = [&] {
        return FramePair{work.layerR, work.layerS, *LayerFlowA(layer), *LayerFlowB(layer),
                         pass.floorWeight};
    };
    const WarpRoom room{&work.layerP, &work.layerQ, &work.coverageA, &work.coverageB};
    if (moves && pass.interpMethod == 2) {
        // Straight colours: the mix sharpens them, and alpha would weigh in.
        MixEnergy(work.layerP, pair(), warpingMethod, room, pass.progress);
        Premultiply(work.layerP);
        return work.layerP;
    }
    for (ZPImage* picture : {&work.layerR, &work.layerS}) {
        Premultiply(*picture);
        pass.progress.Tick();
    }
    if (!moves) {
        ZPBlendTwo(work.layerP, work.layerR, work.layerS, 1.0f - pass.floorWeight);
        return work.layerP;
    }
    if (MixBlendAtOnce(work.layerP, pair(), warpingMethod, pass.progress)) return work.layerP;
    MixBlend(work.layerR, pair(), warpingMethod, room, pass.progress);
    return work.layerR;
}

}  // namespace velorin
