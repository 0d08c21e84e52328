#pragma once

#include <memory>
#include <utility>

#include "image/zp_image.h"

namespace velorin {

// The images of one kind on all levels; null beyond the last level and where the kind is not used.
inline constexpr int kMaxLevels = 32;
using ImagePyramid = std::unique_ptr<ZPImage>[kMaxLevels];

// Exchanges the pixels of two levels of one shape; whoever refers to the images still does.
inline void SwapPixels(ZPImage& first, ZPImage& second) {
    std::swap(first.data, second.data);
}

}  // namespace velorin
