#pragma once

#include <cstddef>

#include "filter/row_ring.h"

namespace velorin {

// Floats for the lines of a flow that is read at the pixels of a picture `width` wide: of columns
// and their weights, and of two rows of vectors.
inline std::size_t FlowLineScratch(int width) {
    return 6 * ScratchLine(width);
}

}  // namespace velorin
