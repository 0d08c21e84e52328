#include "flow/optical_flow.h"
#include "flow/scatter_levels.h"

namespace velorin {

void ZPOpticalFlowUChar::ImposeHints(int level) {
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
