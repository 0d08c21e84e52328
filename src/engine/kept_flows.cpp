#include "engine/method_matrix.h"
#include "engine/render_pass.h"

namespace velorin {

namespace {

constexpr int kMaxReduction = 3;

// On purpose the same for the two lowest qualities: nothing else of the quality reaches the
// estimator.
int ReductionOf(int vectorQuality) {
    switch (vectorQuality) {
        case 3:
            return 2;
        case 4:
            return 1;
        case 5:
            return 0;
        default:
            return kMaxReduction;
    }
}

}  // namespace

KQVelorin4Internal::~KQVelorin4Internal() {
    ReleaseFlows();
}

void KQVelorin4Internal::ReleaseFlows() {
    forwardFlow = nullptr;  // borrowed
    suppliedForward.reset();
    backFlow.reset();
    for (auto* flows : {&layerFlowA, &layerFlowB}) {
        for (std::unique_ptr<ZPImage>& flow : *flows) flow.reset();
    }
    opticalFlow.reset();
    morphFlow.reset();
}

void KQVelorin4Internal::UpdateFormat(RenderPass& pass) {
    const FrameRequest& request = pass.request;
    reductionSteps = ReductionOf(pass.vectorQuality);
    if (request.fullDetail == 0 && reductionSteps < kMaxReduction) ++reductionSteps;
    width = pass.Sample().width;
    height = pass.Sample().height;
    flowWidth = width;
    flowHeight = height;
    for (int i = 0; i < reductionSteps; ++i) {
        flowWidth /= 2;
        flowHeight /= 2;
    }
    interpMethod = pass.interpMethod;
    vectorQuality = pass.vectorQuality;
    warpingMethod = pass.host.UsesWhichWarping();
    if (warpingMethod < kInverse || warpingMethod > kForwardPlain) throw ZPErrBadArgument;
    KQVelorin4& host = pass.host;
    host.inputFields = request.inputFields;
    host.outputFields = request.outputFields;
    host.sourceFrameRate = request.sourceFrameRate;
    host.outputFrameRate = request.outputFrameRate;
    host.vectorQuality = pass.vectorQuality;
    host.interpMethod = pass.interpMethod;
    host.fullDetail = request.fullDetail;
    host.compensate = request.compensate;
}

FlowSettings KQVelorin4Internal::CurrentSettings(const RenderPass& pass) const {
    const FrameRequest& request = pass.request;
    FlowSettings now;
    now.interpMethod = pass.interpMethod;
    now.vectorQuality = pass.vectorQuality;
    now.warpingMethod = warpingMethod;
    now.layerCount = layerCount;
    now.reductionSteps = reductionSteps;
    now.inputFields = request.inputFields;
    now.outputFields = request.outputFields;
    now.sourceFrameRate = request.sourceFrameRate;
    now.outputFrameRate = request.outputFrameRate;
    now.drawStart = pass.host.GetDrawStartLayer();
    now.drawEnd = pass.host.GetDrawEndLayer();
    now.enhance = pass.host.EnhanceImages() == 1;
    now.layerSensitivity = pass.layerSensitivity;
    now.layerShrink = pass.layerShrink;
    now.layerUsesOpticalFlow = layerUsesOpticalFlow;
    now.sameClipForTracking = request.sameClipForTracking;
    now.imagesAreYCbCr = request.imagesAreYCbCr;
    now.width = width;
    now.height = height;
    now.pixelType = pass.Sample().pixelType;
    return now;
}

// Flows survive as long as nothing that they depend on has changed; a frame on a source frame drops
// them too.
void KQVelorin4Internal::DropChangedFlows(RenderPass& pass) {
    const FlowSettings now = CurrentSettings(pass);
    const auto drop = [&] {
        ReleaseFlows();
        if (!pass.onFrame) pass.needFlows = true;
    };
    if (!(now == previous) || pass.vectorQuality == 0 || pass.onFrame || pass.keepFlows == 0) {
        drop();
    }
    const auto hasOtherSize = [&](const auto& object) {
        return object && (object->width != flowWidth || object->height != flowHeight);
    };
    if (hasOtherSize(opticalFlow) || hasOtherSize(morphFlow)) drop();
    for (int layer = 0; layer < layerCount; ++layer) {
        const int geometries = pass.host.GetNumGeometries(
            layer, static_cast<float>(pass.floorFrame), static_cast<float>(pass.ceilFrame));
        if (geometries != 0) pass.hasGeometry = true;
    }
    // An estimator is made with or without hints; making it anew asks for its flows.
    if (pass.hasGeometry != anyGeometry) ReleaseFlows();
    anyGeometry = pass.hasGeometry;
    previous = now;
}

}  // namespace velorin
