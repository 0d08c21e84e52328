#include "engine/guide_points.h"
#include "engine/method_matrix.h"
#include "engine/render_pass.h"
#include "engine/supplied_vectors.h"
#include "image/copy.h"

namespace velorin {

namespace {

template <typename Object, typename... Settings>
std::unique_ptr<Object> CreateFlowObject(Settings... settings) {
    auto object = std::make_unique<Object>(0, settings...);
    if (object->status != ZPErrNone) throw static_cast<ZPErr>(object->status);
    return object;
}

}  // namespace

// The estimator or the morph flow, whichever makes the flows of a layer. A new one holds none yet.
void KQVelorin4Internal::EnsureFlowObject(RenderPass& pass, int layer, bool masked) {
    if (!layerUsesOpticalFlow[layer]) {
        if (morphFlow) return;
        morphFlow = CreateFlowObject<ZPMorphFlow>(width, height, reductionSteps, 2);
    } else {
        if (opticalFlow) return;
        opticalFlow = CreateFlowObject<ZPOpticalFlowUChar>(
            width, height, reductionSteps, pass.hasGeometry ? 1 : 0, masked ? 1 : 0, 2);
        opticalFlow->lumaIsFirstChannel = pass.request.imagesAreYCbCr;
    }
    pass.needFlows = true;
}

void KQVelorin4Internal::PrepareFlowObject(RenderPass& pass, int layer, bool masked) {
    EnsureFlowObject(pass, 0, masked);
    EnsureFlowObject(pass, layer, masked);
    if (layerUsesOpticalFlow[layer]) {
        opticalFlow->SetSensitivity(pass.layerSensitivity[layer]);
    } else {
        morphFlow->SetSensitivity(pass.layerSensitivity[layer]);
    }
}

// The flow that was computed last for such a layer; null when there is none.
ZPImage* KQVelorin4Internal::HeldFlow(int layer) const {
    if (!layerUsesOpticalFlow[layer]) return morphFlow ? morphFlow->Flow() : nullptr;
    return opticalFlow ? opticalFlow->Flow() : nullptr;
}

// The guide points of a layer from the floor frame to the ceil frame, or back.
void KQVelorin4Internal::FeedGuides(RenderPass& pass, int layer, bool fromFloor) {
    const GuidedPair pair{layer,
                          fromFloor ? pass.floorFrame : pass.ceilFrame,
                          fromFloor ? pass.ceilFrame : pass.floorFrame,
                          pass.request.inputFields != 0,
                          width,
                          height};
    if (!layerUsesOpticalFlow[layer]) {
        FeedGeometry(pass.host, *morphFlow, pair);
    } else if (opticalFlow->guided) {
        FeedGeometry(pass.host, *opticalFlow, pair);
    }
}

// Takes the host's vectors in place of estimated ones: both flows of the pair, at the frame's own
// size. The mattes, unless null, tell what of them is known.
void KQVelorin4Internal::ImportFlows(RenderPass& pass, const ZPImage* floorMatte,
                                     const ZPImage* ceilMatte) {
    for (std::unique_ptr<ZPImage>* flow : {&backFlow, &suppliedForward}) {
        if (!*flow) *flow = std::make_unique<ZPImage>(width, height, 2, ZPPixFloat, 0);
        ClearImage(flow->get());  // a pair without vectors rests, whatever the last one did
    }
    forwardFlow = suppliedForward.get();
    pass.NextStage();
    ImportVectors(pass.host, {*backFlow, pass.ceilFrame, ceilMatte},
                  {*forwardFlow, pass.floorFrame, floorMatte}, pass.progress);
}

// The one flow of Nearest leads from the frame that is not shown to the one that is for the inverse
// warps, and from the shown frame on for the forward ones.
bool KQVelorin4Internal::FlowStartsAtFloor(const RenderPass& pass) const {
    return (pass.floorWeight < 0.5f && warpingMethod < kForward) ||
           (pass.floorWeight >= 0.5f && warpingMethod >= kForward);
}

ZPImage& KQVelorin4Internal::NearestFlow(const RenderPass& pass, int layer) const {
    if (pass.hostVectors != 1) return *LayerFlowA(layer);
    return FlowStartsAtFloor(pass) ? *forwardFlow : *backFlow;
}

}  // namespace velorin
