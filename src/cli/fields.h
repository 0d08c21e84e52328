#pragma once

#include <string>

#include "cli/options.h"
#include "cli/progress_line.h"
#include "cli/run_plan.h"
#include "media/clip.h"

namespace velorin {

// The field of the input that comes first, in the engine's numbers: as the options say, or as the
// clip does where they leave it to it.
int InputFieldsOf(const Options& options, const ClipInfo& source);

// What a movie with that field first is marked with.
FieldOrder OrderOfFields(int fields);

// Tells of an interlaced input that is not taken as such, and of an output that cannot be marked.
void NoteFields(const Options& options, const RunPlan& plan, ProgressLine& progress);

// Both choices for the user who wants to know, on a line that begins with a line break; empty where
// neither clip has fields.
std::string FieldsText(const Options& options, const RunPlan& plan);

}  // namespace velorin
