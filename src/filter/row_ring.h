#pragma once

#include <algorithm>
#include <cstddef>

#include "filter/line_filter.h"

namespace velorin {

// Lines of scratch start this many floats apart, or a multiple.
inline constexpr int kScratchLine = 16;

inline std::size_t ScratchLine(int width) {
    return (static_cast<std::size_t>(width) + kScratchLine - 1) / kScratchLine * kScratchLine;
}

// Of the kernels that a ring is for.
inline constexpr int kMaxRingTaps = 8;

// Rows that a column filter looks at: one below and above for each tap but the middle one.
inline int RingRows(HalfKernel kernel) {
    return 2 * static_cast<int>(kernel.size()) - 1;
}

// Floats of a ring of such rows, of `planes` lines each.
inline std::size_t RingScratch(HalfKernel kernel, int width, int planes) {
    return RingRows(kernel) * planes * ScratchLine(width);
}

}  // namespace velorin
