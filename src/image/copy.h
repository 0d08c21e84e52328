#pragma once

#include "image/kq_image.h"
#include "image/zp_image.h"

namespace velorin {

// Copies of whole images and rectangles. Rows are logical rows, so images of opposite row order may
// be mixed. Between pixel types a value is carried in one of two ways, and which one is part of
// each operation:
//
//   plain cast         the number itself; white points play no part. Float to integer truncates,
//                      16 bits into a byte keep the low 8
//   white-point scale  value times (destination's whitePoint / source's); an integer destination
//                      rounds and keeps the low bits of what does not fit
//
// What fits is the caller's care where no test is named. Rectangles lie inside both images.

// Zeroes the pixels, not what lies between the rows. Null or `width` below 1: does nothing.
void ClearImage(ZPImage* image);

// Copies the bytes of every pixel. Does nothing when ShapeDiffers is true of the two.
void CopyExact(ZPImage* destination, const ZPImage* source);

// CopyExact for images of one shape, else CopyRegion on the centred images, with its direction. Of
// two sizes along an axis the smaller is copied, and the larger image's margin is left. Null on
// either side: does nothing.
void CopyCentred(ZPImage* destination, ZPImage* source);

// The general image copy: white-point scale, images of other shapes centred as in CopyCentred.
void CopyConverted(ZPImage& destination, const ZPImage& source);

// White-point scale copy of a rectangle. The channel counts are the same.
void CopyRect(ZPImage& destination, int dstX, int dstY, const ZPImage& source, int srcX, int srcY,
              int width, int height);

// Copies a rectangle. Images of one pixel type: bytes of the second into the first. Of two pixel
// types, on purpose the other way: the first is read and the *second* is written, by plain cast.
// The channel counts are the same.
void CopyRegion(ZPImage& first, int dstX, int dstY, ZPImage& second, int srcX, int srcY, int width,
                int height);

// Plain cast copy of one channel. Images of different sizes: a line on the error stream, no more.
// Channels count from 0 and exist.
void CopyCHannelIntoCHannel(ZPImage& destination, int destinationChannel, const ZPImage& source,
                            int sourceChannel);

// Converts a float image to 8 or 16 bits; a float destination is left as it is. `low` and `high`
// are fractions of the source's white, in either order: at and below the lower one 0 is stored, at
// and above the upper one white; what lies between is scaled by the white points and rounded.
// Does nothing when SizeDiffers is true. The channel counts are the same.
void ConvertFloatClamped(ZPImage& destination, const ZPImage& source, float low, float high);

// The image behind a handle: null for a null handle, without an internal image, or without pixels.
ZPImage* ResolveImage(KQImage* image);
const ZPImage* ResolveImage(const KQImage* image);

// Copies the image behind a handle: ConvertFloatClamped from 0.0 to 1.0 where a float image goes
// into an integer one, else CopyConverted. Either without pixels: does nothing. Answers 0.
int CopyImage(KQImage* destination, const KQImage* source);

}  // namespace velorin
