#include "cli/retime.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cli/clip_look.h"
#include "cli/exit_codes.h"
#include "cli/fields.h"
#include "cli/fingerprint.h"
#include "cli/frame_renderer.h"
#include "cli/guides.h"
#include "cli/layer_clips.h"
#include "cli/pipes.h"
#include "cli/progress_line.h"
#include "cli/resume.h"
#include "cli/run_frames.h"
#include "cli/run_log.h"
#include "cli/run_notes.h"
#include "cli/run_plan.h"
#include "cli/setup_text.h"
#include "cli/sound_options.h"
#include "cli/stop_request.h"
#include "cli/time_notes.h"
#include "cli/vector_notes.h"
#include "image/err.h"
#include "media/number_ranges.h"
#include "media/safe_file.h"
#include "media/still_format.h"

namespace velorin {

namespace {

constexpr int kWriteBehind = 1;

// Files of a sequence can be written side by side, and packing one may take longer than computing
// it. A movie and a pipe are one after the other.
int WritersFor(const Options& options, const RunPlan& plan, int threads) {
    constexpr std::int64_t kMostBytes = 256 << 20;  // in pictures and what they are packed into
    if (!FindStillFormat(options.output)) return 1;
    const std::int64_t pixelBytes = 4 * ChannelBytes(PixelTypeOf(plan.depth));
    const std::int64_t bytes = 2 * pixelBytes * plan.source.width * plan.source.height;
    return static_cast<int>(std::clamp<std::int64_t>(kMostBytes / bytes, 1, threads));
}

std::unique_ptr<ClipWriter> CreateWriter(const Options& options, const RunPlan& plan,
                                         const RunClips& clips, const Fingerprints* prints,
                                         std::shared_ptr<SoundSource> sound, int threads) {
    OutputSettings settings;
    settings.source = plan.source;
    settings.source.rate = plan.lawFacts.rate;
    settings.alsoRead = OtherClips(clips);
    settings.sound = std::move(sound);
    settings.depth = plan.depth;
    settings.firstNumber = plan.firstNumber;
    settings.fieldOrder = OrderOfFields(plan.request.outputFields);
    settings.overwrite = options.overwrite || options.job.resume;
    settings.madeOf = [&plan](std::int64_t frame) { return SourceFramesOf(plan, frame); };
    if (WritesPipe(options)) {
        settings.pipe = PipeFormatFor(options, plan);
    } else if (prints && FindStillFormat(options.output)) {
        settings.stamp = [prints](std::int64_t frame) { return prints->Of(frame); };
    } else if (prints) {
        settings.stamp = [stamp = prints->OfMovie()](std::int64_t) { return stamp; };
    }
    // Painted pictures are in colour, whatever the source is.
    const bool painted = options.view == View::kMatte || options.view == View::kFlow;
    if (painted && settings.source.channels < 3) {
        settings.source.channels = 3;
        settings.source.channelNames.clear();
    }
    std::vector<std::unique_ptr<ClipWriter>> writers;
    writers.push_back(CreateClip(options.output, settings, plan.frames));
    while (static_cast<int>(writers.size()) < WritersFor(options, plan, threads)) {
        writers.push_back(CreateClip(options.output, settings, plan.frames));
    }
    return WriteBehind(std::move(writers), kWriteBehind);
}

// The whole run. However it ends, the frames of a sequence that were rendered are on the disk, and
// those of a pipe are whole.
class Run {
  public:
    Run(const Options& newOptions, RunPlan& newPlan, RunClips clips,
        std::vector<LayerGuides> guides, std::unique_ptr<ClipWriter> newWriter,
        ProgressLine& newProgress)
        : options(newOptions),
          plan(newPlan),
          progress(newProgress),
          isSequence(FindStillFormat(options.output) != nullptr),
          isPipe(WritesPipe(options)),
          writer(std::move(newWriter)),
          continueOnError(options.job.continueOnError),
          method{options.interp, options.warp},
          renderer(options, plan, std::move(clips), std::move(guides)) {}

    int Execute();

  private:
    enum class Outcome { kWritten, kFailed, kStopped };
    std::int64_t Total() const;
    int RenderAll();
    Outcome RenderOne(std::int64_t frame);
    void NoteStream();
    int Stop(int code);
    int End();

