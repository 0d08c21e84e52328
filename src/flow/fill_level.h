#pragma once

#include "filter/line_filter.h"
#include "image/zp_image.h"

namespace velorin {

// One level of a hole fill: the field is sum over weight where something is known, the coarser
// level's field elsewhere, and then blurred. Only pixels that a hole can come to see are computed.

// Marks of 8 bits: one for a run of kMarkedColumns pixels of a row.
inline constexpr int kMarkedColumns = 32;
constexpr int CountMarks(int width) {
    return (width + kMarkedColumns - 1) / kMarkedColumns;
}

// Marks the runs that hold a weight of 0.
void MarkUnknown(ZPImage& unknown, const ZPImage& weights);

// Marks the runs of the coarser field that the unknown pixels of a level read. The other two are
// the levels' weights, for their sizes.
void MarkNeeded(ZPImage& needed, const ZPImage& unknown, const ZPImage& coarse,
                const ZPImage& fine);

struct FillLevelInput {
    const ZPImage& sums;
    const ZPImage& weights;
    const ZPImage& unknown;  // the weights' MarkUnknown
    const ZPImage& needed;   // the runs of the field to compute
    const ZPImage* coarser;  // the next coarser level's field; null: 0.0 everywhere
};
// Writes the needed runs of the field, and perhaps others, by a blur with `kernel`, of at
// most 8 weights, along both axes.
void FillLevel(ZPImage& field, const FillLevelInput& input, HalfKernel kernel);

}  // namespace velorin
