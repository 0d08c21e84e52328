#include "cli/time_law.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <utility>

namespace velorin {

namespace {

constexpr std::int64_t kFramesOfBase = 4096;
constexpr std::size_t kMostDecimals = 9;

bool IsDigit(char letter) {
    return letter >= '0' && letter <= '9';
}

std::int64_t DivideDown(std::int64_t a, std::int64_t b) {
    return a / b - (a % b < 0 ? 1 : 0);
}

// On purpose not a running sum of the speed: each frame is placed by one multiplication.
class ConstantSpeedLaw final : public TimeLaw {
  public:
    explicit ConstantSpeedLaw(Decimal newSpeed) : speed(newSpeed) {}

    // Whole and fractional speed apart, so that no product leaves 64 bits.
    SourceTime At(std::int64_t outputFrame, int halves) const override {
        const std::int64_t steps = 2 * outputFrame + halves;
        const std::int64_t denominator = 2 * speed.denominator;
        const std::int64_t parts =
            steps * (speed.numerator % speed.denominator) +
            (steps % 2) * (speed.numerator / speed.denominator) * speed.denominator;
        return {steps / 2 * (speed.numerator / speed.denominator) + parts / denominator,
                parts % denominator, denominator};
    }

    std::optional<std::int64_t> Length(std::int64_t sourceFrames) const override {
        if (speed.numerator == 0) return std::nullopt;
        return (sourceFrames - 1) * speed.denominator / speed.numerator + 1;
    }

  private:
    Decimal speed;
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

std::int64_t SourceTime::Base() const {
    return DivideDown(frame, kFramesOfBase) * kFramesOfBase;
}

float SourceTime::After(std::int64_t base) const {
    const std::int64_t parts = (frame - base) * denominator + numerator;
    // The quotient is rounded to a double on its way, and still the result is the nearest float: a
    // quotient off the middle of two floats lies at least 2^-25 / 2^27 of its size off it.
    return static_cast<float>(static_cast<double>(parts) / static_cast<double>(denominator));
}

std::unique_ptr<TimeLaw> ConstantSpeed(Decimal speed) {
    return std::make_unique<ConstantSpeedLaw>(speed);
}

std::unique_ptr<TimeLaw> FixedTime(Decimal time) {
    return std::make_unique<FixedTimeLaw>(time);
}

std::unique_ptr<TimeLaw> NearestFrames(std::unique_ptr<TimeLaw> law) {
    return std::make_unique<SnappedLaw>(std::move(law), [](const SourceTime& time) {
        return SourceTime{time.frame + (2 * time.numerator > time.denominator ? 1 : 0), 0, 1};
    });
}

std::unique_ptr<TimeLaw> MiddlesOfPairs(std::unique_ptr<TimeLaw> law, int fieldsOfFrame) {
    if (fieldsOfFrame == 2) {
        return std::make_unique<SnappedLaw>(std::move(law), [](const SourceTime& time) {
            return SourceTime{time.frame, 2 * time.numerator < time.denominator ? 1 : 3, 4};
        });
    }
    return std::make_unique<SnappedLaw>(std::move(law), [](const SourceTime& time) {
        return SourceTime{time.frame, 1, 2};
    });
}

}  // namespace velorin
