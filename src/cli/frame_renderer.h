#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "cli/clip_host.h"
#include "cli/layer_clips.h"
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

// Asks the engine for one output frame after the other, or paints what --view asks for.
class FrameRenderer {
  public:
    // Both outlive the renderer. The plan names all frames that will be asked for.
    FrameRenderer(const Options& newOptions, const RunPlan& newPlan, RunClips clips,
                  std::vector<LayerGuides> guides);

    // The frame in the plan's depth, until the next call; null when the user asked to stop at once.
    Picture* Render(std::int64_t frame, Method method, ProgressLine& progress);
    // Whether that picture may be left with any content: it is not shown again.
    bool MayTakePicture() const { return !painted; }

    // How the pixels move between the two source frames around an output frame that lies between
    // them: without layers.
    struct Flows {
        const ZPImage* forward;  // from the earlier to the later one; of any size, in its pixels
        const ZPImage* back;
    };
    // Until the next call; nothing when the user asked to stop at once.
    std::optional<Flows> MeasureFlows(std::int64_t frame, ProgressLine& progress);

  private:
    // The next three leave the output frame in `rendered`; false when the user asked to stop.
    bool AskEngine(std::int64_t frame, Method method, ProgressLine& progress);
    bool PaintMatteView(std::int64_t frame);
    bool PaintFlowView(std::int64_t frame, ProgressLine& progress);
    Flows ReadSuppliedFlows(std::int64_t frame, ProgressLine& progress);
    std::array<bool, 2> CompressingPasses(std::int64_t frame) const;
    PassForecast FirstPass(std::int64_t frame) const;
    std::vector<std::unique_ptr<KQImage>> MattesAt(const PassForecast& pass);
    Picture& Converted();

    const Options& options;
    const RunPlan& plan;
    const bool compressesTones;        // where motion is measured
    std::vector<float> sensitivities;  // of the foreground layers, 0.0 to 1.0
    ClipHost host;
    Picture rendered;
    Picture secondField;  // where the output has fields
    Picture written;
    std::unique_ptr<ZPImage> suppliedForward;  // of the vector clips, once they are looked at
    std::unique_ptr<ZPImage> suppliedBack;
    std::optional<std::int64_t> painted;  // pair whose mattes or flows `rendered` shows
};

}  // namespace velorin
