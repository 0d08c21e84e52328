#pragma once

#include <memory>
#include <string>

#include "media/clip.h"
#include "media/sequence_name.h"

namespace velorin {

// Reads the frames of an image sequence. `name` is what the user wrote. The first frame says what
// the others must be like; that is checked as they are read. Samples come as stored: no colour
// conversion, and alpha is neither multiplied in nor divided out.
//
// An EXR's picture is the smallest rectangle that holds its display window and the first frame's
// data window; what a frame does not store of it is black and, where there is an alpha, clear.
//
// Throws MediaError of kind kInput.
std::unique_ptr<ClipReader> OpenSequence(const std::string& name, const FoundSequence& sequence);

}  // namespace velorin
