#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "media/clip.h"

namespace velorin {

// The frames a second that timecode counts at `rate`: 24 at 24000/1001, and where nothing is known.
int TimecodeRate(Rational rate);

// The code `frames` later, of codes that count so many frames a second; midnight follows 23 h 59.
// Drop-frame counting leaves out numbers where the rate is a multiple of 30 and else does nothing.
Timecode TimecodeAfter(const Timecode& first, std::int64_t frames, int rate);

// "01:02:03:04", or "01:02:03;04" where frame numbers are dropped. Nothing for any other text.
std::optional<Timecode> ParseTimecode(const std::string& text);
std::string TimecodeText(const Timecode& code);

// To and from the word of headers, which holds two digits of each number as four bits. Its frames
// reach 39: above 30 frames a second it counts pairs, and a flag marks the second one of a pair.
Timecode TimecodeOfWord(std::uint32_t word, int rate);
// The bits that do not count stay those of `word`.
std::uint32_t WordOfTimecode(const Timecode& code, int rate, std::uint32_t word);

// The rate at which `frames` frames lead from one code to the other; 0 where none of those in use
// does.
int RateBetween(const Timecode& first, const Timecode& last, std::int64_t frames);

}  // namespace velorin
