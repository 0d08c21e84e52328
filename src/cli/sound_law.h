#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "cli/run_plan.h"
#include "media/retimed_sound.h"

namespace velorin {

double Quotient(const Rational& ratio);

// When the movie shows that moment, in seconds since its first picture.
double SecondsOf(const ClipInfo& source, const SourceTime& time);

// Seconds from the first picture to the end of the last one.
double LengthInSeconds(const ClipInfo& source);

// Which stretch of the source each half of a written frame plays.
class SoundLaw {
  public:
    // `law` of the sound: that of the plan before a view changed it.
    SoundLaw(const RunPlan& plan, std::unique_ptr<TimeLaw> soundLaw);

    // `half`: counted from 0 over the frames that are written, one behind the last at most.
    SoundStretch StretchOf(std::int64_t half) const;

  private:
    bool HoldsAt(std::int64_t outputFrame) const;

    ClipInfo source;
    std::shared_ptr<const TimeLaw> law;
    std::vector<CurveKey> holds;  // keys of a frame curve; empty for other laws
    std::vector<std::int64_t> frames;
};

}  // namespace velorin
