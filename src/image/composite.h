#pragma once

#include "image/zp_image.h"

namespace velorin {

// Alpha in the fourth channel. All three do nothing to images without four channels of a picture
// type.

// Multiply colour by alpha or divide it by alpha; alpha stays. Float images only with a white point
// of exactly 1.0. Dividing clamps integers to white and leaves pixels without alpha alone (in float
// below 1e-7).
void Premultiply(ZPImage& image);
void Unpremultiply(ZPImage& image);

// Lays `source`, premultiplied, over `destination`, of the same pixel type. Source columns `srcX`
// to `lastColumn` and rows `srcY` to `lastRow`, inclusive, meet the destination from (`dstX`,
// `dstY`) on. Where the source's alpha is 0 the destination stays, whatever the source's colour.
void CompositeOver(ZPImage& destination, int dstX, int dstY, const ZPImage& source, int srcX,
                   int srcY, int lastColumn, int lastRow);

}  // namespace velorin
