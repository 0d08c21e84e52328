#pragma once

#include "support/gap_image.h"

namespace velorin {

// One channel at a place inside an image, as every reader finds it: at and past the last sample one
// step back with weight 1.0; horizontal first, vertical second.
inline float PlainBilinear(const ZPImage& image, float sx, float sy, int c) {
    int ix = static_cast<int>(sx), iy = static_cast<int>(sy);
    float tx = sx - static_cast<float>(ix), ty = sy - static_cast<float>(iy);
    if (ix >= image.width - 1) ix = image.width - 2, tx = 1.0f;
    if (iy >= image.height - 1) iy = image.height - 2, ty = 1.0f;
    const auto at = [&](int x, int y) { return ValueAt(image, x, y, c); };
    const float top = at(ix, iy) + tx * (at(ix + 1, iy) - at(ix, iy));
    const float bottom = at(ix, iy + 1) + tx * (at(ix + 1, iy + 1) - at(ix, iy + 1));
    return top + ty * (bottom - top);
}

}  // namespace velorin
