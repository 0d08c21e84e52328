#pragma once

#include <algorithm>
#include <cmath>

#include "image/zp_image.h"

namespace velorin {

inline float WhiteOf(int pixelType) {
    return pixelType == ZPPixUChar ? 255.0f : pixelType == ZPPixUShort ? 65535.0f : 1.0f;
}

// What a picture type keeps of a value: integers to the nearest, halves up, within their range.
inline float PlainStored(int pixelType, float value) {
    if (pixelType == ZPPixFloat) return value;
    return std::floor(std::max(std::min(value + 0.5f, WhiteOf(pixelType)), 0.0f));
}

}  // namespace velorin
