#include "flow/optical_flow.h"
#include "image/parallel_rows.h"

namespace velorin {

void ZPOpticalFlowUChar::ImposeHints(int level) {
    ZPImage& flow = *flowPyramid[level];
    const ZPImage& hints = *hintFlowPyramid[level];
    const ZPImage& weights = *hintWeightPyramid[level];
    ParallelRows(flow.height, [&](int firstRow, int lastRow) {
        for (int y = firstRow; y <= lastRow; ++y) {
            const float* hint = hints.Row<float>(y);
            const float* weight = weights.Row<float>(y);
            float* vector = flow.Row<float>(y);
            for (int x = 0; x < flow.width; ++x) {
                if (weight[x] == 0.0f) continue;
                vector[2 * x] = hint[2 * x] / weight[x];
                vector[2 * x + 1] = hint[2 * x + 1] / weight[x];
            }
        }
    });
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
