#pragma once

#include <cstdint>

namespace velorin {

// What the engine decides about a request before it looks at any picture, out of source times and
// scene numbers alone. Programs ask the same to tell beforehand what a request will read and cost.

// The two source frames whose scenes decide the method of a request.
struct SceneFrames {
    int earlier = 0;
    int later = 0;
};
// `sourceTime` in frames, also where the input has fields.
SceneFrames FramesOfScenes(float sourceTime, bool inputHasFields);

// What scenes leave of the method that the user chose: no vectors in the last two cases.
enum class SceneRule { kAnyMethod, kNearest, kBlend };
// The scene numbers are those of KQVelorin4::WhichScene.
SceneRule RuleOfScenes(int earlierScene, int laterScene);

// The source frames around a source time; both count fields where the input has them.
struct SourcePair {
    std::int32_t floorFrame = 0;
    std::int32_t ceilFrame = 0;
    float floorWeight = 0.0f;  // share of the floor frame

    // Of two equally near frames the earlier is shown.
    bool ShowsFloor() const { return floorWeight >= 0.5f; }
};
SourcePair PairAround(float sourceTime);

// Whether a pass at `sourceTime` shows a source frame as it is, without vectors. `nextSourceTime`
// is that of the following output step: motion blur is made along vectors wherever time goes on.
bool ShowsSourceFrame(float sourceTime, float nextSourceTime, float compensate);

// The pair that kept flows belong to.
struct FlowPair {
    std::int32_t lastFloorFrame = -1;
    std::int32_t nearestFromFrame = -1;  // the frame that Nearest showed last
    std::int32_t nearestToFrame = -1;    // the other one of its pair

    // Whether its flows serve `pair` too.
    bool Serves(const SourcePair& pair, std::int64_t interpMethod) const;
    void Take(const SourcePair& pair);
};

}  // namespace velorin
