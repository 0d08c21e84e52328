#pragma once

#include <vector>

#include "media/clip.h"

namespace velorin {

// A picture averaged down to at most 96 by 96 cells, to compare frames by. Planes lie row by row,
// the top line first; 255 is white.
struct ShrunkenPicture {
    static constexpr int kLongestSide = 96;

    int width = 0;
    int height = 0;
    std::vector<float> luma;
    std::vector<float> blue;  // less luma
    std::vector<float> red;
};

// Each cell is the mean of its pixels, whatever their alpha, smoothed with its neighbours so that
// detail finer than a cell does not flicker as it moves. Samples below 0 and what is no number
// count as 0, and what is brighter than twice white as that. The same on any number of threads.
ShrunkenPicture Shrink(const Picture& picture);

// How much changes between two pictures of one shape, alpha aside, in hundredths of white: of the
// squares of `kChangeSide` pixels that they are divided into, the tenth that changes most, so that
// what moves in a small part counts and a single badly coded square does not.
inline constexpr int kChangeSide = 16;
float ChangeBetween(const Picture& one, const Picture& other);

}  // namespace velorin
