#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "cli/run_plan.h"

namespace velorin {

// Output frames of an open plan that are looked at before the run: they tell whether motion is
// estimated at all, and what mattes reach.
inline constexpr int kSeenOfOpen = 1000;

// The output frames of a run, one after the other: those of the plan, or, where its clip ends
// nobody knows when, the numbers that were asked for as far as the plan's length allows.
class RunFrames {
  public:
    // `plan` outlives it.
    explicit RunFrames(const RunPlan& newPlan) : plan(&newPlan) {}

    // Nothing at the end.
    std::optional<std::int64_t> Next();

  private:
    const RunPlan* plan;
    std::size_t taken = 0;  // of the plan's frames
    std::int64_t next = 0;  // that may be asked for
};

// What becomes of an output frame whose source comes through a pipe.
enum class SourceState { kThere, kEnded, kStopped };

// Waits for what the engine reads of the source for output frame `frame`, and has what it reads for
// `following` come meanwhile. Ended: the source time lies past the clip, and the run is over.
// Throws MediaError where the stream breaks off.
SourceState AwaitSource(const RunPlan& plan, std::int64_t frame,
                        std::optional<std::int64_t> following);

}  // namespace velorin
