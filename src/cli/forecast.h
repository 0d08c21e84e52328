#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "cli/scene_marks.h"
#include "cli/time_law.h"
#include "engine/frame_choice.h"

namespace velorin {

// What decides beside the time what the engine does: see KQVelorin4::RenderFrame.
struct RequestSettings {
    int inputFields = 0;  // 0 none, 1 upper first, 2 lower first
    int outputFields = 0;
    float compensate = 0.0f;
    bool shrinks = false;      // the hole that a matte cuts is wider than the matte
    bool usesVectors = false;  // where the time lies between frames and no scene is in the way
    int interp = 1;            // 0 nearest, 1 blend, 2 weighted energy blend
    SceneMarks scenes;
};

// What the engine does in one pass of a request.
struct PassForecast {
    SourceTime time;              // in frames
    std::int64_t base = 0;        // frames that the engine's own numbers count from
    SourcePair numbers;           // by these numbers, in fields where the input has them
    std::int64_t pair = 0;        // its floor frame, or floor field where the input has fields
    std::int64_t floorFrame = 0;  // frames that it asks for, possibly beyond the clip's end
    std::int64_t ceilFrame = 0;
    bool onFrame = false;  // shows one frame or field as it stands, without vectors
    bool moves = false;    // pixels move along vectors
    int interp = 1;        // how the two are mixed, as the scenes allow

    // Shows one frame or field alone, moved or as it stands.
    bool ShowsOneFrame() const { return onFrame || interp == 0; }
    // Shows it as it stands.
    bool Copies() const { return !moves && ShowsOneFrame(); }
    // The frame that alone decides the picture. Nothing where the engine looks at both frames,
    // though the share of one be next to none.
    std::optional<std::int64_t> FrameCopied() const;
};

// The passes of the request for an output frame, by the engine's own rules.
std::vector<PassForecast> ForecastOf(const TimeLaw& law, std::int64_t outputFrame,
                                     const RequestSettings& request);

// Follows a run and tells for which passes the engine computes flows: those that it keeps serve as
// long as the pair stays the same.
class FlowForecast {
  public:
    explicit FlowForecast(bool runKeepsFlows) : keepsFlows(runKeepsFlows) {}

    // Of the next request, an answer for each pass.
    std::vector<bool> Next(const std::vector<PassForecast>& passes);

  private:
    bool keepsFlows;
    bool holdsFlows = false;
    std::int64_t base = 0;
    FlowPair flowPair;
};

}  // namespace velorin
