#include "flow/level_plan.h"

#include <cmath>

#include "image/copy.h"
#include "image/rounding.h"

namespace velorin {

int HalvedSide(int side, int times) {
    for (int i = 0; i < times; ++i) side /= 2;
    return side;
}

int CountLevels(int width, int height, int minLevelSize) {
    int count = 1;
    while (count < kMaxLevels) {
        width /= 2;
        height /= 2;
        if (width < minLevelSize || height < minLevelSize || width <= 2 || height <= 2) break;
        ++count;
    }
    return count;
}

void CreateLevels(ImagePyramid& pyramid, int levelCount, int width, int height, int channels) {
    for (int n = 0; n < levelCount; ++n) {
        pyramid[n] = std::make_unique<ZPImage>(HalvedSide(width, n), HalvedSide(height, n),
                                               channels, ZPPixFloat, 0);
    }
}

void ClearLevels(ImagePyramid& pyramid, int levelCount) {
    for (int n = 0; n < levelCount; ++n) ClearImage(pyramid[n].get());
}

StartLevel FindStartLevel(int levelCount, float sensitivity) {
    const double exponent = std::log(std::pow(static_cast<double>(sensitivity), 2.0));
    const float t = static_cast<float>(levelCount + exponent / std::log(2.0));
    if (!(t >= 0.0f)) return {0, 0.0f};
    if (t >= static_cast<float>(levelCount)) return {levelCount - 1, 1.0f};
    return {TruncateInside(t), t - std::floor(t)};
}

double CountLevelPixels(const ImagePyramid& pyramid, int startLevel) {
    double pixels = 0.0;
    for (int n = startLevel; n >= 0; --n) {
        pixels += static_cast<double>(pyramid[n]->width) * pyramid[n]->height;
    }
    return pixels;
}

}  // namespace velorin
