#pragma once

#include <cstdint>
#include <vector>

#include "media/clip.h"

namespace velorin {

// When the pictures of a movie are shown that stand at uneven times.
struct PictureTimes {
    std::vector<std::int64_t> ticks;  // one for each picture, ascending
    Rational tick;                    // seconds
};

// Whether times lie off the even grid from the first to the last by more than rounding does: that
// to a tick, or to the millisecond of a file that they were copied from.
bool AreUneven(const std::vector<std::int64_t>& ticks, const Rational& tick);

// The frames a second of most pictures of an uneven movie: of those about as long as the median. A
// usual rate, such as 24000/1001, or else `told`, the file's own average, where it lies within half
// a percent.
Rational NominalRate(const std::vector<std::int64_t>& ticks, const Rational& tick,
                     const Rational& told);

// `told`, or the usual rate that it was before a container rounded it: 60000/1001 for the 19001/317
// of a picture's time in nanoseconds.
Rational Unrounded(const Rational& told);

// The rates at which its longest and its shortest picture would follow each other.
struct RateSpan {
    double least = 0.0;
    double most = 0.0;
};
RateSpan RatesOf(const PictureTimes& times);

// Seconds from the first picture to the last.
double SecondsOf(const PictureTimes& times);

}  // namespace velorin
