#include "cli/retime.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cli/exit_codes.h"
#include "cli/frame_list.h"
#include "cli/frame_renderer.h"
#include "cli/progress_line.h"
#include "cli/run_plan.h"
#include "cli/stop_request.h"
#include "media/still_format.h"

namespace velorin {

namespace {

constexpr int kWriteBehind = 1;

// The whole run. However it ends, the frames of a sequence that were rendered are on the disk.
class Run {
  public:
    Run(const Options& options, const RunPlan& newPlan, std::unique_ptr<ClipReader> clip,
        ProgressLine& newProgress)
        : plan(newPlan),
          progress(newProgress),
          isSequence(FindStillFormat(options.output) != nullptr),
          writer(CreateWriter(options, plan)),
          method{options.interp, options.warp},
          renderer(options, plan, std::move(clip)) {}

    int Execute();

  private:
    static std::unique_ptr<ClipWriter> CreateWriter(const Options& options, const RunPlan& plan);
    int RenderAll();
    int Stop(int code);

    const RunPlan& plan;
    ProgressLine& progress;
    const bool isSequence;
    std::unique_ptr<ClipWriter> writer;
    const Method method;
    FrameRenderer renderer;
    std::int64_t done = 0;
};

std::unique_ptr<ClipWriter> Run::CreateWriter(const Options& options, const RunPlan& plan) {
    OutputSettings settings;
    settings.source = plan.source;
    settings.depth = plan.depth;
    settings.firstNumber = plan.firstNumber;
    settings.overwrite = options.overwrite;
    return WriteBehind(CreateClip(options.output, settings, plan.frames), kWriteBehind);
}

int Run::Execute() {
    progress.Start(static_cast<std::int64_t>(plan.frames.size()));
    try {
        return RenderAll();
    } catch (...) {
        try {
            if (isSequence) writer->Finish();
        } catch (const MediaError&) {
            // What ended the run is thrown on; it tells more, or the same.
        }
        throw;
    }
}

int Run::RenderAll() {
    for (const std::int64_t frame : plan.frames) {
        if (const int code = StopRequested()) return Stop(code);
        const Picture* picture = renderer.Render(frame, method, progress);
        if (!picture) return Stop(StopRequested());
        writer->Write(frame, *picture);
        ++done;
        progress.FrameDone(frame);
    }
    writer->Finish();
    progress.Finish();
    return kExitDone;
}

// A movie that lacks frames is no whole movie, and goes.
int Run::Stop(int code) {
    if (isSequence) writer->Finish();
    const std::string count =
        std::to_string(done) + " of " + std::to_string(plan.frames.size()) + " frames";
    progress.Note(isSequence ? "stopped on request; " + count + " are written"
                             : "stopped on request after " + count + "; no movie is left");
    return code;
}

}  // namespace

int Retime(const Options& options) {
    WatchForStop();
    const int threads = StartThreads(options);
    std::unique_ptr<ClipReader> clip = OpenClip(options.input);
    const RunPlan plan = MakePlan(options, clip->Info());
    ProgressLine progress(options.progress, options.quiet);
    if (plan.framesLeftOut) {
        progress.Note("--frames: what lies past " + std::to_string(plan.length - 1) +
                      ", the last output frame, is left out");
    }
    if (options.verbose) progress.Note(Describe(plan, options, threads));
    if (plan.frames.empty()) {
        progress.Note("nothing to do");
        return kExitDone;
    }
    return Run(options, plan, std::move(clip), progress).Execute();
}

}  // namespace velorin
