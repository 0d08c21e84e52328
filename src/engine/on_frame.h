#pragma once

#include <cmath>

namespace velorin {

// Whether a source time is so near to a whole frame, on either side, that the frame is shown as it
// is, without vectors.
inline bool LiesOnFrame(float sourceTime) {
    const float d = sourceTime - std::floor(sourceTime);
    return !(std::fabs(d) > 0.005f && std::fabs(d - 1.0f) > 0.005f);
}

}  // namespace velorin
