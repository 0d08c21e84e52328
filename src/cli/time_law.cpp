#include "cli/time_law.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace velorin {

namespace {

constexpr std::int64_t kFramesOfBase = 4096;
constexpr std::size_t kMostDecimals = 9;
constexpr std::int64_t kEnoughForFloat = std::int64_t{1} << 26;  // whole numbers from here on
constexpr std::int64_t kGreatestDenominator = std::int64_t{1} << 62;
constexpr int kRoundedBits = 50;

bool IsDigit(char letter) {
    return letter >= '0' && letter <= '9';
}

Int128 DivideDown(Int128 a, Int128 b) {
    return a / b - (a % b < 0 ? 1 : 0);
}

// On purpose not a running sum of the speed: each frame is placed by one multiplication.
class ConstantSpeedLaw final : public TimeLaw {
  public:
    explicit ConstantSpeedLaw(Rational newSpeed) : speed(newSpeed) {}

    SourceTime At(std::int64_t outputFrame, int halves) const override {
        const Int128 steps = 2 * Int128{outputFrame} + halves;
        return PlaceAt(steps * speed.numerator, 2 * Int128{speed.denominator});
    }

    std::optional<std::int64_t> Length(std::int64_t sourceFrames) const override {
        if (speed.numerator == 0) return std::nullopt;
        return static_cast<std::int64_t>(
            Int128{sourceFrames - 1} * speed.denominator / speed.numerator + 1);
    }

  private:
    Rational speed;
};

class FixedTimeLaw final : public TimeLaw {
  public:
    explicit FixedTimeLaw(Decimal newTime)
        : time{newTime.numerator / newTime.denominator, newTime.numerator % newTime.denominator,
               newTime.denominator} {}

    SourceTime At(std::int64_t, int) const override { return time; }
    std::optional<std::int64_t> Length(std::int64_t) const override { return std::nullopt; }

  private:
    SourceTime time;
};

// Another law with every time brought to a place of its own.
class SnappedLaw final : public TimeLaw {
  public:
    using Snap = SourceTime (*)(const SourceTime& time);
    SnappedLaw(std::unique_ptr<TimeLaw> newLaw, Snap newSnap)
        : law(std::move(newLaw)), snap(newSnap) {}

    SourceTime At(std::int64_t outputFrame, int halves) const override {
        return snap(law->At(outputFrame, halves));
    }
    std::optional<std::int64_t> Length(std::int64_t sourceFrames) const override {
        return law->Length(sourceFrames);
    }

  private:
    std::unique_ptr<TimeLaw> law;
    Snap snap;
};

}  // namespace

std::optional<Decimal> ParseDecimal(std::string_view text) {
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    Decimal value;
    int digits = 0;
    bool pastPoint = false;
    for (const char letter : text) {
        if (letter == '.' && !pastPoint) {
            pastPoint = true;
            continue;
        }
        if (!IsDigit(letter)) return std::nullopt;
        ++digits;
        const bool fits = pastPoint ? value.denominator < 1000000000 : value.numerator < 100000000;
        if (!fits) return std::nullopt;
        value.numerator = value.numerator * 10 + (letter - '0');
        if (pastPoint) value.denominator *= 10;
    }
    if (digits == 0) return std::nullopt;
    if (negative) value.numerator = -value.numerator;
    return value;
}

std::string NumberText(float number) {
    char text[64];
    const auto end = std::to_chars(text, text + sizeof text, number, std::chars_format::fixed).ptr;
    const std::string digits(text, end);
    return digits.substr(0, std::min(digits.find('.'), digits.size()) + 1 + kMostDecimals);
}

float AsFloat(Decimal number) {
    return static_cast<float>(static_cast<double>(number.numerator) /
                              static_cast<double>(number.denominator));
}

std::string DecimalText(Decimal number) {
    const std::int64_t amount = std::abs(number.numerator);
    std::string text = number.numerator < 0 ? "-" : "";
    text += std::to_string(amount / number.denominator);
    std::int64_t rest = amount % number.denominator;
    if (rest != 0) text += '.';
    for (; rest != 0; rest %= number.denominator) {
        rest *= 10;
        text += static_cast<char>('0' + rest / number.denominator);
    }
    return text;
}

