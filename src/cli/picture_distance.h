#pragma once

#include "cli/shrunken_picture.h"

namespace velorin {

// How little two shrunken pictures of one size can show the same scene.
//
//   left       Blocks of each picture are searched for in the other one (block matching), so that
//              what moved counts as known: the mean of what differs all the same, 255 being white.
//   novelty    The same against what a block holds by itself, its mean taken away, 0 to 1: a block
//              that nothing in the other picture resembles counts 1, one that is found there 0, and
//              one without detail little.
//   histogram  The earth mover's distance of the distributions of luma and of the two colours, 0 to
//              1 for altogether different ones.
//
// Where it brings the pictures nearer to each other, one is given the other's mean luma and its
// spread, within limits, so that fades and flicker count little. The same on any number of threads.
struct PictureDistance {
    float left = 0.0f;
    float novelty = 0.0f;
    float histogram = 0.0f;
};
PictureDistance DistanceOf(const ShrunkenPicture& one, const ShrunkenPicture& other);

}  // namespace velorin
