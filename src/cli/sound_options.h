#pragma once

#include <memory>
#include <string>

#include "cli/options.h"
#include "cli/progress_line.h"
#include "cli/run_plan.h"
#include "media/sound.h"

namespace velorin {

// Setter of the table of options.
void SetAudio(Options& options, const Argument& argument);

// Once all options are set: refuses a pitch that is to be kept along a curve, with a UsageError.
void CompleteSoundOptions(const Options& options);

// The sound of the output, ready to be read; null where it has none. Throws UsageError for a speed
// or frames that --audio stretch cannot follow, and MediaError for sound that cannot be read.
// `plan` outlives it.
std::shared_ptr<SoundSource> MakeSound(const Options& options, const RunPlan& plan);

// Tells of sound that was asked for and cannot be had, and of streams that are left out.
void NoteSound(const Options& options, const RunPlan& plan, ProgressLine& progress);

// Tells, once all is written, of sound that could not be decoded. `sound` may be null.
void NoteDamagedSound(const SoundSource* sound, const RunPlan& plan, ProgressLine& progress);

// What happens to the sound for the user who wants to know, on a line that begins with a line
// break; empty where the input has none.
std::string SoundText(const Options& options, const RunPlan& plan);

// All that the output's sound depends on beside the pictures' times and files; empty without sound.
std::string SoundKey(const Options& options, const RunPlan& plan);

// "aac, 48000 Hz, stereo"
std::string SoundName(const SoundInfo& sound);

}  // namespace velorin
