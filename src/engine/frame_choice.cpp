#include "engine/frame_choice.h"

#include <cmath>

#include "image/rounding.h"

namespace velorin {

namespace {

enum Scene { kSceneNearest = 3, kSceneBlend = 4 };

// Whether a source time is so near to a whole frame, on either side, that it is taken for it.
bool LiesOnFrame(float sourceTime) {
    const float d = sourceTime - std::floor(sourceTime);
    return !(std::fabs(d) > 0.005f && std::fabs(d - 1.0f) > 0.005f);
}

}  // namespace

SceneFrames FramesOfScenes(float sourceTime, bool inputHasFields) {
    const double time = static_cast<double>(sourceTime);
    return {Truncate(sourceTime), Truncate(time + (inputHasFields ? 0.5 : 1.0))};
}

// A frame never mixes or warps across a change of scene number: it shows the nearer frame. The
// number of the earlier frame may also rule out vectors.
SceneRule RuleOfScenes(int earlierScene, int laterScene) {
    if (earlierScene == kSceneBlend) return SceneRule::kBlend;
    if (earlierScene == kSceneNearest) return SceneRule::kNearest;
    return earlierScene != laterScene ? SceneRule::kNearest : SceneRule::kAnyMethod;
}

SourcePair PairAround(float sourceTime) {
    // On purpose cut and not rounded down: the two differ for negative times.
    const int floorFrame = Truncate(sourceTime);
    return {floorFrame, floorFrame + 1, 1.0f - (sourceTime - static_cast<float>(floorFrame))};
}

bool ShowsSourceFrame(float sourceTime, float nextSourceTime, float compensate) {
    const bool advances = std::fabs(sourceTime - nextSourceTime) > 1e-06f;
    if (advances && compensate > 0.005f) return false;
    return LiesOnFrame(sourceTime);
}

bool FlowPair::Serves(const SourcePair& pair, std::int64_t interpMethod) const {
    if (interpMethod != 0) return lastFloorFrame == pair.floorFrame;
    const int shown = pair.ShowsFloor() ? pair.floorFrame : pair.ceilFrame;
    const int other = pair.ShowsFloor() ? pair.ceilFrame : pair.floorFrame;
    return nearestFromFrame == shown && nearestToFrame == other;
}

void FlowPair::Take(const SourcePair& pair) {
    lastFloorFrame = pair.floorFrame;
    nearestFromFrame = pair.ShowsFloor() ? pair.floorFrame : pair.ceilFrame;
    nearestToFrame = pair.ShowsFloor() ? pair.ceilFrame : pair.floorFrame;
}

}  // namespace velorin
