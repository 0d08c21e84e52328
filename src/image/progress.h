#pragma once

#include <atomic>
#include <cstdint>

#include "image/mem.h"

namespace velorin {

// One link of the chain through which a long render reports how far it is and is asked to stop.
// Fractions run from 0.0 to 1.0. Objects live on the stack of the stage that they report for.
class KQIdleAndProgressClass : public KQMem {
  public:
    explicit KQIdleAndProgressClass(KQIdleAndProgressClass* newParent) : parent(newParent) {}

    // Throws ZPErrInterrupted when `interrupted` is set; else hands the fraction on to the parent,
    // placed within the range that was set on the *parent*.
    virtual void ReportProgress(float fraction);

    // Which share of this object's own scale the next reports of a child stand for.
    void SetRange(float start, float end);
    // Makes further reports of a child stay at the last fraction.
    void CollapseRange();
    // A check for interruption that does not move the bar.
    void Tick() { ReportProgress(lastFraction); }

    std::uint8_t interrupted = 0;
    float lastFraction = 0.0f;
    float rangeStart = 0.0f;
    float rangeEnd = 1.0f;
    KQIdleAndProgressClass* parent;
};

// The form for the workers of one job: one of them talks to the chain, the others only look at the
// flag that all share and leave by ZPErrInterrupted once it is set.
class KQIldeAndProgressMPInterruptible final : public KQIdleAndProgressClass {
  public:
    KQIldeAndProgressMPInterruptible(KQIdleAndProgressClass* newParent, bool reports,
                                     std::atomic<std::int32_t>* stopFlag)
        : KQIdleAndProgressClass(newParent), reportsForAll(reports), sharedStopFlag(stopFlag) {}

    void ReportProgress(float fraction) override;

    bool reportsForAll;
    std::atomic<std::int32_t>* sharedStopFlag;
};

}  // namespace velorin
