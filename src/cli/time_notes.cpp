#include "cli/time_notes.h"

#include <string>

#include "cli/uneven_times.h"

namespace velorin {

namespace {

void NoteUnevenTimes(const Options& options, const RunPlan& plan, ProgressLine& progress) {
    if (!plan.source.times) return;
    const std::string rate = RatioText(plan.lawFacts.rate) + " frames a second";
    progress.Note(
        plan.source.name + ": its pictures stand at times that are " + UnevenText(plan.source) +
        (NamesPictures(options)
             ? "; " + LawOption(options) + " names them one by one, and the output has " + rate
             : "; they are shown by these times, and the output has " + rate));
}

}  // namespace

void NoteTimes(const Options& options, const RunPlan& plan, ProgressLine& progress) {
    NoteUnevenTimes(options, plan, progress);
    if (options.fitRate && plan.source.rate.numerator <= 0) {
        progress.Note("--fit-rate: " + plan.source.name +
                      " tells no frame rate; 24 frames a second are taken for it");
    }
    if (!plan.isOpen) NoteEnds(options, plan, progress);
}

void NoteEnds(const Options& options, const RunPlan& plan, ProgressLine& progress) {
    if (plan.framesLeftOut) {
        progress.Note("--frames: what lies past " + std::to_string(plan.length - 1) +
                      ", the last output frame, is left out");
    }
    if (plan.outside == 0) return;
    const std::string first = std::to_string(plan.firstOutside);
    const std::int64_t frames = plan.SourceFrames();
    progress.Note(LawOption(options) + ": leads outside the clip at output frame " + first +
                  (plan.outside == 1 ? "" : ", the first of " + std::to_string(plan.outside)) +
                  "; there its ends hold" +
                  (frames == kFramesUnknown ? "" : ", frames 0 and " + std::to_string(frames - 1)));
}

}  // namespace velorin
