#pragma once

#include <memory>
#include <string>

#include "cli/time_law.h"
#include "media/clip.h"

namespace velorin {

// Of a clip whose pictures stand at uneven times, which its info tells. Even time counts frames of
// the clip's nominal rate from its first picture on.

// The even time of the last picture.
Rational EvenTimeOfLast(const ClipInfo& clip);

// A law that speaks of even time, brought to the pictures that stand there: between pictures i and
// i + 1 the share of the time that has gone by, exactly; beyond the last one, frames of even time.
// Ends behind the last picture. The law never leads backwards.
std::unique_ptr<TimeLaw> AlongPictures(std::unique_ptr<TimeLaw> law, const ClipInfo& clip);

// "uneven, from 7.5 to 30 frames a second"
std::string UnevenText(const ClipInfo& clip);

}  // namespace velorin
