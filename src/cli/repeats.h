#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "media/clip.h"

namespace velorin {

// Change between two frames up to which the later one may be a repetition, in hundredths of white.
inline constexpr float kUsualTolerance = 1.5f;
// More repetitions than these in a row are a freeze.
inline constexpr std::int64_t kMostRepeats = 5;

// The frames that only repeat the one before them. A run of them is up to kMostRepeats long, within
// `tolerance`, and much stiller than the frames on both sides of it: what moves slowly, stands
// still or freezes is none, and neither is what ends at a cut or the clip's end, as there is
// nothing to compute it from.
//
//   changes  of each frame from the one before, as of ClipSurvey
//   cuts     the first frames of scenes, ascending
std::vector<std::int64_t> RepeatsOf(const std::vector<float>& changes,
                                    const std::vector<std::int64_t>& cuts, float tolerance);

// "every 5th frame" or "3 of every 5 frames" where the frames come back in a cycle; else empty.
std::string PatternOf(const std::vector<std::int64_t>& frames);

// The clip with these of its frames, ascending, told as missing beside the holes that it has.
std::unique_ptr<ClipReader> WithoutFrames(std::unique_ptr<ClipReader> clip,
                                          const std::vector<std::int64_t>& frames);

}  // namespace velorin
