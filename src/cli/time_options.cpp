#include "cli/time_options.h"

#include <limits>
#include <numeric>
#include <string_view>
#include <utility>

#include "cli/curve_text.h"
#include "cli/key_list.h"
#include "cli/option_table.h"
#include "cli/uneven_times.h"

namespace velorin {

namespace {

constexpr std::int64_t kMostFrames = std::numeric_limits<std::int32_t>::max();
constexpr int kGreatestSpeed = 10;
constexpr int kGreatestRate = 1000;
// What movies are written with that know of no rate.
constexpr Rational kUsualRate{24, 1};

// Calls `read`, and names the key that it finds wrong beside the option.
template <typename Read>
auto ReadKeys(const Argument& argument, Read&& read) {
    try {
        return read(argument.text);
    } catch (const KeyError& error) {
        const std::string_view shown = error.key.empty() ? argument.text : error.key;
        Argument{argument.option, shown}.Refuse(error.what());
    }
}

Rational Reduced(Rational ratio) {
    const std::int64_t divisor = std::gcd(ratio.numerator, ratio.denominator);
    return {ratio.numerator / divisor, ratio.denominator / divisor};
}

std::optional<Rational> ParseRatio(std::string_view text) {
    const std::size_t slash = text.find('/');
    const std::optional<Decimal> above = ParseDecimal(text.substr(0, slash));
    if (!above || slash == std::string_view::npos) {
        return above ? std::optional(AsRational(*above)) : std::nullopt;
    }
    const std::optional<Decimal> below = ParseDecimal(text.substr(slash + 1));
    const bool whole = below && above->denominator == 1 && below->denominator == 1;
    if (!whole || below->numerator <= 0) return std::nullopt;
    return Rational{above->numerator, below->numerator};
}

std::vector<std::string> LawsGiven(const Options& options) {
    std::vector<std::string> laws;
    if (options.speed) laws.emplace_back("--speed");
    if (options.speedCurve) laws.emplace_back("--speed-curve");
    if (options.frameCurve) laws.emplace_back("--frame-curve");
    if (!options.curveFile.empty()) laws.emplace_back("--curve-file");
    if (options.fitLength) laws.emplace_back("--fit-length");
    if (options.fitRate) laws.emplace_back("--fit-rate");
    return laws;
}

void TakeSpeed(ChosenLaw& chosen, const Rational& speed) {
    chosen.facts.speed = speed;
    chosen.law = ConstantSpeed(speed);
}

// The first output frame shows the clip's first frame and the last one its last.
void FitLength(ChosenLaw& chosen, std::int64_t length, const ClipInfo& source) {
    const bool moves = length > 1 && source.frames > 1;
    const Rational span = source.times ? EvenTimeOfLast(source) : Rational{source.frames - 1, 1};
    // Crosswise first, so that the products are small.
    const Rational share = moves ? Reduced({span.numerator, length - 1}) : Rational{0, 1};
    TakeSpeed(chosen, {share.numerator, share.denominator * (moves ? span.denominator : 1)});
    chosen.facts.length = length;
    chosen.facts.text = "speed " + RatioText(*chosen.facts.speed) + ", to last " +
                        std::to_string(length) + (length == 1 ? " frame" : " frames");
}

void FitRate(ChosenLaw& chosen, const Rational& rate, const ClipInfo& source) {
    const Rational from = Reduced(source.rate.numerator > 0 ? source.rate : kUsualRate);
    // Crosswise first, so that the products are small.
    const Rational above = Reduced({from.numerator, rate.numerator});
    const Rational below = Reduced({rate.denominator, from.denominator});
    TakeSpeed(chosen, {above.numerator * below.numerator, above.denominator * below.denominator});
    chosen.facts.rate = rate;
    chosen.facts.text = "speed " + RatioText(*chosen.facts.speed) + ", from " + RatioText(from) +
                        " to " + RatioText(rate) + " frames a second";
}

void TakeCurve(ChosenLaw& chosen, const Curve& curve, bool isSpeedCurve, const std::string& name) {
    chosen.facts.keys = curve.Keys();
    chosen.facts.isSpeedCurve = isSpeedCurve;
    chosen.law = isSpeedCurve ? SpeedCurveLaw(curve) : FrameCurveLaw(curve);
    chosen.facts.text = name + " of " + std::to_string(chosen.facts.keys.size()) +
                        (chosen.facts.keys.size() == 1 ? " key" : " keys");
}

}  // namespace

void SetSpeed(Options& options, const Argument& argument) {
    options.speed = argument.AsDecimal(0, kGreatestSpeed);
}

void SetSpeedCurve(Options& options, const Argument& argument) {
    options.speedCurve = ReadKeys(
        argument, [](std::string_view text) { return ParseCurve(text, CurveKind::kSpeed); });
}

void SetFrameCurve(Options& options, const Argument& argument) {
    options.frameCurve = ReadKeys(
        argument, [](std::string_view text) { return ParseCurve(text, CurveKind::kSourceFrame); });
}

void SetCurveFile(Options& options, const Argument& argument) {
    if (argument.text.empty()) {
        argument.Refuse("name a file with two columns, output frame and source frame");
    }
    options.curveFile = argument.text;
}

void SetFitLength(Options& options, const Argument& argument) {
    options.fitLength = argument.AsInteger(1, kMostFrames);
}

void SetFitRate(Options& options, const Argument& argument) {
    const std::optional<Rational> given = ParseRatio(argument.text);
    const Rational rate = Reduced(given.value_or(Rational{}));
    if (rate.numerator < 1 || rate.numerator > kMostFrames || rate.denominator > kMostFrames ||
        rate.numerator > kGreatestRate * rate.denominator) {
        argument.Refuse(
            "give frames a second, above 0 and up to 1000, such as 25, 23.976 or 24000/1001");
    }
    options.fitRate = rate;
}

void CompleteTimeOptions(const Options& options) {
    std::vector<std::string> given = LawsGiven(options);
    if (options.fitLength && options.length) given.emplace_back("--length");
    if (given.size() < 2) return;
    throw UsageError(given[0] + " and " + given[1] +
                     ": give one of them; each says by itself which frames of the clip are shown");
}

ChosenLaw ChooseLaw(const Options& options, const ClipInfo& source) {
    ChosenLaw chosen;
    chosen.facts.rate = source.rate;
    if (options.speedCurve) {
        TakeCurve(chosen, *options.speedCurve, true, "speed curve");
    } else if (options.frameCurve) {
        TakeCurve(chosen, *options.frameCurve, false, "frame curve");
    } else if (!options.curveFile.empty()) {
        TakeCurve(chosen, ReadCurveFile(options.curveFile), false,
                  "frame curve of " + options.curveFile);
    } else if (options.fitLength) {
        FitLength(chosen, *options.fitLength, source);
    } else if (options.fitRate) {
        FitRate(chosen, *options.fitRate, source);
    } else {
        const Decimal speed = options.speed.value_or(Decimal{1, 1});
        TakeSpeed(chosen, AsRational(speed));
        chosen.facts.text = "speed " + DecimalText(speed);
    }
    if (source.times && !NamesPictures(options)) {
        chosen.law = AlongPictures(std::move(chosen.law), source);
        chosen.facts.speed.reset();  // in pictures it varies
    }
    return chosen;
}

bool NamesPictures(const Options& options) {
    return options.frameCurve || !options.curveFile.empty();
}

std::string LawOption(const Options& options) {
    const std::vector<std::string> given = LawsGiven(options);
    return given.empty() ? "--speed" : given[0];
}

}  // namespace velorin
