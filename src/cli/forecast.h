#pragma once

#include <cstdint>
#include <vector>

#include "cli/time_law.h"

namespace velorin {

// What decides beside the time which frames the engine asks for: see KQVelorin4::RenderFrame.
struct RequestSettings {
    int inputFields = 0;  // 0 none, 1 upper first, 2 lower first
    int outputFields = 0;
    float compensate = 0.0f;
    bool shrinks = false;  // the hole that a matte cuts is wider than the matte
};

// What the engine does in one pass of a request.
struct PassForecast {
    std::int64_t pair = 0;        // its floor frame, or floor field where the input has fields
    std::int64_t floorFrame = 0;  // frames that it asks for, possibly beyond the clip's end
    std::int64_t ceilFrame = 0;
    bool onFrame = false;  // shows one frame or field as it stands, without vectors
};

// The passes of the request for an output frame. The one place outside the engine that knows its
// rules of what is read.
std::vector<PassForecast> ForecastOf(const TimeLaw& law, std::int64_t outputFrame,
                                     const RequestSettings& request);

}  // namespace velorin
