#pragma once

#include "flow/image_pyramid.h"

namespace velorin {

// Which levels a flow is made on, whether it is estimated or grown from points.

// A side halved so many times, cutting: a frame's at the working size, or that of a level.
int HalvedSide(int side, int times);

// Levels from the working size up: sides are halved, cutting, while both stay above 2 and at least
// `minLevelSize`. At least 1.
int CountLevels(int width, int height, int minLevelSize);

// Makes a float image on each level, of which no pixel is set. Throws ZPErrNoMemory.
void CreateLevels(ImagePyramid& pyramid, int levelCount, int width, int height, int channels);
void ClearLevels(ImagePyramid& pyramid, int levelCount);

// Where a computation begins, and the share of what it finds there that it keeps.
struct StartLevel {
    int level;
    float scale;
};
// `sensitivity` is 0.0 to 1.0; each halving drops two levels, and a fraction of a level becomes the
// scale. At 0.0, and for NaN, level 0 and a scale of 0.0.
StartLevel FindStartLevel(int levelCount, float sensitivity);

// Pixels of the levels from `startLevel` down to 0.
double CountLevelPixels(const ImagePyramid& pyramid, int startLevel);

}  // namespace velorin
