#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "media/retimed_sound.h"
#include "media/sound_kernel.h"

namespace velorin {
namespace {

constexpr double kFadeSeconds = 0.002;
// Of a sample: nearer places are the same one. Seconds in double precision stray less.
constexpr double kSamePlace = 1e-6;
constexpr double kSameSpeed = 1e-9;  // as 1

class Pitched : public SoundSource {
  public:
    Pitched(std::unique_ptr<SoundReader> soundReader,
            std::function<SoundStretch(std::int64_t)> stretches, Rational framesASecond,
            double sourceSeconds, int outputRate)
        : reader(std::move(soundReader)),
          stretchOf(std::move(stretches)),
          halfRate{2 * framesASecond.numerator, framesASecond.denominator},
          end(sourceSeconds),
          rate(outputRate),
          fade(std::max<std::int64_t>(1, std::llround(kFadeSeconds * outputRate))) {}

    const SoundInfo& Info() const override { return reader->Info(); }
    int Rate() const override { return rate; }
    void Read(std::int64_t count, double* samples) override;
    bool IsDamaged() const override { return reader->IsDamaged(); }

  private:
    std::int64_t FirstSampleOf(std::int64_t half) const;
    double SpeedOf(const SoundStretch& stretch) const;
    bool Sounds(const SoundStretch& stretch) const;
    bool Joins(const SoundStretch& stretch, const SoundStretch& following) const;
    void Play(const SoundStretch& stretch, std::int64_t half, std::int64_t first,
              std::int64_t count, double* samples);
    void LeadOver(const SoundStretch& stretch, const SoundStretch& following, std::int64_t half,
                  std::int64_t first, std::int64_t count, double* samples);
    void Evaluate(double from, double step, double speed, std::int64_t count, double* samples);

    std::unique_ptr<SoundReader> reader;
    std::function<SoundStretch(std::int64_t)> stretchOf;
    Rational halfRate;  // half frames a second
    double end;         // seconds
    int rate;
    std::int64_t fade;  // samples
    SoundKernel kernel;
    std::vector<double> window;
    std::vector<double> lead;
    std::int64_t position = 0;
    std::int64_t half = 0;
};

// The first sample at or after the half frame's beginning.
std::int64_t Pitched::FirstSampleOf(std::int64_t number) const {
    __extension__ typedef __int128 Wide;
    const Wide product = Wide{number} * halfRate.denominator * rate;
    return static_cast<std::int64_t>((product + halfRate.numerator - 1) / halfRate.numerator);
}

// Of the source, in seconds a second of the output.
double Pitched::SpeedOf(const SoundStretch& stretch) const {
    return (stretch.to - stretch.from) * static_cast<double>(halfRate.numerator) /
           static_cast<double>(halfRate.denominator);
}

bool Pitched::Sounds(const SoundStretch& stretch) const {
    const double speed = std::abs(SpeedOf(stretch));
    return speed > 0.0 && speed <= kFastest;
}

bool Pitched::Joins(const SoundStretch& stretch, const SoundStretch& following) const {
    if (!Sounds(stretch) || !Sounds(following)) return Sounds(stretch) == Sounds(following);
    return std::abs(stretch.to - following.from) * Info().rate < 0.5;
}

// Sound at `from` + i * step samples of the source, for `count` samples of the output.
void Pitched::Evaluate(double from, double step, double speed, std::int64_t count,
                       double* samples) {
    const int channels = Info().channels;
    const int reach = SoundKernel::Reach(speed);
    const double last = from + step * static_cast<double>(count - 1);
    const auto low = static_cast<std::int64_t>(std::floor(std::min(from, last))) - reach - 1;
    const auto high = static_cast<std::int64_t>(std::ceil(std::max(from, last))) + reach + 2;
    window.resize(static_cast<std::size_t>((high - low) * channels));
    reader->Read(low, high - low, window.data());
    const double behind = end * Info().rate;
    const double fadeOut = kFadeSeconds * Info().rate;
    for (std::int64_t i = 0; i < count; ++i, samples += channels) {
        double place = from + step * static_cast<double>(i);
        if (std::abs(place - std::nearbyint(place)) < kSamePlace) place = std::nearbyint(place);
        const double whole = std::floor(place);
        const auto index = static_cast<std::int64_t>(whole) - low;
        kernel.At(window.data() + index * channels, place - whole, speed, channels, samples);
        const double outside = std::max(-place, place - behind);
        if (outside <= 0.0) continue;
        const double gain = std::max(0.0, 1.0 - outside / fadeOut);
        for (int c = 0; c < channels; ++c) samples[c] *= gain;
    }
}

// The samples of one half frame, of which the first is `first`.
void Pitched::Play(const SoundStretch& stretch, std::int64_t number, std::int64_t first,
                   std::int64_t count, double* samples) {
    if (!Sounds(stretch)) {
        std::fill_n(samples, count * Info().channels, 0.0);
        return;
    }
    const double seconds = SpeedOf(stretch);
    const double begun = static_cast<double>(first) / rate -
                         static_cast<double>(number) * static_cast<double>(halfRate.denominator) /
                             static_cast<double>(halfRate.numerator);
    double step = seconds * Info().rate / rate;
    if (std::abs(std::abs(step) - 1.0) < kSameSpeed) step = std::copysign(1.0, step);
    Evaluate((stretch.from + begun * seconds) * Info().rate, step, std::abs(step), count, samples);
}

// Where the next half frame goes on elsewhere, the last samples before it fade into what it begins
// with, held, so that there is no step.
void Pitched::LeadOver(const SoundStretch& stretch, const SoundStretch& following,
                       std::int64_t number, std::int64_t first, std::int64_t count,
                       double* samples) {
    if (Joins(stretch, following)) return;
    const int channels = Info().channels;
    const std::int64_t behind = FirstSampleOf(number + 1);
    if (first + count <= behind - fade) return;
    lead.assign(static_cast<std::size_t>(channels), 0.0);
    if (Sounds(following)) {
        Evaluate(following.from * Info().rate, 0.0,
                 std::abs(SpeedOf(following)) * Info().rate / rate, 1, lead.data());
    }
    for (std::int64_t i = std::max<std::int64_t>(0, behind - fade - first); i < count; ++i) {
        const double share =
            1.0 - static_cast<double>(behind - first - i) / static_cast<double>(fade + 1);
        for (int c = 0; c < channels; ++c) {
            double& sample = samples[i * channels + c];
            sample += share * (lead[static_cast<std::size_t>(c)] - sample);
        }
    }
}

void Pitched::Read(std::int64_t count, double* samples) {
    while (count > 0) {
        while (FirstSampleOf(half + 1) <= position) ++half;
        const std::int64_t run = std::min(count, FirstSampleOf(half + 1) - position);
        const SoundStretch stretch = stretchOf(half);
        Play(stretch, half, position, run, samples);
        LeadOver(stretch, stretchOf(half + 1), half, position, run, samples);
        position += run;
        count -= run;
        samples += run * Info().channels;
    }
}

}  // namespace

std::unique_ptr<SoundSource> PitchedSound(std::unique_ptr<SoundReader> reader,
                                          std::function<SoundStretch(std::int64_t)> stretchOf,
                                          Rational frameRate, double seconds, int outputRate) {
    return std::make_unique<Pitched>(std::move(reader), std::move(stretchOf), frameRate, seconds,
                                     outputRate);
}

}  // namespace velorin
