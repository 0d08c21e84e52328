#include <cmath>

#include "engine/on_frame.h"
#include "engine/render_pass.h"
#include "image/rounding.h"

namespace velorin {

namespace {

enum Scene { kSceneNearest = 3, kSceneBlend = 4 };

float SourceTime(KQVelorin4& host, float outputTime) {
    float time = 0.0f;
    host.GetKeyframedTime(&time, outputTime);
    return time;
}

}  // namespace

// A frame never mixes or warps across a change of scene number: it shows the nearer frame. The
// number of the earlier frame may also rule out vectors.
void KQVelorin4Internal::ChooseMethod(RenderPass& pass) {
    const FrameRequest& request = pass.request;
    pass.vectorQuality = request.vectorQuality;
    pass.interpMethod = request.interpMethod;
    pass.keepFlows = pass.hostVectors != 1 && request.keepFlows == 1 ? 1 : 0;
    pass.requestTime = SourceTime(pass.host, request.outputTime);
    pass.nextRequestTime = SourceTime(pass.host, request.nextOutputTime);
    const double s = static_cast<double>(pass.requestTime);
    const int a = Truncate(pass.requestTime);
    const int b = Truncate(s + (request.inputFields != 0 ? 0.5 : 1.0));
    const int sceneA = pass.host.WhichScene(static_cast<float>(a));
    const int sceneB = pass.host.WhichScene(static_cast<float>(b));
    const auto withoutVectors = [&](std::int64_t method) {
        pass.vectorQuality = 0;
        pass.keepFlows = 0;
        pass.interpMethod = method;
    };
    if (sceneA != sceneB) withoutVectors(0);
    if (sceneA == kSceneNearest) withoutVectors(0);
    if (sceneA == kSceneBlend) withoutVectors(1);
}

void KQVelorin4Internal::AskOverrides(RenderPass& pass) {
    KQVelorin4& host = pass.host;
    const float time = pass.request.outputTime + static_cast<float>(pass.pass) * pass.passStep;
    const int background = pass.request.matteLayers;
    float value = 0.0f;
    if (host.GetBackgroundLayerSensitivity(time, &value) == 1) {
        pass.layerSensitivity[background] = value;
    }
    for (int layer = 0; layer < background; ++layer) {
        if (host.GetLayerSensitivity(time, &value, layer) == 1) {
            pass.layerSensitivity[layer] = value;
        }
        if (host.GetLayerMatteShrink(time, &value, layer) == 1) pass.layerShrink[layer] = value;
        host.GetDoOpticalFlow(&layerUsesOpticalFlow[layer], layer, time);
    }
    host.GetBackgroundLayerDoOpticalFlow(&layerUsesOpticalFlow[background], time);
    host.GetCompensate(time, &pass.compensateStart);
}

void KQVelorin4Internal::SelectFramePair(RenderPass& pass) {
    const FrameRequest& request = pass.request;
    float s = pass.requestTime;
    float s1 = pass.nextRequestTime;
    if (request.outputFields != 0) {
        const float p = static_cast<float>(pass.pass);
        s = SourceTime(pass.host, request.outputTime + p * 0.5f);
        s1 = SourceTime(pass.host, request.outputTime + (p + 1.0f) * 0.5f);
    }
    AskOverrides(pass);
    if (request.inputFields != 0) {
        s *= 2.0f;
        s1 *= 2.0f;
    }
    if (!LiesOnFrame(s)) pass.onFrame = false;
    for (int layer = 0; layer < request.matteLayers; ++layer) {
        // A shrunken matte has to be rebuilt by warping even on a frame.
        if (pass.layerShrink[layer] != 0.0f) pass.onFrame = false;
    }
    const bool advances = std::fabs(s - s1) > 1e-06f;
    if (advances && request.compensate > 0.005f) pass.onFrame = false;  // blur comes from flow
    pass.sourceTime = s;
    pass.nextSourceTime = s1;
    // On purpose cut and not rounded down: the two differ for negative times.
    pass.floorFrame = Truncate(s);
    pass.ceilFrame = pass.floorFrame + 1;
    pass.floorWeight = 1.0f - (s - static_cast<float>(pass.floorFrame));

    if (pass.onFrame) {
        pass.needFlows = false;
    } else if (PairNeedsFlows(pass)) {
        pass.needFlows = true;
    }
    // A tie goes to the earlier frame.
    const bool showsFloor = pass.floorWeight >= 0.5f;
    lastFloorFrame = pass.floorFrame;
    nearestFromFrame = showsFloor ? pass.floorFrame : pass.ceilFrame;
    nearestToFrame = showsFloor ? pass.ceilFrame : pass.floorFrame;
}

bool KQVelorin4Internal::PairNeedsFlows(const RenderPass& pass) const {
    if (pass.interpMethod != 0) return lastFloorFrame != pass.floorFrame;
    const bool showsFloor = pass.floorWeight >= 0.5f;
    const int shown = showsFloor ? pass.floorFrame : pass.ceilFrame;
    const int other = showsFloor ? pass.ceilFrame : pass.floorFrame;
    return nearestFromFrame != shown || nearestToFrame != other;
}

}  // namespace velorin
