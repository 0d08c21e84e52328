#pragma once

#include "image/progress.h"
#include "image/zp_image.h"

namespace velorin {

// Motion blur: every pixel becomes the mean of samples of `source` along the pixel's own vector,
// which lies centred on the pixel.
//
//   dest, source   two images of one size and picture form, in any row order, 2 by 2 or larger
//   flow           float, 2 channels, 2 by 2 or larger; vectors in the flow's own pixels
//   bilinear       1: a sample is interpolated; any other: it is the nearest pixel
//   progress       may be null
//   outsideCounts  0: samples outside the picture are absent; any other: they are black, so that
//                  the picture darkens towards its border
//   x0 to y1       the rectangle of `dest` to compute, with its last column and row; nothing else
//                  is written
//   amount         how much of the vector the samples cover
//
// The samples lie one to two pixels apart. Where half the covered path is shorter than 0.001 of a
// pixel, or than one pixel without `bilinear`, the pixel is copied. Where it is 2^31 pixels or
// more, or not a number, there are three samples, of which the pixel's own alone lies inside. No
// vector, however long, costs more samples than a line across the picture holds.
//
// Throws ZPErrBadArgument where images or rectangle do not fit, before anything is written, and
// what `progress` throws.
void BlurAlongFlow(ZPImage& dest, const ZPImage& source, const ZPImage& flow, int bilinear,
                   KQIdleAndProgressClass* progress, int outsideCounts, int x0, int x1, int y0,
                   int y1, float amount);

}  // namespace velorin
