#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "media/clip.h"

namespace velorin {

// Throws MediaError of kind kFailure where `name` is not the pattern of an EXR sequence.
void CheckVectorsName(const std::string& name);

// Makes a writer for vectors in pixels of the frame: one EXR for each frame of settings.source,
// with the channels forward.u, forward.v, backward.u and backward.v in float. Its pictures are
// those of JoinVectors. Windows, rate and aspect are the source's; an attribute tells what the
// numbers mean. settings.depth does not count.
//
// Checks as CreateClip and CheckVectorsName do.
std::unique_ptr<ClipWriter> CreateVectors(const std::string& name, const OutputSettings& settings,
                                          const std::vector<std::int64_t>& frames);

// Joins the vectors of a frame of width * height into one picture of 4 floats a pixel. Both come
// as float pictures of 2 channels at that size, the top line first, u to the right and v up. Null
// where the frame has no neighbour on that side: its vectors are zeros.
void JoinVectors(const Picture* forward, const Picture* backward, int width, int height,
                 Picture& joined);

}  // namespace velorin