    const Options& options;
    RunPlan& plan;
    ProgressLine& progress;
    const bool isSequence;
    const bool isPipe;
    std::unique_ptr<ClipWriter> writer;
    const bool continueOnError;
    const Method method;
    FrameRenderer renderer;
    std::int64_t done = 0;
    std::vector<std::int64_t> failed;
};

int Run::Execute() {
    progress.Start(Total());
    try {
        return RenderAll();
    } catch (...) {
        try {
            if (isSequence || isPipe) writer->Finish();
        } catch (const MediaError&) {
            // What ended the run is thrown on; it tells more, or the same.
        }
        throw;
    }
}

// 0 where nobody knows.
std::int64_t Run::Total() const {
    if (!plan.isOpen) return static_cast<std::int64_t>(plan.frames.size());
    return plan.length == kFramesUnknown || !plan.asked.empty() ? 0 : plan.length;
}

int Run::RenderAll() {
    RunFrames frames(plan);
    std::optional<std::int64_t> next = frames.Next();
    while (next) {
        if (const int code = StopRequested()) return Stop(code);
        const std::int64_t frame = *std::exchange(next, frames.Next());
        if (plan.isOpen) {
            const SourceState state = AwaitSource(plan, frame, next);
            if (state == SourceState::kStopped) return Stop(StopRequested());
            if (state == SourceState::kEnded) break;
            // Motion is shown half-way to the next frame, which the last one lacks.
            if (options.view != View::kFlow) CountOutside(plan, frame);
        }
        const Outcome outcome = RenderOne(frame);
        if (outcome == Outcome::kStopped) return Stop(StopRequested());
        if (outcome == Outcome::kFailed) continue;
        ++done;
        progress.FrameDone(frame);
    }
    writer->Finish();
    if (plan.isOpen) NoteStream();
    return End();
}

// What a file's length tells before the run.
void Run::NoteStream() {
    const std::int64_t frames = plan.SourceFrames();
    if (plan.length == kFramesUnknown && frames != kFramesUnknown) {
        plan.length = plan.law->Length(frames).value_or(kFramesUnknown);
    }
    plan.framesLeftOut = ReachesPast(options.frames, plan.length);
    NoteEnds(options, plan, progress);
}

// A frame that cannot be written ends the run whatever was asked for: the next ones would go the
// same way.
Run::Outcome Run::RenderOne(std::int64_t frame) {
    Picture* picture = nullptr;
    const auto leaveOut = [&](const std::string& why) {
        failed.push_back(frame);
        progress.FrameFailed(frame, why);
        return Outcome::kFailed;
    };
    try {
        picture = renderer.Render(frame, method, progress);
    } catch (const std::exception& failure) {
        if (!continueOnError) throw;
        return leaveOut(failure.what());
    } catch (ZPErr failure) {
        if (!continueOnError) throw;
        return leaveOut("the engine failed with code " + std::to_string(failure));
    }
    if (!picture) return Outcome::kStopped;
    if (renderer.MayTakePicture()) {
        writer->WriteTaken(frame, *picture);
    } else {
        writer->Write(frame, *picture);
    }
    return Outcome::kWritten;
}

int Run::End() {
    progress.Finish();
    if (failed.empty()) return kExitDone;
    progress.Note(std::to_string(failed.size()) + " of " +
                  std::to_string(done + std::ssize(failed)) +
                  " frames failed: " + NumberRanges(failed) + "; once their source is mended, " +
                  (plan.isOpen ? "--frames" : "--resume") + " renders them");
    return kExitSomeFailed;
}

// A movie that lacks frames is no whole movie, and goes.
int Run::Stop(int code) {
    if (isSequence || isPipe) writer->Finish();
    const std::string count =
        std::to_string(done) + (Total() > 0 ? " of " + std::to_string(Total()) : "") + " frames";
    progress.Stopped(code, isPipe ? "stopped on request after " + count + ", the last of them whole"
                           : isSequence
                               ? "stopped on request; " + count + " are written" +
                                     (plan.isOpen ? "" : "; --resume goes on")
                               : "stopped on request after " + count + "; no movie is left");
    return code;
}

// What is wrong with a run is told before its clip is looked through.
void CheckRun(const Options& options, int threads) {
    const RunClips clips = OpenRunClips(options);
    const RunPlan plan = MakePlan(options, clips.source->Info());
    if (!plan.frames.empty()) {
        const Fingerprints prints(options, plan, clips, {}, threads);
        CreateWriter(options, plan, clips, &prints, nullptr, threads);
    }
    if (!options.setup.to.empty()) {
        CheckTarget(options.setup.to, options.overwrite || options.job.resume);
    }
}

int RunRetime(const Options& given, RunLog& log) {
    CheckPipes(given);
    const int threads = StartThreads(given);
    ProgressLine progress(given.progress, given.quiet, &log);
    if (NeedsLook(given)) CheckRun(given, threads);
    const std::optional<Options> found = WithFindings(given, progress);
    if (!found) {
        progress.Stopped(StopRequested(), "stopped on request; nothing is written");
        return StopRequested();
    }
    const Options& options = *found;
    RunClips clips = OpenRunClips(options);
    RunPlan plan = MakePlan(options, clips.source->Info());
    plan.stream = clips.stream;
    NoteTimes(options, plan, progress);
    std::vector<LayerGuides> guides = OpenGuides(options, plan.source, progress);
    // What comes through a pipe bears nothing to know it by.
    std::optional<Fingerprints> prints;
    if (!plan.isOpen) prints.emplace(options, plan, clips, guides, threads);
    if (options.job.resume) KeepFinished(options, plan, *prints, progress);
    const std::string description =
        Describe(plan, options, threads) + VectorsText(options, clips) + SoundText(options, plan);
    if (options.verbose) {
        progress.Note(description);
    } else {
        log.Add(description);
    }
    if (plan.frames.empty() && !plan.isOpen) {
        progress.Note("nothing to do");
        return kExitDone;
    }
    const std::shared_ptr<SoundSource> sound = MakeSound(options, plan);
    std::unique_ptr<ClipWriter> writer =
        CreateWriter(options, plan, clips, prints ? &*prints : nullptr, sound, threads);
    NoteRun(options, plan, clips, progress);
    WriteSetup(options);
    const int code =
        Run(options, plan, std::move(clips), std::move(guides), std::move(writer), progress)
            .Execute();
    if (code == kExitDone) NoteDamagedSound(sound.get(), plan, progress);
    return code;
}

}  // namespace

int Retime(const Options& options) {
    WatchForStop();
    RunLog log(options.job.log);
    log.Add("velorin " VELORIN_VERSION " begins");
    try {
        const int code = RunRetime(options, log);
        log.Add("ends with code " + std::to_string(code));
        return code;
    } catch (const std::exception& failure) {
        log.Add(std::string("fails: ") + failure.what());
        throw;
    } catch (ZPErr failure) {
        log.Add("fails: the engine failed with code " + std::to_string(failure));
        throw;
    }
}

}  // namespace velorin
