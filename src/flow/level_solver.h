#pragma once

#include "image/zp_image.h"

namespace velorin {

// The steps of an iterative Lucas-Kanade solve on one pyramid level. All images are float, of the
// level's size, w by h. The flow has the internal sign: content at (x, y) of A is sought at
// (x - u, y - v) of B.

// One-sided differences along each axis, averaged where there are two. Sides are at least 2.
void ComputeGradients(ZPImage& gradientX, ZPImage& gradientY, const ZPImage& source);

// Silences the pixels whose own or direct neighbour's matte sample is below 0.95.
void ClearGradientsAtMatte(ZPImage& gradientX, ZPImage& gradientY, const ZPImage& matte);

// Gradient products, not blurred: gx * gx, gx * gy, gy * gy.
void ComputeTensor(ZPImage& tensor, const ZPImage& gradientX, const ZPImage& gradientY);

// gx * d and gy * d, where d is B at the displaced place less A. Pixels displaced off the image, or
// with `matteB` (null: none) onto a sample below 0.999, have none.
struct MismatchInput {
    const ZPImage& imageA;
    const ZPImage& imageB;
    const ZPImage& gradientX;
    const ZPImage& gradientY;
    const ZPImage& flow;
    const ZPImage* matteB;
};
void ComputeMismatch(ZPImage& mismatch, const MismatchInput& input);

// Moves each vector by the solution of its 2 by 2 system; where the determinant's size is not above
// 40 the vector stays.
void SolveFlow(ZPImage& flow, const ZPImage& tensor, const ZPImage& mismatch);

// A determinant must be larger than this in size.
inline constexpr float kMinDeterminant = 40.0f;

// Of the Gaussians below, in modes 1 and 2.
float BlurRadius(bool isSum, int mode);

// The window of the solve: sums are blurred wider than the flow. Modes 0 to 2; any other does
// nothing.
void BlurStage(ZPImage& image, bool isSum, int mode);

// Carries a flow to the next finer level: samples it at x * (w - 1) / (W - 1) and stretches its
// vectors by (W - 1) / (w - 1); so for y. Throws ZPErrBadArgument unless both are float images of
// two channels.
void ResampleFlow(ZPImage& fine, const ZPImage& coarse);

}  // namespace velorin
