#include "media/picture_times.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numeric>

namespace velorin {

namespace {

__extension__ typedef __int128 Wide;

constexpr std::int64_t kMillisecondsInSecond = 1000;
constexpr double kNear = 0.005;
constexpr double kOfNanoseconds = 2e-7;
constexpr std::int64_t kPartsAroundMedian = 10;
constexpr std::int64_t kFineTicks = 4;  // of a picture: below, ticks count frames
constexpr std::int64_t kPartsOfRate = 1000000;
constexpr Rational kUsualRates[] = {
    {24000, 1001}, {24, 1},  {25, 1},  {30000, 1001}, {30, 1},        {48, 1},
    {50, 1},       {10, 1},  {12, 1},  {15, 1},       {60000, 1001},  {60, 1},
    {90, 1},       {100, 1}, {120, 1}, {240, 1},      {120000, 1001}, {48000, 1001}};

double Quotient(const Rational& ratio) {
    return static_cast<double>(ratio.numerator) / static_cast<double>(ratio.denominator);
}

bool IsNear(const Rational& rate, double wanted, double most) {
    return rate.numerator > 0 && std::abs(Quotient(rate) / wanted - 1.0) <= most;
}

const Rational& NearestUsual(double rate) {
    const auto distance = [&](const Rational& usual) { return std::abs(Quotient(usual) - rate); };
    return *std::min_element(
        std::begin(kUsualRates), std::end(kUsualRates),
        [&](const Rational& a, const Rational& b) { return distance(a) < distance(b); });
}

std::vector<std::int64_t> DurationsOf(const std::vector<std::int64_t>& ticks) {
    std::vector<std::int64_t> durations(ticks.size());
    std::adjacent_difference(ticks.begin(), ticks.end(), durations.begin());
    durations.erase(durations.begin());
    return durations;
}

// The mean of those about as long as the median: of times rounded to ticks, the median alone would
// be off by as much as the rounding.
double UsualDuration(const std::vector<std::int64_t>& ticks) {
    std::vector<std::int64_t> durations = DurationsOf(ticks);
    const auto middle = durations.begin() + std::ssize(durations) / 2;
    std::nth_element(durations.begin(), middle, durations.end());
    const std::int64_t median = *middle;
    const std::int64_t rounding = median >= kFineTicks ? 1 : 0;
    const std::int64_t span = std::max(median / kPartsAroundMedian, rounding);
    double sum = 0.0;
    double count = 0.0;
    for (const std::int64_t duration : durations) {
        if (std::abs(duration - median) > span) continue;
        sum += static_cast<double>(duration);
        count += 1.0;
    }
    return sum / count;
}

}  // namespace

bool AreUneven(const std::vector<std::int64_t>& ticks, const Rational& tick) {
    if (ticks.size() < 3) return false;
    const std::int64_t whole = ticks.back() - ticks.front();
    const auto steps = std::ssize(ticks) - 1;
    const std::int64_t millisecond = tick.denominator / (kMillisecondsInSecond * tick.numerator);
    // Ticks about as long as a frame were chosen to be exact.
    const std::int64_t rounding = whole >= 2 * steps ? 1 : 0;
    const std::int64_t most = std::max(std::min(millisecond, whole / steps / 8), rounding);
    for (std::int64_t i = 0; i <= steps; ++i) {
        const std::int64_t even =
            ticks.front() + static_cast<std::int64_t>(Wide{whole} * i / steps);
        if (std::abs(ticks[static_cast<std::size_t>(i)] - even) > most) return true;
    }
    return false;
}

Rational NominalRate(const std::vector<std::int64_t>& ticks, const Rational& tick,
                     const Rational& told) {
    const double rate = 1.0 / (UsualDuration(ticks) * Quotient(tick));
    const Rational& nearest = NearestUsual(rate);
    if (IsNear(nearest, rate, kNear)) return nearest;
    if (IsNear(told, rate, kNear)) return told;
    const std::int64_t parts = std::llround(rate * kPartsOfRate);
    const std::int64_t divisor = std::gcd(parts, kPartsOfRate);
    return {parts / divisor, kPartsOfRate / divisor};
}

Rational Unrounded(const Rational& told) {
    const Rational& nearest = NearestUsual(Quotient(told));
    return IsNear(nearest, Quotient(told), kOfNanoseconds) ? nearest : told;
}

RateSpan RatesOf(const PictureTimes& times) {
    const std::vector<std::int64_t> durations = DurationsOf(times.ticks);
    const auto [shortest, longest] = std::minmax_element(durations.begin(), durations.end());
    const double second = 1.0 / Quotient(times.tick);
    return {second / static_cast<double>(*longest), second / static_cast<double>(*shortest)};
}

double SecondsOf(const PictureTimes& times) {
    return static_cast<double>(times.ticks.back() - times.ticks.front()) * Quotient(times.tick);
}

}  // namespace velorin
