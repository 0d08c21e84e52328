#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "media/clip.h"
#include "media/sound.h"
#include "media/sound_reader.h"

namespace velorin {

// What half an output frame shows of the source, in seconds since its first picture: the time goes
// evenly from the first to the second, maybe backwards. Equal ones are a freeze.
struct SoundStretch {
    double from = 0.0;
    double to = 0.0;
};

// Speed and pitch together. Sample k of the output stands at k / rate seconds and sounds as the
// source does at the moment that the pictures have reached by then, so nothing can add up.
//
//   stretchOf    of half frame h of the output, counted from 0; also asked for one past the end
//   frameRate    of the output
//   seconds      that the source lasts: before it and after it there is silence
//
// Freezes are silent, and so is what runs at more than kFastest times the speed. Where the time
// jumps, sound stops or sets in, the last two milliseconds before lead over.
constexpr double kFastest = 32.0;
std::unique_ptr<SoundSource> PitchedSound(std::unique_ptr<SoundReader> reader,
                                          std::function<SoundStretch(std::int64_t half)> stretchOf,
                                          Rational frameRate, double seconds, int outputRate);

// The pitch kept at a constant speed, kSlowestStretch to kFastestStretch, from `from` seconds of
// the source on.
constexpr double kSlowestStretch = 0.01;
constexpr double kFastestStretch = 10.0;
std::unique_ptr<SoundSource> StretchedSound(std::unique_ptr<SoundReader> reader, double speed,
                                            double from, double seconds, int outputRate);

}  // namespace velorin
