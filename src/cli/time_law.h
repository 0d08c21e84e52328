#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "media/clip.h"

namespace velorin {

// Room for products of numerators and denominators.
__extension__ typedef __int128 Int128;

// A number as it was written, without rounding: numerator over a power of ten, at most 10^9.
struct Decimal {
    std::int64_t numerator = 0;
    std::int64_t denominator = 1;
};

Rational AsRational(Decimal number);

// Reads `12`, `0.5` or `.5`, with a sign if need be and at most 9 digits after the point. Nothing
// for any other text (an exponent, a number in words) and for 10^9 or more in amount.
std::optional<Decimal> ParseDecimal(std::string_view text);

// The nearest float, but for a last bit where the number has more digits than a float can tell.
float AsFloat(Decimal number);

// Every digit of the number, without zeros at the end: `12.5`.
std::string DecimalText(Decimal number);

// `24000/1001`, or `24` for a whole one.
std::string RatioText(const Rational& ratio);

// The number with as few digits as tell it from other floats, without an exponent, and with at most
// as many after the point as ParseDecimal takes.
std::string NumberText(float number);

// An exact place in a clip, in frames: `frame` whole ones, counted from 0, and a fraction. Places
// before the clip have a negative frame.
struct SourceTime {
    std::int64_t frame = 0;
    std::int64_t numerator = 0;    // 0 to denominator - 1
    std::int64_t denominator = 1;  // at most 2^62

    // The largest multiple of 4096 frames that is not above this time. The engine's times are
    // single-precision floats, which grow coarse with their size: it is handed what lies above.
    std::int64_t Base() const;
    // This time less `base` frames, rounded once. Both are less than 2^36 frames from 0.
    float After(std::int64_t base) const;

    bool IsBefore(const SourceTime& other) const;
};

// The place at `numerator` / `denominator` frames; the latter is above 0 and below 2^76.
// Cut to 2^-50 of a frame where the denominator exceeds 2^62.
SourceTime PlaceAt(Int128 numerator, Int128 denominator);

// With as many digits after the point, at most 9: the last one is rounded.
std::string TimeText(const SourceTime& time, int digits);

// Which moment of the source an output frame shows. Safe to ask from several threads.
class TimeLaw {
  public:
    virtual ~TimeLaw() = default;

    // The source time of output time outputFrame + halves / 2; none of them negative, outputFrame
    // at most 2^31 and halves at most 2.
    virtual SourceTime At(std::int64_t outputFrame, int halves) const = 0;
    // The number of output frames that the law makes of a clip of so many frames: those whose
    // source time lies inside it, up to and including its last one, unless the law says itself
    // where it ends. Nothing when it never leaves the clip.
    virtual std::optional<std::int64_t> Length(std::int64_t sourceFrames) const = 0;
};

// The base that the times of a request for an output frame count from: that of its own time, or of
// its second field's where that comes first, as it may in reverse.
std::int64_t BaseOf(const TimeLaw& law, std::int64_t outputFrame, bool hasFields);

// Output frame n shows source time n * speed. `speed` is not negative.
std::unique_ptr<TimeLaw> ConstantSpeed(Rational speed);

// Every output frame shows source time `time`, which is not negative.
std::unique_ptr<TimeLaw> FixedTime(Decimal time);

// `law`, but each output frame shows the source frame next to its time; of two equally near, the
// earlier.
std::unique_ptr<TimeLaw> NearestFrames(std::unique_ptr<TimeLaw> law);

// `law`, but each output frame shows the middle between the source frame at or before its time and
// the one after it; where a frame has two fields, the middle between fields.
std::unique_ptr<TimeLaw> MiddlesOfPairs(std::unique_ptr<TimeLaw> law, int fieldsOfFrame = 1);

}  // namespace velorin
