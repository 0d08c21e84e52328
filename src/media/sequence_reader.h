#pragma once

#include <functional>
#include <memory>
#include <string>

#include "media/clip.h"
#include "media/sequence_name.h"
#include "media/still_shape.h"

namespace velorin {

// Says what of an open still is read, and leaves the still at the part of the file that holds it.
// Where nothing can be read, the answer is empty and `problem` says why.
using StillDescriber =
    std::function<std::optional<StillShape>(OIIO::ImageInput& input, std::string& problem)>;

// Reads the frames of an image sequence. `name` is what the user wrote. The first frame says what
// the others must be like; that is checked as they are read. Samples come as stored: no colour
// conversion, and alpha is neither multiplied in nor divided out.
//
// An EXR's picture is the smallest rectangle that holds its display window and the data windows of
// all frames, whose headers are read for it. What a frame does not store of it is black and, where
// there is an alpha, clear.
//
// Throws MediaError of kind kInput.
std::unique_ptr<ClipReader> OpenSequence(const std::string& name, const FoundSequence& sequence);

// Likewise, of what `describe` chooses in each file.
std::unique_ptr<ClipReader> OpenSequence(const std::string& name, const FoundSequence& sequence,
                                         StillDescriber describe);

}  // namespace velorin
