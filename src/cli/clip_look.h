#pragma once

#include <memory>
#include <optional>

#include "cli/options.h"
#include "cli/progress_line.h"
#include "media/clip.h"

namespace velorin {

// The clip INPUT, with the holes that options.look.repeats make. Throws MediaError, also for other
// holes that are not allowed.
std::unique_ptr<ClipReader> OpenSource(const Options& options);

// Whether the options need a look at the whole clip before anything else is known.
bool NeedsLook(const Options& options);

// The options with what they leave to a scenes file or to the clip itself: its scenes, frames that
// repeat, and the former in the setup to be written. Says what is found. Nothing when the user
// asked to stop. Throws UsageError and MediaError.
std::optional<Options> WithFindings(const Options& given, ProgressLine& progress);

}  // namespace velorin
