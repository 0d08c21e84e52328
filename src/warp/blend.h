#pragma once

#include "image/zp_image.h"

namespace velorin {

// target = target * share + other * (1 - share), in place: the mix of two premultiplied pictures.
//
// Four channels: where the mixed alpha is not above 0 the pixel is cleared. Colours are rounded,
// alpha is cut after a clamp to 0 to white; float colours are not limited. Share 1.0 does nothing,
// 0.0 copies. Answers 1; images that differ in size, channels, type or row order are left as they
// are. Neither image with four channels: ZPBlendRows on all rows, with its answer.
int ZPBlend(ZPImage& target, const ZPImage& other, float share);

// target = target * share + other * (1 - share), in place, on rows of `rowMode`: 1 all; 3 the rows
// 1, 3, 5 and so on; any other the rows 0, 2, 4 and so on. Colours count as premultiplied.
//
// Four channels: the mixed alpha decides. Where it is not above 0 the pixel is cleared; where it is
// above white the colours are divided by the excess; integer colours are held below the alpha,
// float ones are not. Three channels of bytes or floats are mixed plainly. Other forms do nothing.
//
// 1; 0 where size, channels, type or row order differ. With share 1.0 nothing is done, with 0.0
// rows are copied; any other share is refused with 0, and a line on standard error, where a float
// image's white point is not exactly 1.0.
int ZPBlendRows(ZPImage& target, const ZPImage& other, int rowMode, float share);

// dest = first + (second - first) * share, every channel alike, alpha too: the cross-dissolve.
//
//   share  weight of `second`; within 0.005 of 0 or 1 the one image is copied. With four channels,
//          outside 0 to 1, this is ZPBlendRows on a copy of `first`
//
// Mixes images of one size and form with 1, 3 or 4 channels and does nothing for others; the copies
// take any size and type. Nothing is done where channel counts differ.
void ZPBlendTwo(ZPImage& dest, const ZPImage& first, const ZPImage& second, float share);

}  // namespace velorin
