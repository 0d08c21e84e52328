#include "engine/layer_work.h"
#include "image/arithmetic.h"
#include "image/copy.h"

namespace velorin {

namespace {

// Invalid for the estimator is what of a layer a layer in front of it hides; what lies outside the
// layer is valid, and black on both frames.
void LoadValidity(ZPOpticalFlowUChar& estimator, const LayerSide& side, LayerWork& work, int layer,
                  int layerCount, bool toB) {
    LayerMatte(work.scratchMatte, side.mattes, layer, layerCount, nullptr);
    Subtract1Channel(work.scratchMatte, side.visible);
    InvertImage(work.scratchMatte);
    estimator.LoadMatte(work.scratchMatte, toB);
}

}  // namespace

// Makes the flows that a layer's computation writes; kept ones stand until they are released.
void KQVelorin4Internal::PrepareLayerFlows(std::int64_t keepFlows) {
    const auto create = [&](std::unique_ptr<ZPImage>& flow) {
        if (flow) return;
        flow = std::make_unique<ZPImage>(flowWidth, flowHeight, 2, ZPPixFloat, 0);
        ClearImage(flow.get());
    };
    if (keepFlows != 1) return create(backFlow);
    for (int i = layerCount - 1; i > 0; --i) create(layerFlowA[i]);
    if (interpMethod == 0) return;
    for (int i = 0; i < layerCount; ++i) create(layerFlowB[i]);
}

ZPImage* KQVelorin4Internal::LayerFlowA(int layer) const {
    // The frontmost layer is computed last, so that its flow may stay in the estimator. Where
    // nothing is kept each layer's does: it is used before the next one is computed.
    if (layer != 0 && !backFlow) return layerFlowA[layer].get();
    // With supplied vectors there is neither an estimator nor a morph flow.
    ZPImage* held = HeldFlow(layer);
    return held ? held : forwardFlow;
}

ZPImage* KQVelorin4Internal::LayerFlowB(int layer) const {
    return backFlow ? backFlow.get() : layerFlowB[layer].get();
}

// From the floor frame to the ceil frame, or back, into `dest`.
void KQVelorin4Internal::ComputeLayerFlow(ZPImage* dest, RenderPass& pass, LayerWork& work,
                                          int layer, bool fromFloor) {
    FeedGuides(pass, layer, fromFloor);
    pass.NextStage();
    if (!layerUsesOpticalFlow[layer]) return morphFlow->Compute(dest, &pass.progress, 1);
    const LayerSide& first = fromFloor ? work.floorSide : work.ceilSide;
    const LayerSide& second = fromFloor ? work.ceilSide : work.floorSide;
    LoadValidity(*opticalFlow, first, work, layer, layerCount, false);
    LoadValidity(*opticalFlow, second, work, layer, layerCount, true);
    const bool enhance = previous.enhance;
    opticalFlow->LoadImage(first.cutTracked, &first.visible, &first.visible, false, enhance);
    opticalFlow->LoadImage(second.cutTracked, &second.visible, &second.visible, true, enhance);
    opticalFlow->ComputeFlow(dest, 1, 1, 0, &pass.progress);
}

// The same of the two sides whose other flow was computed just now.
void KQVelorin4Internal::ReverseLayerFlow(ZPImage* dest, RenderPass& pass, LayerWork& work,
                                          int layer, bool fromFloor) {
    const auto loaded = [](const LayerSide& side) {
        return !SizeDiffers(&side.cutTracked, &side.visible);
    };
    if (!layerUsesOpticalFlow[layer] || !loaded(work.floorSide) || !loaded(work.ceilSide)) {
        return ComputeLayerFlow(dest, pass, work, layer, fromFloor);
    }
    FeedGuides(pass, layer, fromFloor);
    pass.NextStage();
    opticalFlow->ComputeReverseFlow(dest, 1, 0, &pass.progress);
}

// One flow for Nearest; else two, the later frame's first.
void KQVelorin4Internal::ComputeLayerFlows(RenderPass& pass, LayerWork& work, int layer) {
    PrepareLayerFlows(pass.keepFlows);
    if (pass.interpMethod == 0) {
        return ComputeLayerFlow(LayerFlowA(layer), pass, work, layer, FlowStartsAtFloor(pass));
    }
    ComputeLayerFlow(LayerFlowB(layer), pass, work, layer, false);
    ReverseLayerFlow(LayerFlowA(layer), pass, work, layer, true);
}

}  // namespace velorin
