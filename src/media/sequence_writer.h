#pragma once

#include <memory>
#include <vector>

#include "media/clip.h"
#include "media/sequence_name.h"
#include "media/still_format.h"

namespace velorin {

// Writes each frame as a file of its own, under its number from settings.firstNumber on. See
// CreateClip for the checks. Samples go as they are into the file: alpha is neither multiplied in
// nor divided out.
std::unique_ptr<ClipWriter> CreateSequence(const SequenceName& name, const StillFormat& format,
                                           const OutputSettings& settings,
                                           const std::vector<std::int64_t>& frames);

// Throws MediaError if `target` is a file of the sequence `source`.
void CheckNoFrameOf(const std::string& target, const ClipInfo& source);

}  // namespace velorin
