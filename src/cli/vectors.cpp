#include "cli/vectors.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cli/exit_codes.h"
#include "cli/frame_renderer.h"
#include "cli/frame_size_flow.h"
#include "cli/guides.h"
#include "cli/layer_clips.h"
#include "cli/motion_options.h"
#include "cli/motion_transfer.h"
#include "cli/progress_line.h"
#include "cli/run_plan.h"
#include "cli/setup_text.h"
#include "cli/stop_request.h"
#include "cli/vector_notes.h"
#include "media/vector_writer.h"

namespace velorin {

namespace {

constexpr int kWriteBehind = 1;

std::unique_ptr<ClipWriter> CreateWriter(const Options& options, const VectorsPlan& plan,
                                         const RunClips& clips) {
    OutputSettings settings;
    settings.source = plan.run.source;
    settings.alsoRead = OtherClips(clips);
    settings.firstNumber = plan.run.firstNumber;
    settings.overwrite = options.overwrite;
    return WriteBehind(CreateVectors(options.output, settings, plan.files), kWriteBehind);
}

// Writes the frames in ascending order. Each pair is measured once: what leads back from its later
// frame waits for that frame's file.
class VectorsRun {
  public:
    VectorsRun(const Options& options, const VectorsPlan& newPlan, RunClips clips,
               std::vector<LayerGuides> guides, ProgressLine& newProgress)
        : plan(newPlan),
          progress(newProgress),
          writer(CreateWriter(options, newPlan, clips)),
          renderer(options, newPlan.run, std::move(clips), std::move(guides)) {}

    int Execute();

  private:
    bool Measure(std::int64_t pair);
    bool WriteFile(std::int64_t frame);

    const VectorsPlan& plan;
    ProgressLine& progress;
    std::unique_ptr<ClipWriter> writer;
    FrameRenderer renderer;
    std::int64_t measured = -1;  // the pair of the next two, told by its earlier frame
    Picture forward;
    Picture back;
    Picture earlierBack;
    Picture joined;
};

int VectorsRun::Execute() {
    progress.Start(static_cast<std::int64_t>(plan.files.size()));
    std::int64_t done = 0;
    for (const std::int64_t frame : plan.files) {
        if (StopRequested() || !WriteFile(frame)) break;
        progress.FrameDone(frame);
        ++done;
    }
    writer->Finish();
    if (done == static_cast<std::int64_t>(plan.files.size())) {
        progress.Finish();
        return kExitDone;
    }
    progress.Note("stopped on request; " + std::to_string(done) + " of " +
                  std::to_string(plan.files.size()) + " frames are written");
    return StopRequested();
}

// False when the user asked to stop.
bool VectorsRun::Measure(std::int64_t pair) {
    if (pair == measured) return true;
    const std::optional<FrameRenderer::Flows> flows = renderer.MeasureFlows(pair, progress);
    if (!flows) return false;
    const ClipInfo& source = plan.run.source;
    SpreadFlow(*flows->forward, source.width, source.height, forward);
    SpreadFlow(*flows->back, source.width, source.height, back);
    measured = pair;
    return true;
}

bool VectorsRun::WriteFile(std::int64_t frame) {
    const ClipInfo& source = plan.run.source;
    const bool hasBefore = frame > 0;
    const bool hasNext = frame + 1 < source.frames;
    if (hasBefore) {
        if (!Measure(frame - 1)) return false;
        std::swap(earlierBack, back);
    }
    if (hasNext && !Measure(frame)) return false;
    JoinVectors(hasNext ? &forward : nullptr, hasBefore ? &earlierBack : nullptr, source.width,
                source.height, joined);
    writer->Write(frame, joined);
    return true;
}

}  // namespace

int Vectors(const Options& options) {
    WatchForStop();
    StartThreads(options);
    RunClips clips = OpenRunClips(options);
    const VectorsPlan plan = MakeVectorsPlan(options, clips.source->Info());
    ProgressLine progress(options.progress, options.quiet);
    if (plan.run.framesLeftOut) {
        progress.Note("--frames: what lies past " + std::to_string(plan.run.length - 1) +
                      ", the last frame, is left out");
    }
    if (plan.files.empty()) {
        progress.Note("nothing to do");
        return kExitDone;
    }
    std::vector<LayerGuides> guides = OpenGuides(options, plan.run.source, progress);
    NoteMotionSources(options, progress);
    NoteEmptyVectors(options, plan.run, clips, progress);
    NoteMotionTransfer(options, plan.run, clips, progress);
    VectorsRun run(options, plan, std::move(clips), std::move(guides), progress);
    WriteSetup(options);
    return run.Execute();
}

}  // namespace velorin
