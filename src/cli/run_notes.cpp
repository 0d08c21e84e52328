#include "cli/run_notes.h"

#include <optional>
#include <string>

#include "cli/fields.h"
#include "cli/job_options.h"
#include "cli/matte_range.h"
#include "cli/motion_options.h"
#include "cli/motion_transfer.h"
#include "cli/pipes.h"
#include "cli/sound_options.h"
#include "cli/vector_notes.h"

namespace velorin {

namespace {

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
    if (source.channels % 2 == 0 && !painted && !WritesPipe(options) &&
        !CanHoldAlpha(options.output)) {
        progress.Note("-o " + options.output +
                      ": cannot hold the input's alpha, which is left out; exr, dpx, tif, png, mov "
                      "and mkv can");
    }
}

}  // namespace

void NoteRun(const Options& options, const RunPlan& plan, const RunClips& clips,
             ProgressLine& progress) {
    if (!HolesOf(options, plan.source).empty()) {
        const bool held = options.missing == MissingFrames::kHold;
        progress.Note(HolesText(options, plan.source) + (held ? "; the frames before them stand in"
                                                              : "; computed from those around"));
    }
    NoteWhatIsLeftOut(options, plan, progress);
    NoteSound(options, plan, progress);
    NotePipe(options, plan, progress);
    NoteMotionSources(options, progress);
    NoteEmptyVectors(options, plan, clips, progress);
    NoteMotionTransfer(options, plan, clips, progress);
    NoteFields(options, plan, progress);
    NoteIdleCompensation(options, plan, progress);
    NoteMatteRanges(options, plan, clips, progress);
}

}  // namespace velorin
