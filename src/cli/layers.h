#pragma once

#include <string>

#include "cli/forecast.h"
#include "cli/options.h"

namespace velorin {

// The layers that the engine draws, from the back to the front, by its numbers: the foreground
// layers count from 0, the frontmost one, and the background comes last.
struct DrawnLayers {
    int start = 0;
    int end = 0;
    int Count() const { return start - end + 1; }
};
DrawnLayers LayersDrawn(const Options& options);

// What a pass needs.
bool EstimatesMotion(const Options& options, const PassForecast& pass);
bool ReadsSource(const Options& options);
bool ReadsMotionClip(const Options& options, const PassForecast& pass);
bool ReadsMattes(const Options& options, const PassForecast& pass);

// View and mattes for the user who wants to know, each on a line that begins with a line break;
// empty for a plain output without mattes.
std::string LayersText(const Options& options);

}  // namespace velorin
