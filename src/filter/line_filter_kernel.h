#pragma once

#include "filter/line_filter.h"
#include "image/kernel_sets.h"

namespace velorin {

// FilterLine, as each instruction set does it.
VELORIN_DECLARE_KERNELS(void FilterLineKernel(const float* v, int length, int lanes,
                                              HalfKernel kernel, AbsentSample absent, int begin,
                                              int end, float* out);)

}  // namespace velorin
