#include "cli/sound_law.h"

#include <algorithm>
#include <utility>

namespace velorin {

namespace {

// What movies are taken for that know of no rate.
constexpr Rational kUsualRate{24, 1};

}  // namespace

double SecondsOf(const ClipInfo& source, const SourceTime& time) {
    const Rational rate = source.rate.numerator > 0 ? source.rate : kUsualRate;
    const double frames =
        static_cast<double>(time.frame) +
        static_cast<double>(time.numerator) / static_cast<double>(time.denominator);
    return frames * static_cast<double>(rate.denominator) / static_cast<double>(rate.numerator);
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
