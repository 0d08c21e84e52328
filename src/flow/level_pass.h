#pragma once

#include "image/zp_image.h"

namespace velorin {

// Whole stages of a level's solve in one walk down its rows, so that no image between their steps
// goes through memory. The bits are those of the steps in level_solver.h, one after the other. All
// images are top down and float, of one size.

// Whether a stage can walk: the modes whose blurs are Gaussians.
bool WalksLevel(int mode);

// ComputeTensor, then BlurStage of the tensor.
void FormTensor(ZPImage& tensor, const ZPImage& gradientX, const ZPImage& gradientY, int mode);

// ComputeMismatch, its BlurStage, SolveFlow, and BlurStage of the flow: one iteration from `flow`
// to `next`, two images. `matteB` may be null.
struct IterationInput {
    const ZPImage& imageA;
    const ZPImage& imageB;
    const ZPImage& gradientX;
    const ZPImage& gradientY;
    const ZPImage& tensor;
    const ZPImage& flow;
    const ZPImage* matteB;
};
void IterateFlow(ZPImage& next, const IterationInput& input, int mode);

}  // namespace velorin
