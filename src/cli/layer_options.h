#pragma once

#include "cli/options.h"

namespace velorin {

// Options may be given for each matte.
inline constexpr int kMostMattes = 9;

// Setters of the table of options.
void AddMatte(Options& options, const Argument& argument);
void AddForegroundSensitivity(Options& options, const Argument& argument);
void AddMatteShrink(Options& options, const Argument& argument);
void AddMatteLevels(Options& options, const Argument& argument);
void SetMotionFrom(Options& options, const Argument& argument);
void SetFlowScale(Options& options, const Argument& argument);

// Once all options are set: refuses what does not go together, with a UsageError, and fills the
// lists of what each matte has up to the number of mattes.
void CompleteLayerOptions(Options& options);

}  // namespace velorin
