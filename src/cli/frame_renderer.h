#pragma once

#include <cstdint>
#include <memory>

#include "cli/clip_host.h"
#include "cli/options.h"
#include "cli/progress_line.h"
#include "cli/run_plan.h"
#include "media/clip.h"

namespace velorin {

// Has the engine work on as many threads as the options say, and answers how many these are.
int StartThreads(const Options& options);

// How the two neighbours of an output frame are mixed and moved, in the engine's numbers.
struct Method {
    int interp = 1;
    int warp = 0;
};

// Asks the engine for one output frame after the other.
class FrameRenderer {
  public:
    // `options` and `plan` outlive the renderer. `plan` names all frames that will be asked for.
    FrameRenderer(const Options& newOptions, const RunPlan& plan, std::unique_ptr<ClipReader> clip);

    // The frame in the plan's depth, until the next call; null when the user asked to stop at once.
    const Picture* Render(std::int64_t frame, Method method, ProgressLine& progress);

  private:
    const Picture& Converted();

    const Options& options;
    ClipHost host;
    Picture rendered;
    Picture written;
};

}  // namespace velorin
