#pragma once

#include <cstddef>

#include "filter/line_filter.h"
#include "flow/level_pass.h"
#include "image/kernel_sets.h"

namespace velorin {

struct TensorJob {
    ZPImage& tensor;
    const ZPImage& gradientX;
    const ZPImage& gradientY;
    HalfKernel sumKernel;
};

struct IterationJob {
    ZPImage& next;
    const IterationInput& in;
    HalfKernel sumKernel;
    HalfKernel flowKernel;
};

// Floats that a worker needs beside the images; zeros before the first use.
std::size_t TensorScratch(const TensorJob& job);
std::size_t IterationScratch(const IterationJob& job);

// Output rows firstRow to lastRow. What lies above and below as far as the blurs reach is computed
// by both of two neighbouring workers.
VELORIN_DECLARE_KERNELS(void TensorRows(const TensorJob& job, float* scratch, int firstRow,
                                        int lastRow);
                        void IterationRows(const IterationJob& job, float* scratch, int firstRow,
                                           int lastRow);)

}  // namespace velorin
