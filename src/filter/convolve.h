#pragma once

#include "filter/line_filter.h"
#include "image/zp_image.h"

namespace velorin {

// Smooths `image` in place along both axes with the binomial weights 1 4 6 4 1 over 16. Borders,
// limits and errors are those of FilterImage.
void SmoothBinomial(ZPImage& image);
// The same from `source` into `dest`, images of one size and form.
void SmoothBinomial(ZPImage& dest, const ZPImage& source);
HalfKernel BinomialKernel();

// Mode of the two below. On purpose not that of GaussianBlur: 1 does nothing here.
//   0 both axes, rows first; 1 nothing; 2 rows only; 3 columns only

// A box of 2 * ceil(radius) + 1 samples, the two outer ones weighted by the radius' fraction if it
// has one. All weights are divided by the number of samples, also where fractions were applied: a
// fractional box darkens the middle of an image and not its borders. A radius below 0.001 does
// nothing. Errors as Convolve.
void BoxFilter(ZPImage& image, int mode, float radius);

// Convolves each channel with `taps` weights, an odd count, in place. Within taps / 2 of a line's
// ends the sum is divided by the weights that fell inside; elsewhere it is not. `radius` is only
// tested: below 0.001 the call does nothing. Integers are rounded and clamped.
//
// Works on the three picture types with any channel count; another type is left as it is. Throws
// ZPErrNoMemory, and ZPErrBadArgument where `taps` is not odd.
void Convolve(ZPImage& image, int taps, const float* weights, int mode, float radius);

}  // namespace velorin
