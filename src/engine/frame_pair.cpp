#include "engine/frame_choice.h"
#include "engine/render_pass.h"

namespace velorin {

namespace {

float SourceTime(KQVelorin4& host, float outputTime) {
    float time = 0.0f;
    host.GetKeyframedTime(&time, outputTime);
    return time;
}

}  // namespace

void KQVelorin4Internal::ChooseMethod(RenderPass& pass) {
    const FrameRequest& request = pass.request;
    pass.vectorQuality = request.vectorQuality;
    pass.interpMethod = request.interpMethod;
    pass.keepFlows = pass.hostVectors != 1 && request.keepFlows == 1 ? 1 : 0;
    pass.requestTime = SourceTime(pass.host, request.outputTime);
    pass.nextRequestTime = SourceTime(pass.host, request.nextOutputTime);
    const SceneFrames frames = FramesOfScenes(pass.requestTime, request.inputFields != 0);
    const int earlier = pass.host.WhichScene(static_cast<float>(frames.earlier));
    const int later = pass.host.WhichScene(static_cast<float>(frames.later));
    const SceneRule rule = RuleOfScenes(earlier, later);
    if (rule == SceneRule::kAnyMethod) return;
    pass.vectorQuality = 0;
    pass.keepFlows = 0;
    pass.interpMethod = rule == SceneRule::kNearest ? 0 : 1;
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
    if (!ShowsSourceFrame(s, s1, request.compensate)) pass.onFrame = false;
    for (int layer = 0; layer < request.matteLayers; ++layer) {
        // A shrunken matte has to be rebuilt by warping even on a frame.
        if (pass.layerShrink[layer] != 0.0f) pass.onFrame = false;
    }
    const SourcePair pair = PairAround(s);
    pass.sourceTime = s;
    pass.nextSourceTime = s1;
    pass.floorFrame = pair.floorFrame;
    pass.ceilFrame = pair.ceilFrame;
    pass.floorWeight = pair.floorWeight;
    if (pass.onFrame) {
        pass.needFlows = false;
    } else if (!flowPair.Serves(pair, pass.interpMethod)) {
        pass.needFlows = true;
    }
    flowPair.Take(pair);
}

}  // namespace velorin
