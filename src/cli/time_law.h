#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace velorin {

// A number as it was written, without rounding: numerator over a power of ten, at most 10^9.
struct Decimal {
    std::int64_t numerator = 0;
    std::int64_t denominator = 1;
};

// Reads `12`, `0.5` or `.5`, with a sign if need be and at most 9 digits after the point. Nothing
// for any other text (an exponent, a number in words) and for 10^9 or more in amount.
std::optional<Decimal> ParseDecimal(std::string_view text);

// The nearest float, but for a last bit where the number has more digits than a float can tell.
float AsFloat(Decimal number);

// Every digit of the number, without zeros at the end: `12.5`.
std::string DecimalText(Decimal number);

// The number with as few digits as tell it from other floats, without an exponent, and with at most
// as many after the point as ParseDecimal takes.
std::string NumberText(float number);

// An exact place in a clip, in frames: `frame` whole ones, counted from 0, and a fraction.
struct SourceTime {
    std::int64_t frame = 0;
    std::int64_t numerator = 0;    // 0 to denominator - 1
    std::int64_t denominator = 1;  // at most 2^36; less its factors 2, below 2^27

    // The largest multiple of 4096 frames that is not above this time. The engine's times are
    // single-precision floats, which grow coarse with their size: it is handed what lies above.
    std::int64_t Base() const;
    // This time less `base` frames, rounded once. `base` is not above this time and at most some
    // 8000 frames below it.
    float After(std::int64_t base) const;
};

// Which moment of the source an output frame shows. Safe to ask from several threads.
class TimeLaw {
  public:
    virtual ~TimeLaw() = default;

    // The source time of output time outputFrame + halves / 2; none of them negative, outputFrame
    // at most 2^31.
    virtual SourceTime At(std::int64_t outputFrame, int halves) const = 0;
    // The number of output frames whose source time lies inside a clip of so many frames, up to
    // and including its last one. Nothing when the law never leaves the clip.
    virtual std::optional<std::int64_t> Length(std::int64_t sourceFrames) const = 0;
};

// Output frame n shows source time n * speed. `speed` is 0 to 10.
std::unique_ptr<TimeLaw> ConstantSpeed(Decimal speed);

// Every output frame shows source time `time`, which is not negative.
std::unique_ptr<TimeLaw> FixedTime(Decimal time);

// `law`, but each output frame shows the source frame next to its time; of two equally near, the
// earlier.
std::unique_ptr<TimeLaw> NearestFrames(std::unique_ptr<TimeLaw> law);

// `law`, but each output frame shows the middle between the source frame at or before its time and
// the one after it; where a frame has two fields, the middle between fields.
std::unique_ptr<TimeLaw> MiddlesOfPairs(std::unique_ptr<TimeLaw> law, int fieldsOfFrame = 1);

}  // namespace velorin
