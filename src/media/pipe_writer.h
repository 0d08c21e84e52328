#pragma once

#include <memory>

#include "media/clip.h"

namespace velorin {

// Writes to standard output, each picture as soon as it comes.
//
// y4m holds Y'CbCr, or gray for a gray source: the source's own subsampling and bits where it has
// them, else 4:4:4 and 8 or 16 bits. Matrix and range are the source's, and ITU-R BT.709 in limited
// range for stills; y4m tells of the range alone. NUT holds gray or RGB, with or without alpha, of
// 8 or 16 bits as they are.
std::unique_ptr<ClipWriter> CreatePipe(const OutputSettings& settings);

}  // namespace velorin
