#include "cli/sound_law.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "media/picture_times.h"

namespace velorin {

namespace {

// What movies are taken for that know of no rate.
constexpr Rational kUsualRate{24, 1};

double EvenSeconds(const ClipInfo& source, double frames) {
    const Rational rate = source.rate.numerator > 0 ? source.rate : kUsualRate;
    return frames * static_cast<double>(rate.denominator) / static_cast<double>(rate.numerator);
}

}  // namespace

double Quotient(const Rational& ratio) {
    return static_cast<double>(ratio.numerator) / static_cast<double>(ratio.denominator);
}

double SecondsOf(const ClipInfo& source, const SourceTime& time) {
    const double part = static_cast<double>(time.numerator) / static_cast<double>(time.denominator);
    if (!source.times) return EvenSeconds(source, static_cast<double>(time.frame) + part);
    const std::vector<std::int64_t>& ticks = source.times->ticks;
    const auto secondsTo = [&](std::int64_t picture) {
        return static_cast<double>(ticks[static_cast<std::size_t>(picture)] - ticks[0]) *
               Quotient(source.times->tick);
    };
    // Beyond its ends the clip goes on at its nominal rate.
    const std::int64_t picture = std::clamp<std::int64_t>(time.frame, 0, std::ssize(ticks) - 1);
    const double here = secondsTo(picture);
    if (picture != time.frame || picture == std::ssize(ticks) - 1) {
        return here + EvenSeconds(source, static_cast<double>(time.frame - picture) + part);
    }
    return here + part * (secondsTo(picture + 1) - here);
}

double LengthInSeconds(const ClipInfo& source) {
    return SecondsOf(source, {source.frames, 0, 1});
}

SoundLaw::SoundLaw(const RunPlan& plan, std::unique_ptr<TimeLaw> soundLaw)
    : source(plan.source), law(std::move(soundLaw)), frames(plan.frames) {
    if (!plan.lawFacts.isSpeedCurve) holds = plan.lawFacts.keys;
}

// Whether the curve stays where it is up to the next frame, even if it is elsewhere by then.
bool SoundLaw::HoldsAt(std::int64_t outputFrame) const {
    const auto next =
        std::upper_bound(holds.begin(), holds.end(), outputFrame,
                         [](std::int64_t frame, const CurveKey& key) { return frame < key.frame; });
    return next != holds.begin() && (next - 1)->way == KeyWay::kHold;
}

SoundStretch SoundLaw::StretchOf(std::int64_t half) const {
    const auto written = static_cast<std::size_t>(half / 2);
    // Behind the end the law goes on.
    const std::int64_t frame = written < frames.size() ? frames[written] : frames.back() + 1;
    const int halves = static_cast<int>(half % 2);
    const double from = SecondsOf(source, law->At(frame, halves));
    if (HoldsAt(frame)) return {from, from};
    return {from, SecondsOf(source, law->At(frame, halves + 1))};
}

}  // namespace velorin
