#include "cli/retime.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cli/exit_codes.h"
#include "cli/fields.h"
#include "cli/frame_list.h"
#include "cli/frame_renderer.h"
#include "cli/guides.h"
#include "cli/layer_clips.h"
#include "cli/matte_range.h"
#include "cli/motion_options.h"
#include "cli/motion_transfer.h"
#include "cli/progress_line.h"
#include "cli/run_plan.h"
#include "cli/stop_request.h"
#include "cli/time_notes.h"
#include "cli/vector_notes.h"
#include "media/still_format.h"

namespace velorin {

namespace {

constexpr int kWriteBehind = 1;

std::unique_ptr<ClipWriter> CreateWriter(const Options& options, const RunPlan& plan,
                                         const RunClips& clips) {
    OutputSettings settings;
    settings.source = plan.source;
    settings.source.rate = plan.lawFacts.rate;
    settings.alsoRead = OtherClips(clips);
    settings.depth = plan.depth;
    settings.firstNumber = plan.firstNumber;
    settings.fieldOrder = OrderOfFields(plan.request.outputFields);
    settings.overwrite = options.overwrite;
    settings.madeOf = [&plan](std::int64_t frame) { return SourceFramesOf(plan, frame); };
    // Painted pictures are in colour, whatever the source is.
    const bool painted = options.view == View::kMatte || options.view == View::kFlow;
    if (painted && settings.source.channels < 3) {
        settings.source.channels = 3;
        settings.source.channelNames.clear();
    }
    return WriteBehind(CreateClip(options.output, settings, plan.frames), kWriteBehind);
}

void NoteIdleCompensation(const Options& options, const RunPlan& plan, ProgressLine& progress) {
    if (!(options.compensate > 0.0f)) return;
    // Fields count by steps of their own, and mattes cut layers out of frames that are not still.
    const bool plain =
        plan.request.inputFields == 0 && plan.request.outputFields == 0 && options.mattes.empty();
    if (options.view == View::kFlow || options.view == View::kMatte) {
        progress.Note("--compensate: changes nothing in this --view");
    } else if (options.quality == 0) {
        progress.Note("--compensate: changes nothing with --quality none");
    } else if (!(options.compensate > 0.005f)) {
        progress.Note("--compensate: up to 0.005 changes nothing");
    } else if (const std::optional<Rational>& speed = plan.lawFacts.speed;
               speed &&
               (speed->numerator == 0 || (speed->numerator == speed->denominator && plain))) {
        progress.Note("--compensate: changes nothing at " + plan.lawFacts.text);
    }
}

// What of the input's pixels the output will lack.
void NoteWhatIsLeftOut(const Options& options, const RunPlan& plan, ProgressLine& progress) {
    const ClipInfo& source = plan.source;
    if (!source.channelsLeftOut.empty()) {
        progress.Note(source.name + ": the channels " + ListOf(source.channelsLeftOut) +
                      " are left out; " + ListOf(source.channelNames) + " are retimed");
    }
    const bool painted = options.view == View::kMatte || options.view == View::kFlow;
    if (source.channels % 2 == 0 && !painted && !CanHoldAlpha(options.output)) {
        progress.Note("-o " + options.output +
                      ": cannot hold the input's alpha, which is left out; exr, dpx, tif, png, mov "
                      "and mkv can");
    }
}

// The whole run. However it ends, the frames of a sequence that were rendered are on the disk.
class Run {
  public:
    Run(const Options& options, const RunPlan& newPlan, RunClips clips,
        std::vector<LayerGuides> guides, std::unique_ptr<ClipWriter> newWriter,
        ProgressLine& newProgress)
        : plan(newPlan),
          progress(newProgress),
          isSequence(FindStillFormat(options.output) != nullptr),
          writer(std::move(newWriter)),
          method{options.interp, options.warp},
          renderer(options, plan, std::move(clips), std::move(guides)) {}

    int Execute();

  private:
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
    RunClips clips = OpenRunClips(options);
    const RunPlan plan = MakePlan(options, clips.source->Info());
    ProgressLine progress(options.progress, options.quiet);
    NoteTimes(options, plan, progress);
    if (options.verbose)
        progress.Note(Describe(plan, options, threads) + VectorsText(options, clips));
    if (plan.frames.empty()) {
        progress.Note("nothing to do");
        return kExitDone;
    }
    std::vector<LayerGuides> guides = OpenGuides(options, plan.source, progress);
    std::unique_ptr<ClipWriter> writer = CreateWriter(options, plan, clips);
    NoteWhatIsLeftOut(options, plan, progress);
    NoteMotionSources(options, progress);
    NoteEmptyVectors(options, plan, clips, progress);
    NoteMotionTransfer(options, plan, clips, progress);
    NoteFields(options, plan, progress);
    NoteIdleCompensation(options, plan, progress);
    NoteMatteRanges(options, plan, clips, progress);
    return Run(options, plan, std::move(clips), std::move(guides), std::move(writer), progress)
        .Execute();
}

}  // namespace velorin
