#pragma once

#include <vector>

#include "cli/clip_host.h"
#include "cli/options.h"
#include "cli/progress_line.h"
#include "media/clip.h"

namespace velorin {

// Reads the guide files that the options name and brings them to the clip's frames and pixels;
// notes what of them lies outside the frame, and frames that they do not lead on from. Throws
// MediaError of kind kInput for a file that cannot be read, was made on frames of another size, has
// no position on the clip's frames, or none on two frames that follow each other.
std::vector<LayerGuides> OpenGuides(const Options& options, const ClipInfo& source,
                                    ProgressLine& progress);

}  // namespace velorin
