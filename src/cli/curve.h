#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "cli/time_law.h"

namespace velorin {

// The way of a curve from a key on to the next one.
enum class KeyWay { kLinear, kSmooth, kHold };

struct CurveKey {
    std::int64_t frame = 0;
    Decimal value;
    KeyWay way = KeyWay::kLinear;
};

// A value for each moment of the output. Before the first and after the last key the value holds.
// Values are exact at keys, on straight ways and where a way holds; the bends of smooth ways are
// computed in double precision.
//
// Smooth is a monotone cubic: its tangents are those of Fritsch and Carlson over all keys,
// whichever way they are on. That of a key is the mean of the slopes to its neighbours, or 0 where
// these turn; at the ends it is the one slope there is. From the first key on, the two tangents of
// a way that, as multiples of its slope, lie outside the circle of radius 3 are scaled down onto
// it.
class Curve {
  public:
    // At least one key, in ascending order by frames, which are 0 to 2^31 - 1. Values are below
    // 10^9 in amount.
    explicit Curve(std::vector<CurveKey> newKeys);

    const std::vector<CurveKey>& Keys() const { return keys; }

    // The value at an output frame, of 2^31 at most, and 0 to 2 halves of a frame on top.
    SourceTime At(std::int64_t frame, int halves) const;

  protected:
    // The way from one key to the next.
    struct Segment {
        std::int64_t start = 0;  // values in units
        std::int64_t rise = 0;
        std::int64_t frames = 1;
        // The tangents at both ends less the slope of the straight line, in units a frame.
        double bendStart = 0.0;
        double bendEnd = 0.0;

        bool IsBent() const { return bendStart != 0.0 || bendEnd != 0.0; }
        double BendAt(std::int64_t frame, int halves) const;
        double BendSum(std::int64_t frame, int halves) const;
    };

    std::int64_t UnitsOf(Decimal value) const;
    std::size_t KeyBefore(std::int64_t frame) const;

    std::vector<CurveKey> keys;
    std::int64_t units = 1;         // of values in 1: a power of ten
    std::vector<Segment> segments;  // one less than keys

  private:
    void BendSmoothWays();
};

// A curve whose values are 0 to 10, and which can be summed up.
class SpeedCurve : public Curve {
  public:
    explicit SpeedCurve(Curve curve);

    // The values of all frames before `frame`, and half of its own for each of the halves: the sum
    // of rectangles a frame wide that have the height of their left side.
    SourceTime Sum(std::int64_t frame, int halves) const;

  private:
    Int128 SumInside(const Segment& segment, std::int64_t frame, int halves) const;

    std::int64_t sumUnits;     // of sums in 1: a multiple of 2 * units
    std::vector<Int128> sums;  // the values of all frames before each key
};

// Output frame n shows the source time that the speeds of the frames before it add up to, and so
// frame 0 time 0. Ends where it leaves the clip.
std::unique_ptr<TimeLaw> SpeedCurveLaw(Curve speeds);

// Output frame n shows the curve's value. Ends with the last key.
std::unique_ptr<TimeLaw> FrameCurveLaw(Curve sourceFrames);

}  // namespace velorin
