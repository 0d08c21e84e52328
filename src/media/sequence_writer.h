#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "media/clip.h"
#include "media/sequence_name.h"
#include "media/still_format.h"

namespace velorin {

// What the files of a sequence hold where it is not colours.
struct NamedContent {
    std::vector<std::string> channels;  // their names, four of them
    // Attributes that tell a person what the numbers mean.
    std::vector<std::pair<std::string, std::string>> notes;
};

// Writes each frame as a file of its own, under its number from settings.firstNumber on. See
// CreateClip for the checks. Samples go as they are into the file: alpha is neither multiplied in
// nor divided out. With `content` they are no colours: no channel is an alpha.
std::unique_ptr<ClipWriter> CreateSequence(const SequenceName& name, const StillFormat& format,
                                           const OutputSettings& settings,
                                           const std::vector<std::int64_t>& frames,
                                           const std::optional<NamedContent>& content = {});

// Throws MediaError if `target` is a file of the sequence `source`.
void CheckNoFrameOf(const std::string& target, const ClipInfo& source);

}  // namespace velorin
