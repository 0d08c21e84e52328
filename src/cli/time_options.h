#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/curve.h"
#include "cli/options.h"
#include "cli/time_law.h"
#include "media/clip.h"

namespace velorin {

// Setters of the table of options: laws of time.
void SetSpeed(Options& options, const Argument& argument);
void SetSpeedCurve(Options& options, const Argument& argument);
void SetFrameCurve(Options& options, const Argument& argument);
void SetCurveFile(Options& options, const Argument& argument);
void SetFitLength(Options& options, const Argument& argument);
void SetFitRate(Options& options, const Argument& argument);

// Once all options are set: refuses more than one law with a UsageError.
void CompleteTimeOptions(const Options& options);

// What is known of a law beside the times that it gives.
struct LawFacts {
    std::string text;                    // "speed 0.4"
    std::optional<Rational> speed;       // where it is constant
    std::optional<std::int64_t> length;  // number of output frames, where the law is made for one
    Rational rate;                       // of the output: the clip's own or that of --fit-rate
    std::vector<CurveKey> keys;          // of a curve
    bool isSpeedCurve = false;
};

// The law that the options ask for, for one clip.
struct ChosenLaw {
    std::unique_ptr<TimeLaw> law;
    LawFacts facts;
};

// Throws MediaError for a curve file that cannot be read.
ChosenLaw ChooseLaw(const Options& options, const ClipInfo& source);

// Whether the law says itself which pictures of the clip are shown; others go by time.
bool NamesPictures(const Options& options);

// The option that names the law, such as "--frame-curve".
std::string LawOption(const Options& options);

}  // namespace velorin
