#include "cli/retime.h"

#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "cli/clip_host.h"
#include "cli/exit_codes.h"
#include "cli/frame_list.h"
#include "cli/progress_line.h"
#include "cli/run_plan.h"
#include "cli/stop_request.h"
#include "image/copy.h"
#include "media/still_format.h"
#include "standalone/thread_pool.h"

namespace velorin {

namespace {

constexpr int kReadAhead = 1;
constexpr int kWriteBehind = 1;
constexpr float kFrameRate = 29.97f;  // has no effect on the picture

// Asks the engine for one output frame after the other.
class FrameRenderer {
  public:
    FrameRenderer(const RetimeOptions& newOptions, const RunPlan& plan,
                  std::unique_ptr<ClipReader> clip)
        : options(newOptions),
          host(ReadAhead(std::move(clip), ReadingOrder(*plan.law, plan.frames, plan.source.frames),
                         kReadAhead),
               *plan.law, options.enhance != 0) {
        rendered.SetShape(plan.source.width, plan.source.height, PixelTypeOf(plan.source.depth));
        if (plan.depth == plan.source.depth) return;
        written.SetShape(plan.source.width, plan.source.height, PixelTypeOf(plan.depth));
    }

    // The frame as it is to be written; null when the user asked to stop at once.
    const Picture* Render(std::int64_t frame, ProgressLine& progress);

  private:
    const Picture& Converted();

    const RetimeOptions& options;
    ClipHost host;
    Picture rendered;
    Picture written;
};

const Picture* FrameRenderer::Render(std::int64_t frame, ProgressLine& progress) {
    host.SetOutputFrame(frame);
    KQImage result;
    WrapPicture(result, rendered);
    const int failure =
        host.RenderFrame(&result, nullptr, 0, 0, options.quality, 0.0f, 1.0f, kFrameRate,
                         kFrameRate, 0.0f, options.sensitivity / 100.0f, options.interp, 1, 1,
                         options.keepFlows ? 1 : 0, 0, nullptr, nullptr, &progress, false);
    if (failure == ZPErrInterrupted) return nullptr;
    host.RethrowFailure();
    if (failure == ZPErrNoMemory) throw std::bad_alloc();
    if (failure != ZPErrNone) {
        throw std::runtime_error("output frame " + std::to_string(frame) +
                                 ": the engine failed with code " + std::to_string(failure));
    }
    return &Converted();
}

const Picture& FrameRenderer::Converted() {
    if (written.pixels.empty() || rendered.pixelType == written.pixelType) return rendered;
    KQImage from;
    KQImage to;
    WrapPicture(from, rendered);
    WrapPicture(to, written);
    CopyImage(&to, &from);
    return written;
}

// The whole run. However it ends, the frames of a sequence that were rendered are on the disk.
class Run {
  public:
    Run(const RetimeOptions& options, const RunPlan& newPlan, std::unique_ptr<ClipReader> clip,
        ProgressLine& newProgress)
        : plan(newPlan),
          progress(newProgress),
          isSequence(FindStillFormat(options.output) != nullptr),
          writer(CreateWriter(options, plan)),
          renderer(options, plan, std::move(clip)) {}

    int Execute();

  private:
    static std::unique_ptr<ClipWriter> CreateWriter(const RetimeOptions& options,
                                                    const RunPlan& plan);
    int RenderAll();
    int Stop(int code);

    const RunPlan& plan;
    ProgressLine& progress;
    const bool isSequence;
    std::unique_ptr<ClipWriter> writer;
    FrameRenderer renderer;
    std::int64_t done = 0;
};

std::unique_ptr<ClipWriter> Run::CreateWriter(const RetimeOptions& options, const RunPlan& plan) {
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
        const Picture* picture = renderer.Render(frame, progress);
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

int Retime(const RetimeOptions& options) {
    WatchForStop();
    const int threads = options.threads > 0 ? options.threads : AvailableProcessors();
    UseThreads(threads);
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
