#include <algorithm>

#include "engine/fields.h"
#include "engine/render_pass.h"
#include "image/copy.h"

namespace velorin {

namespace {

ZPImage* TargetOf(KQImage* handle) {
    if (!handle || !handle->internal || !handle->internal->data) throw ZPErrBadArgument;
    if (!HasChannelOrder(*handle)) throw ZPErrBadArgument;
    if (handle->internal->width < 2 || handle->internal->height < 2) throw ZPErrBadArgument;
    return handle->internal;
}

void ClearTargets(RenderPass& pass) {
    const FrameRequest& request = pass.request;
    pass.target[0] = TargetOf(request.resultImage);
    if (request.outputFields != 0) {
        pass.target[1] = TargetOf(request.secondFieldImage);
        if (ShapeDiffers(pass.target[1], pass.target[0])) throw ZPErrBadArgument;
        if (pass.target[1]->pixelType != pass.target[0]->pixelType) throw ZPErrBadArgument;
    }
    for (ZPImage* target : pass.target) ClearImage(target);
}

void CopyLayerArrays(RenderPass& pass) {
    const FrameRequest& request = pass.request;
    if (request.matteLayers < 0 || request.matteLayers > kMaxMatteLayers) throw ZPErrBadArgument;
    const bool given = request.layerSensitivity && request.layerShrink;
    if (request.matteLayers > 0 && !given) throw ZPErrBadArgument;
    std::copy_n(request.layerSensitivity, request.matteLayers, pass.layerSensitivity.begin());
    std::copy_n(request.layerShrink, request.matteLayers, pass.layerShrink.begin());
    pass.layerSensitivity[request.matteLayers] = request.motionSensitivity;
}

// On purpose not alike: exactly 0.01 passes for the output rate and fails for the source rate.
void CheckRates(const FrameRequest& request) {
    if (request.outputFrameRate < 0.01f || request.sourceFrameRate <= 0.01f) {
        throw ZPErrBadArgument;
    }
}

}  // namespace

int KQVelorin4Internal::RenderFrame(KQVelorin4& host, const FrameRequest& request) {
    RenderPass pass(host, request);
    int result = ZPErrNone;
    try {
        RenderPasses(pass);
    } catch (ZPErr failure) {
        result = failure;
    } catch (...) {  // memory, or whatever a slot of the host threw
        result = ZPErrNoMemory;
    }
    pass.frames.GiveBack();
    if (result != ZPErrNone || pass.onFrame || pass.keepFlows == 0) ReleaseFlows();
    return result;
}

void KQVelorin4Internal::RenderPasses(RenderPass& pass) {
    const FrameRequest& request = pass.request;
    forwardFlow = nullptr;
    CopyLayerArrays(pass);
    layerCount = request.matteLayers + 1;
    ClearTargets(pass);
    layerUsesOpticalFlow.fill(true);
    pass.hostVectors = pass.host.UsesSuppliedVectors();
    if (request.interpMethod < 0 || request.interpMethod > 2) throw ZPErrBadArgument;
    ChooseMethod(pass);
    UpdateFormat(pass);
    CheckRates(request);
    if (request.outputFields != 0) {
        pass.passCount = 2;
        pass.passStep = 0.5f;
    }
    for (pass.pass = 0; pass.pass < pass.passCount; ++pass.pass) RenderOnePass(pass);
    if (pass.passCount == 2) {
        WeaveFields(*pass.target[0], *pass.target[1], WeaveModeOf(request.outputFields));
    }
    OrderChannelsForHost(*request.resultImage);
}

// Together the layers of a frame that needs no vectors are the frame; some of them have to be cut
// out all the same.
bool KQVelorin4Internal::DrawsAllLayers(const RenderPass& pass) const {
    return pass.host.GetDrawStartLayer() == layerCount - 1 && pass.host.GetDrawEndLayer() == 0;
}

void KQVelorin4Internal::RenderOnePass(RenderPass& pass) {
    SelectFramePair(pass);
    DropChangedFlows(pass);
    const bool direct = pass.vectorQuality == 0 || pass.onFrame;
    if (layerCount > 1 && !(direct && DrawsAllLayers(pass))) {
        RenderLayers(pass);
    } else if (direct) {
        RenderDirect(pass);
    } else {
        RenderSingleLayer(pass);
    }
    pass.progress.Tick();
    pass.frames.GiveBack();
    if (pass.onFrame) ReleaseFlows();
}

}  // namespace velorin
