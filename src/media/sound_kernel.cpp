#include "media/sound_kernel.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velorin {
namespace {

constexpr int kCrossings = 64;  // of zero, on each side
constexpr int kSteps = 1024;    // of the table from one crossing to the next
constexpr double kKaiser = 10.0;
constexpr double kPassed = 0.95;  // of the band, so that the slope ends where the band does

// The modified Bessel function of the first kind, of order 0, by its power series.
double BesselI0(double x) {
    double sum = 1.0, term = 1.0;
    for (int k = 1; term > sum * 1e-17; ++k) {
        term *= x / (2.0 * k) * (x / (2.0 * k));
        sum += term;
    }
    return sum;
}

// The edge of what passes, as a part of the source's band. It leaves 1 without a step, so that
// nothing is heard when the speed passes through 1.
double Cutoff(double speed) {
    if (speed <= 1.0) return 1.0;
    return std::max(kPassed / speed, 1.0 - 2.0 * (speed - 1.0));
}

}  // namespace

SoundKernel::SoundKernel() : table(kCrossings * kSteps + 2, 0.0) {
    for (int i = 0; i <= kCrossings * kSteps; ++i) {
        const double x = static_cast<double>(i) / kSteps;
        const double part = x / kCrossings;
        const double window =
            BesselI0(kKaiser * std::sqrt(std::max(0.0, 1.0 - part * part))) / BesselI0(kKaiser);
        const double angle = std::numbers::pi * x;
        table[static_cast<std::size_t>(i)] = window * (i == 0 ? 1.0 : std::sin(angle) / angle);
    }
}

int SoundKernel::Reach(double speed) {
    return static_cast<int>(std::ceil(kCrossings / Cutoff(speed))) + 1;
}

// At `distance` crossings, by the straight line between two entries.
double SoundKernel::Weight(double distance) const {
    const double place = distance * kSteps;
    const auto entry = static_cast<std::size_t>(place);
    if (entry >= static_cast<std::size_t>(kCrossings) * kSteps) return 0.0;
    const double part = place - static_cast<double>(entry);
    return table[entry] + part * (table[entry + 1] - table[entry]);
}

void SoundKernel::At(const double* sample, double fraction, double speed, int channels,
                     double* value) const {
    if (fraction == 0.0 && speed <= 1.0) {
        std::copy_n(sample, channels, value);
        return;
    }
    const double cutoff = Cutoff(speed);
    const double reach = kCrossings / cutoff;
    std::fill_n(value, channels, 0.0);
    const int first = static_cast<int>(std::ceil(fraction - reach));
    const int last = static_cast<int>(std::floor(fraction + reach));
    for (int i = first; i <= last; ++i) {
        const double weight = cutoff * Weight(std::abs(i - fraction) * cutoff);
        const double* taken = sample + static_cast<std::ptrdiff_t>(i) * channels;
        for (int c = 0; c < channels; ++c) value[c] += weight * taken[c];
    }
}

}  // namespace velorin
