#pragma once

#include "image/kq_image.h"
#include "image/zp_image.h"

namespace velorin {

// Operations on every value of an image, and the reader and writer of one pixel.

// Every pixel becomes the first `channels` of the four values, given as fractions of white. Other
// than a picture form: does nothing.
void FillColor(ZPImage& image, float r, float g, float b, float a);

// Copies one pixel, in the image's own format, to every position.
void FillPixel(ZPImage& image, const void* pixel);

// Multiplies every value of a picture; integers are truncated, not rounded, and keep the low bits
// of what does not fit. A factor closer to 1.0 than 0.000001 does nothing.
void ScaleValues(ZPImage& image, float factor);

// Every value of `destination` becomes the larger of the two, or their difference. Computed in
// float and truncated into the destination, which keeps the low bits. `source` has at least the
// destination's size and channels; any pixel types.
void MaxInto(ZPImage& destination, const ZPImage& source);
void SubtractInto(ZPImage& destination, const ZPImage& source);

// Turns the first `width` bytes of each row around: for one channel of 8 bits.
void InvertBytes(ZPImage& image);
// Turns the first `width` values of each row around, a float into 1.0 minus it: for one channel.
void InvertImage(ZPImage& image);

// All channels of one pixel as floats, not scaled. For 8 and 16 bits; a float image yields its
// first bytes as 16-bit words, other types nothing.
void ReadPixel(const ZPImage& image, int x, int y, float* values);
// The same way back, truncated; a float image takes the floats as they are.
void WritePixel(ZPImage& image, int x, int y, const float* values);

// The pair around a host that keeps 12 bits in 16. Both answer 5 for a null handle, else 0, and
// touch 16-bit images only.
//
// Multiplies every value by `scale` and rounds. Four channels keep the low bits of what does not
// fit, other counts clamp to 65535. `scale` 0.0 makes four channels opaque black.
int ScaleForHostDepth(KQImage* image, float scale);
// Multiplies, rounds and clamps to 0.0 to `maximum`. Four channels are unpremultiplied first and
// stay so. `scale` 0.0 makes all channels 0.
int ScaleClamped(KQImage* image, float scale, float maximum);

}  // namespace velorin