std::string RatioText(const Rational& ratio) {
    const std::string above = std::to_string(ratio.numerator);
    return ratio.denominator == 1 ? above : above + "/" + std::to_string(ratio.denominator);
}

Rational AsRational(Decimal number) {
    return {number.numerator, number.denominator};
}

std::int64_t SourceTime::Base() const {
    return static_cast<std::int64_t>(DivideDown(frame, kFramesOfBase)) * kFramesOfBase;
}

float SourceTime::After(std::int64_t base) const {
    const Int128 parts = Int128{frame - base} * denominator + numerator;
    Int128 rest = parts < 0 ? -parts : parts;
    if (rest == 0) return 0.0f;
    int doublings = 0;
    for (; rest / denominator < kEnoughForFloat; rest *= 2) ++doublings;
    auto quotient = static_cast<std::int64_t>(rest / denominator);
    // What was cut off lies below the bits of a float: that there was something is enough to know,
    // and this one conversion rounds.
    if (rest % denominator != 0) quotient |= 1;
    const float amount = std::ldexp(static_cast<float>(quotient), -doublings);
    return parts < 0 ? -amount : amount;
}

bool SourceTime::IsBefore(const SourceTime& other) const {
    if (frame != other.frame) return frame < other.frame;
    return Int128{numerator} * other.denominator < Int128{other.numerator} * denominator;
}

SourceTime PlaceAt(Int128 numerator, Int128 denominator) {
    const Int128 frame = DivideDown(numerator, denominator);
    Int128 rest = numerator - frame * denominator;
    if (denominator > kGreatestDenominator) {
        rest = (rest << kRoundedBits) / denominator;
        denominator = Int128{1} << kRoundedBits;
    }
    return {static_cast<std::int64_t>(frame), static_cast<std::int64_t>(rest),
            static_cast<std::int64_t>(denominator)};
}

std::string TimeText(const SourceTime& time, int digits) {
    Int128 unit = 1;
    for (int i = 0; i < digits; ++i) unit *= 10;
    const Int128 rounded = time.frame * unit + (2 * unit * time.numerator + time.denominator) /
                                                   (2 * Int128{time.denominator});
    const Int128 amount = rounded < 0 ? -rounded : rounded;
    const std::string text =
        (rounded < 0 ? "-" : "") + std::to_string(static_cast<std::int64_t>(amount / unit));
    const std::string fraction = std::to_string(static_cast<std::int64_t>(unit + amount % unit));
    return digits == 0 ? text : text + "." + fraction.substr(1);
}

std::int64_t BaseOf(const TimeLaw& law, std::int64_t outputFrame, bool hasFields) {
    const std::int64_t base = law.At(outputFrame, 0).Base();
    return hasFields ? std::min(base, law.At(outputFrame, 1).Base()) : base;
}

std::unique_ptr<TimeLaw> ConstantSpeed(Rational speed) {
    return std::make_unique<ConstantSpeedLaw>(speed);
}

std::unique_ptr<TimeLaw> FixedTime(Decimal time) {
    return std::make_unique<FixedTimeLaw>(time);
}

std::unique_ptr<TimeLaw> NearestFrames(std::unique_ptr<TimeLaw> law) {
    return std::make_unique<SnappedLaw>(std::move(law), [](const SourceTime& time) {
        const bool nearsNext = time.numerator > time.denominator - time.numerator;
        return SourceTime{time.frame + (nearsNext ? 1 : 0), 0, 1};
    });
}

std::unique_ptr<TimeLaw> MiddlesOfPairs(std::unique_ptr<TimeLaw> law, int fieldsOfFrame) {
    if (fieldsOfFrame == 2) {
        return std::make_unique<SnappedLaw>(std::move(law), [](const SourceTime& time) {
            const bool first = time.numerator < time.denominator - time.numerator;
            return SourceTime{time.frame, first ? 1 : 3, 4};
        });
    }
    return std::make_unique<SnappedLaw>(std::move(law), [](const SourceTime& time) {
        return SourceTime{time.frame, 1, 2};
    });
}

}  // namespace velorin
