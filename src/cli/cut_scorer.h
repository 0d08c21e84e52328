#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "cli/scene_file.h"
#include "cli/shrunken_picture.h"

namespace velorin {

// Scores, for each frame of a clip, how surely it begins another shot than the frame before it
// (shot boundary detection; hard cuts alone). A frame is looked at once, shrunken; a few are kept.
//
// 1. Two frames differ by what block matching cannot find of one in the other, and the more so the
//    more their histograms differ (picture_distance.h): motion, fades and flicker differ little.
// 2. Where neighbours differ much, the four frames before are compared with the four from there on,
//    and the least difference of all pairs counts: a flash or a damaged frame is over soon, and the
//    picture from before it is back.
// 3. A change as great as those around it (the upper quartile of their amounts, an adaptive
//    threshold) scores nothing, and a far greater one in full: in whip pans, noise and dissolves no
//    frame stands out.
//
// 100 is a frame of which nothing was seen before, 0 one that changes no more than its neighbours.
class CutScorer {
  public:
    void Add(ShrunkenPicture picture);
    // Of all frames added; the first one's is 0.
    std::vector<float> Finish();

  private:
    void CompareAcross();

    std::deque<ShrunkenPicture> recent;
    std::vector<float> amounts;      // that each frame changes by
    std::vector<float> differences;  // from the frame before, 0 to 1
    std::vector<float> lasting;      // the least of them across each frame
};

inline constexpr float kUsualThreshold = 25.0f;
inline constexpr std::int64_t kUsualMinLength = 1;

// The cuts among these frames: those that score `threshold` or more and leave no scene shorter
// than `minLength`; of two that are too near to each other the higher one stays.
std::vector<FoundCut> CutsOf(const std::vector<float>& scores, float threshold,
                             std::int64_t minLength);

}  // namespace velorin
