#pragma once

#include <cstddef>

#include "image/kernel_sets.h"
#include "warp/flow_lines.h"
#include "warp/inverse_warp.h"

namespace velorin {

struct InverseWarpJob {
    ZPImage& destination;
    MovedPicture picture;
    ZPImage* coverage;  // or null
    bool extendEdges;
};

struct MixMovedJob {
    ZPImage& destination;
    MovedPicture first;
    MovedPicture second;
    float share;  // of the second, in 0 to 1
};

// Floats that a worker of each job needs beside the images.
inline std::size_t InverseWarpScratch(const InverseWarpJob& job) {
    return FlowLineScratch(job.destination.width);
}
inline std::size_t MixMovedScratch(const MixMovedJob& job) {
    const int rowFloats = static_cast<int>(job.destination.RowPixelBytes() / sizeof(float)) + 1;
    return 2 * (FlowLineScratch(job.destination.width) + ScratchLine(rowFloats));
}

VELORIN_DECLARE_KERNELS(void InverseWarpRows(const InverseWarpJob& job, float* scratch,
                                             int firstRow, int lastRow);
                        void MixMovedRows(const MixMovedJob& job, float* scratch, int firstRow,
                                          int lastRow);)

}  // namespace velorin
