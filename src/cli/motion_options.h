#pragma once

#include "cli/options.h"
#include "cli/progress_line.h"

namespace velorin {

// Options that may be given for each layer.
inline constexpr int kMostGuideFiles = 10;
// One for each direction.
inline constexpr int kMostVectorClips = 2;

// Setters of the table of options: motion that is not, or not only, measured on the pictures.
void AddGuides(Options& options, const Argument& argument);
void AddGuidesLayer(Options& options, const Argument& argument);
void AddFlowSource(Options& options, const Argument& argument);
void SetForwardVectors(Options& options, const Argument& argument);
void SetBackwardVectors(Options& options, const Argument& argument);
void SetVectorScale(Options& options, const Argument& argument);
void SetVectorScaleXY(Options& options, const Argument& argument);
void AddVectorChannels(Options& options, const Argument& argument);

// Once all options are set: refuses what does not go together, with a UsageError, and fills the
// lists of what each guide file and vector clip has up to the number of these.
void CompleteMotionOptions(Options& options);

// Whether motion comes from vector clips.
bool TakesVectors(const Options& options);
// Whether a layer follows guide points alone; layers count from the front.
bool FollowsPointsAlone(const Options& options, int layer);

// What vectors of the clips are multiplied by: the code, and each axis on top of it.
struct VectorScale {
    float code = 1.0f;
    float x = 1.0f;
    float y = 1.0f;
};
VectorScale ScaleOfVectors(const Options& options);

// Says what of these options will not do what the user expects.
void NoteMotionSources(const Options& options, ProgressLine& progress);

// Guide files for the user who wants to know, each on a line that begins with a line break.
std::string GuidesText(const Options& options);

}  // namespace velorin
