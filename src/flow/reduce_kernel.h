#pragma once

#include <cstddef>

#include "filter/line_filter.h"
#include "image/kernel_sets.h"
#include "image/zp_image.h"

namespace velorin {

// One channel out of one channel or out of a frame's luminance.
struct ReduceJob {
    ZPImage& coarse;
    const ZPImage& fine;
    HalfKernel kernel;
    bool lumaIsFirst = false;
};

// Floats that a worker needs beside the images; zeros before the first use.
std::size_t ReduceScratch(const ReduceJob& job);

VELORIN_DECLARE_KERNELS(
    void ReduceChannelRows(const ReduceJob& job, float* scratch, int firstRow, int lastRow);
    void ReduceFrameRows(const ReduceJob& job, float* scratch, int firstRow, int lastRow);
    void HighPassRows(const ReduceJob& job, float* scratch, int firstRow, int lastRow);)

}  // namespace velorin
