#pragma once

#include <cstddef>

#include "image/kernel_sets.h"
#include "image/zp_image.h"

namespace velorin {

// Lines, rows or columns, that are swept side by side in a copy of them, the strip: enough for the
// wait of a position for the one before it to be filled with the other lines.
inline constexpr int kStripLines = 32;

// What a strip holds at one position of its lines.
struct StripPosition {
    float u[kStripLines];
    float v[kStripLines];
    // Of the own vector; 0, which no cost is below, where that cannot be compared.
    float cost[kStripLines];
    // From the line before the strip to the one after it, and on to the end of the widest vector.
    float a[kStripLines + 16];
};

// Floats of scratch for lines of so many pixels.
constexpr std::size_t StripScratch(int length) {
    return length * (sizeof(StripPosition) / sizeof(float));
}

// Images of one size, at least 4 by 4. `costs`, one float channel, carries the costs of the own
// vectors from the rows to the columns.
struct PropagationJob {
    ZPImage& flow;
    ZPImage& costs;
    const ZPImage& imageA;
    const ZPImage& imageB;
};

// Sweeps rows along x, or columns along y: up and then down again.
VELORIN_DECLARE_KERNELS(void PropagateRows(const PropagationJob& job, float* scratch, int firstRow,
                                           int lastRow);
                        void PropagateColumns(const PropagationJob& job, float* scratch,
                                              int firstColumn, int lastColumn);)

}  // namespace velorin
