#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "cli/options.h"
#include "cli/run_plan.h"
#include "media/clip.h"

namespace velorin {

// The frame that stands before a hole of the clip, and the one behind it; for a frame that is there
// both are that frame.
struct FramesAround {
    std::int64_t before = 0;
    std::int64_t behind = 0;
};
FramesAround FramesAroundHole(const ClipInfo& clip, std::int64_t frame);

// The frame that stands in for a hole where none is computed: the one before it, or the one behind
// it where that alone is of its scene. A frame that is there stands for itself.
std::int64_t StandInFor(const ClipInfo& clip, const SceneMarks& scenes, std::int64_t frame);

// `clip` with its holes filled as options.missing says. One that is computed from the frames on
// both sides comes from the engine, with the options' quality and methods, at the part of the way
// at which it would stand; mattes, points and vectors of the options play no part in it. The engine
// that does so is another than the caller's, who may be in the middle of a frame.
//
//   clip   the source of `plan`, opened with its holes
//   order  answers the frames in the order in which they will be read, -1 at the end
//
// Throws MediaError.
std::unique_ptr<ClipReader> FillHoles(std::unique_ptr<ClipReader> clip, const Options& options,
                                      const RunPlan& plan,
                                      const std::function<std::int64_t()>& order);

}  // namespace velorin
