#pragma once

#include <string>

#include "cli/options.h"
#include "media/clip.h"

namespace velorin {

// Setters of the table of options: scenes, and frames that repeat.
void SetScenes(Options& options, const Argument& argument);
void SetScenesOutput(Options& options, const Argument& argument);
void SetCutThreshold(Options& options, const Argument& argument);
void SetSceneLength(Options& options, const Argument& argument);
void SetDedupeTolerance(Options& options, const Argument& argument);

// Once all options are set: refuses with a UsageError what does not go with --dedupe.
void CompleteSceneOptions(const Options& options);

// "0:A,48:B"
std::string KeysText(const SceneMarks& scenes);

// The scenes for the user who wants to know, on a line that begins with a line break; empty
// without.
std::string ScenesText(const Options& options);

// Throws UsageError for scenes that begin past the end of the clip.
void CheckScenes(const Options& options, const ClipInfo& source);

}  // namespace velorin
