#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "cli/clip_host.h"
#include "cli/options.h"
#include "cli/run_plan.h"
#include "media/clip.h"

namespace velorin {

// Opens the clip that `option` names. Throws MediaError of kind kInput for one that is missing, of
// another size than the source or shorter.
std::unique_ptr<ClipReader> OpenAlike(const std::string& name, const std::string& option,
                                      const ClipInfo& source);

// Opens the clips that the options name. Throws MediaError of kind kInput for one that is missing,
// of another size than the source or shorter, and UsageError for vectors with fields and for the
// same vectors in both directions.
RunClips OpenRunClips(const Options& options);

// What is known of the clips beside the source.
std::vector<ClipInfo> OtherClips(const RunClips& clips);

enum class ClipRole { kSource, kMotion, kMatte, kForwardVectors, kBackwardVectors };

// The frames of a clip in that role that one output frame reads, some of them perhaps twice.
std::deque<std::int64_t> FramesRead(ClipRole role, const Options& options, const RunPlan& plan,
                                    std::int64_t outputFrame);

// What ClipHost::SetFramesAlone takes.
FramesAlone FramesReadAlone(const Options& options, const RunPlan& plan, std::int64_t outputFrame);

// The frames that a ClipHost will read of a clip in that role while the plan's output frames are
// rendered, in their order; -1 at the end, and for an open plan. `options` and `plan` outlive it.
std::function<std::int64_t()> OrderFor(ClipRole role, const Options& options, const RunPlan& plan);

// A few of these frames, evenly from the first to the last, for a look at that clip.
std::vector<std::int64_t> FramesToLookAt(ClipRole role, const ClipInfo& clip,
                                         const Options& options, const RunPlan& plan);

// What the options say to a ClipHost.
HostChoices ChoicesFor(const Options& options, std::vector<LayerGuides> guides);

// The clips as the engine takes them, in the source's pixel type, each read ahead by what the
// plan's output frames read of it. `options` and `plan` outlive them.
RunClips ReadForRun(RunClips clips, const Options& options, const RunPlan& plan);

}  // namespace velorin
