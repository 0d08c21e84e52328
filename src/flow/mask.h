#pragma once

#include "image/zp_image.h"

namespace velorin {

// Makes all pixels outside a rectangle copies of the nearest pixel on its edge. The limits are
// inclusive, in pixels, in either order; the edge is the row or column nearest to the limit, inside
// the image. A rectangle wholly outside the image makes all of it 0. `keepLastChannel` other than
// 0 leaves channel 3 alone in every copy; an image without one is copied whole.
void ExtendBorder(ZPImage& image, int keepLastChannel, float x0, float y0, float x1, float y1);

// The operations below change a mask in place: one channel of 8 bits. They answer 1 where the copy
// that they read from could not be allocated, else 0. A null mask, and an image of another form,
// is left alone.

// Sets a pixel that is 0 to `value` where its 8 neighbours sum to more than `threshold`. Rows and
// columns at the border stay.
int GrowMask(ZPImage* mask, int threshold, int value);

// Grows by up to 7 rings, each about half as bright as the one before, from 128. The border takes
// what is next to it.
int GrowMaskRamp(ZPImage* mask, int steps);
// Grows by `steps` rings of 255, with the border as above.
int GrowMaskHard(ZPImage* mask, int steps);

// Clears pixels with too little around them, in `steps` steps that each ask for one set neighbour
// more: of the pixels to both sides and three each two rows above and below, as within one field.
int ShrinkMaskByRows(ZPImage* mask, int steps);

// Sets every pixel to 255 that has a 255 above or below it. The first and the last row stay.
int ThickenRows(ZPImage* mask);

}  // namespace velorin
