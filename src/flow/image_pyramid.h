#pragma once

#include <memory>

#include "image/zp_image.h"

namespace velorin {

// The images of one kind on all levels; null beyond the last level and where the kind is not used.
inline constexpr int kMaxLevels = 32;
using ImagePyramid = std::unique_ptr<ZPImage>[kMaxLevels];

}  // namespace velorin
