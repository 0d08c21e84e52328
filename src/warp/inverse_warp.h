#pragma once

#include "image/zp_image.h"

namespace velorin {

// The gathering warp (backward mapping): each destination pixel reads the source bilinearly where
// its own flow vector, times `amount`, points to. The vector is read once, at the pixel's own
// place.
//
//   destination, source  one size, picture type and channel count, 1 to 4; not the same image
//   flow         float, 2 channels, of any size; vectors in its own pixels. For a source that is to
//                be carried forward, the flow that leads back
//   extendEdges  1: a place off the image is pulled back along the motion line to the border
//                0: pixels that read off the image fade out within one pixel around it
//   coverageOut  null, or one channel of bytes, of the source's size: 255 where all of the pixel
//                came from inside the image
//   mipMode      1
//   amount       fraction of the vector, of either sign; below 0.005 in size the source is copied
//
// With extendEdges 0 the pixels within that fading band depend on where the workers' rows begin;
// all others do not. A vector that is not finite reads the pixel's own place with extendEdges 1 and
// counts as off the image without. Not to be interrupted.
//
// 1; 0 after a line on standard error where the images do not fit, with nothing changed. Sides are
// at least 2.
int ZPInverseWarp(ZPImage& destination, const ZPImage& source, const ZPImage& flow, int extendEdges,
                  ZPImage* coverageOut, int mipMode, float amount);

// A picture and what moves it, as ZPInverseWarp takes them.
struct MovedPicture {
    const ZPImage& source;
    const ZPImage& flow;
    float amount;
};

// ZPInverseWarp of both pictures, with extended edges, and ZPBlendTwo of what comes out: to the
// bit, but in one pass and without images between. `share` is the weight of the second.
//
// False, and nothing is done, where that is not for one pass: where the images do not fit, where
// `dest` is one of the pictures, where a picture stays as it is, with 2 channels and with a share
// outside 0.01 to 0.99.
bool MixMoved(ZPImage& dest, const MovedPicture& first, const MovedPicture& second, float share);

// Moves (sx, sy) along the straight line towards (x, y), which lies in the image, until it is
// inside 0 to lastColumn by 0 to lastRow. Unlike a clamp it keeps the direction of the motion. All
// finite.
void ZPClipToImage(float& sx, float& sy, float x, float y, float lastColumn, float lastRow);

}  // namespace velorin
