#include "cli/time_notes.h"

#include <string>

namespace velorin {

void NoteTimes(const Options& options, const RunPlan& plan, ProgressLine& progress) {
    if (plan.framesLeftOut) {
        progress.Note("--frames: what lies past " + std::to_string(plan.length - 1) +
                      ", the last output frame, is left out");
    }
    if (options.fitRate && plan.source.rate.numerator <= 0) {
        progress.Note("--fit-rate: " + plan.source.name +
                      " tells no frame rate; 24 frames a second are taken for it");
    }
    if (plan.outside == 0) return;
    const std::string first = std::to_string(plan.firstOutside);
    progress.Note(LawOption(options) + ": leads outside the clip at output frame " + first +
                  (plan.outside == 1 ? "" : ", the first of " + std::to_string(plan.outside)) +
                  "; there its ends hold, frames 0 and " + std::to_string(plan.source.frames - 1));
}

}  // namespace velorin
