#include "flow/motion_image.h"
#include "flow/optical_flow.h"
#include "flow/scatter_levels.h"
#include "image/copy.h"

namespace velorin {

namespace {

// A vector's length on the coarser level over that on the finer one, along an axis.
float ScaleBetween(int coarseLast, int fineLast) {
    return static_cast<float>(coarseLast) / static_cast<float>(fineLast);
}

}  // namespace

void ZPOpticalFlowUChar::ClearHints() {
    ClearImage(hintFlowPyramid[0].get());
    ClearImage(hintWeightPyramid[0].get());
}

void ZPOpticalFlowUChar::AddHint(float x0, float y0, float x1, float y1, float refWidth,
                                 float refHeight) {
    if (!guided) return;
    AddMovingPoint(*hintFlowPyramid[0], *hintWeightPyramid[0], x0, y0, x1, y1, refWidth, refHeight);
}

void ZPOpticalFlowUChar::FinishHints() {
    if (!guided) return;
    AveragePoints(*hintFlowPyramid[0], *hintWeightPyramid[0]);
    // The search goes against the vectors that callers see.
    ScaleXY(*hintFlowPyramid[0], -1.0f, -1.0f);
    for (int n = 1; n < levelCount; ++n) {
        ZPImage& coarse = *hintFlowPyramid[n];
        const ZPImage& fine = *hintFlowPyramid[n - 1];
        ReduceLevel(coarse, fine, *flowPyramid[n - 1]);
        ReduceLevel(*hintWeightPyramid[n], *hintWeightPyramid[n - 1], *gradientXPyramid[n - 1]);
        ScaleXY(coarse, ScaleBetween(coarse.lastColumn, fine.lastColumn),
                ScaleBetween(coarse.lastRow, fine.lastRow));
    }
}

void ZPOpticalFlowUChar::ImposeHints(int level) {
    if (!guided) return;
    ImposeKnown(*flowPyramid[level], *hintFlowPyramid[level], *hintWeightPyramid[level]);
}

bool ZPOpticalFlowUChar::HasHints(int level) const {
    const ZPImage* weights = hintWeightPyramid[level].get();
    if (!weights) return false;
    for (int y = 0; y < weights->height; ++y) {
        const float* weight = weights->Row<float>(y);
        for (int x = 0; x < weights->width; ++x) {
            if (weight[x] != 0.0f) return true;
        }
    }
    return false;
}

}  // namespace velorin
