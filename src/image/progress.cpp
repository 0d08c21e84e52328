#include "image/progress.h"

#include "image/err.h"

namespace velorin {

void KQIdleAndProgressClass::ReportProgress(float fraction) {
    lastFraction = fraction;
    if (interrupted) throw ZPErrInterrupted;
    if (!parent) return;
    parent->ReportProgress((parent->rangeEnd - parent->rangeStart) * fraction + parent->rangeStart);
}

void KQIdleAndProgressClass::SetRange(float start, float end) {
    rangeStart = start;
    rangeEnd = end;
}

void KQIdleAndProgressClass::CollapseRange() {
    SetRange(lastFraction, lastFraction);
}

void KQIldeAndProgressMPInterruptible::ReportProgress(float fraction) {
    const bool stopped = sharedStopFlag->load(std::memory_order_relaxed) != 0;
    if (!reportsForAll) {
        if (stopped) throw ZPErrInterrupted;
        return;
    }
    // On purpose silent: the job ends by the other workers' checks, and its caller throws.
    if (stopped) return;
    try {
        KQIdleAndProgressClass::ReportProgress(fraction);
    } catch (ZPErr) {
        sharedStopFlag->store(1, std::memory_order_relaxed);
        throw;
    }
}

}  // namespace velorin
