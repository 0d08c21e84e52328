#pragma once

#include <cstdint>

#include "image/locks.h"
#include "image/zp_image.h"
#include "warp/zp_image2.h"

namespace velorin {

// What the layers of one forward warp share. Lives on the stack of the entry.
struct ZPWarpJob {
    const ZPImage* source = nullptr;
    ZPImage2* target = nullptr;
    const ZPImage* flow = nullptr;
    ZPImage2* coverage = nullptr;  // one byte a pixel of the target: how often it was hit
    float amount = 1.0f;           // fraction of the flow vector to travel
    std::int32_t wantCoverage = 0;
    // The mesh's vertices that are walked, both ends inclusive; one a source pixel.
    std::int32_t minColumn = 0;
    std::int32_t maxColumn = 0;
    std::int32_t minRow = 0;
    std::int32_t maxRow = 0;
    RowLock** rowLocks = nullptr;  // one a row of the target; null where one thread runs
    float reach = 0.0f;            // rows that a vertex moves up or down, at most
};

}  // namespace velorin
