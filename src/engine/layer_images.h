#pragma once

#include "engine/frame_checkout.h"
#include "image/progress.h"
#include "image/zp_image.h"

namespace velorin {

// What a layer's picture is made of. Mattes and pictures are of the three picture types; a matte is
// one channel, white where the layer is. Images that belong together have one size.

// a = a - b, not below 0. Images of other than one channel or of two types: a line on standard
// error, and `a` stays.
void Subtract1Channel(ZPImage& a, const ZPImage& b);

// a = (1 - b) * a, rounded: punches `b`, float from 0.0 to 1.0, out of a matte. Images of other
// than one channel, or an `a` that is no picture: a line on standard error, and `a` stays.
void RenderBlackMatte(ZPImage& a, const ZPImage& b);

// Cuts a picture of 3 or 4 channels out by a matte: `dest`, 4 channels, becomes the premultiplied
// product. A source without alpha counts as opaque. Floats are not limited. Throws ZPErrBadArgument
// unless all three have one type and size and these channels.
void MultiplyByMatte(ZPImage& dest, const ZPImage& source, const ZPImage& matte);

// Which part of the frame a layer fills, whatever lies in front of it: its matte, and for the last
// layer, the background, the alpha of `fallback`; white where that is null or has none.
void LayerMatte(ZPImage& dest, const LayerMattes& mattes, int layer, int layerCount,
                const ZPImage* fallback);

// Grows the colours of `image`, 4 channels and not premultiplied, over all pixels that are not
// quite opaque, so that nothing black is pulled in when it is sampled near its edge. Its alpha
// stays. `scratchMatte`, one channel of the image's type and size, is overwritten.
void ExtendColors(ZPImage& image, ZPImage& scratchMatte, KQIdleAndProgressClass& progress);

}  // namespace velorin
