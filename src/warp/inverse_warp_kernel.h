#pragma once

#include "image/kernel_sets.h"
#include "warp/inverse_warp.h"

namespace velorin {

struct InverseWarpJob {
    ZPImage& destination;
    MovedPicture picture;
    ZPImage* coverage;  // or null
    bool extendEdges;
};

// `scratch` holds FlowLineScratch of the picture's width.
VELORIN_DECLARE_KERNELS(void InverseWarpRows(const InverseWarpJob& job, float* scratch,
                                             int firstRow, int lastRow);)

}  // namespace velorin
