#include "cli/cut_scorer.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "cli/picture_distance.h"

namespace velorin {

namespace {

constexpr std::size_t kAcross = 4;  // frames that are compared on each side
constexpr std::size_t kAround = 6;  // differences that tell what is usual, on each side
constexpr float kSmall = 0.2f;      // difference that cannot become a cut

float DifferenceOf(const PictureDistance& distance) {
    return std::pow(distance.novelty, 1.0f - distance.histogram / 2.0f);
}

// The least of all pairs across the frame at `place`, the nearest pairs first: most of what is no
// cut shows soon.
float LeastAcross(const std::deque<ShrunkenPicture>& pictures, std::size_t place, float nearest) {
    float least = nearest;
    for (std::size_t apart = 2; apart < 2 * kAcross; ++apart) {
        for (std::size_t before = 1; before <= apart; ++before) {
            const std::size_t behind = apart - before;
            if (before > kAcross || behind >= kAcross) continue;
            if (before > place || place + behind >= pictures.size()) continue;
            if (least < kSmall) return least;
            least = std::min(least, DifferenceOf(DistanceOf(pictures[place - before],
                                                            pictures[place + behind])));
        }
    }
    return least;
}

// What a quarter of a frame's neighbours exceed; further cuts near by are fewer.
float UsualAround(const std::vector<float>& amounts, std::size_t frame) {
    std::vector<float> around;
    const std::size_t begin = frame > kAround ? frame - kAround : 1;
    const std::size_t end = std::min(amounts.size(), frame + kAround + 1);
    for (std::size_t i = begin; i < end; ++i) {
        if (i != frame) around.push_back(amounts[i]);
    }
    if (around.empty()) return 0.0f;
    const auto quartile = around.begin() + static_cast<std::ptrdiff_t>(around.size() * 3 / 4);
    std::nth_element(around.begin(), quartile, around.end());
    return *quartile;
}

}  // namespace

void CutScorer::Add(ShrunkenPicture picture) {
    const PictureDistance distance =
        recent.empty() ? PictureDistance() : DistanceOf(recent.back(), picture);
    amounts.push_back(distance.left);
    differences.push_back(DifferenceOf(distance));
    recent.push_back(std::move(picture));
    if (recent.size() > 2 * kAcross) recent.pop_front();
    if (differences.size() >= kAcross) CompareAcross();
}

// For the next frame that has its window, or all there will be of it.
void CutScorer::CompareAcross() {
    const std::size_t frame = lasting.size();
    const std::size_t first = differences.size() - recent.size();
    const float nearest = differences[frame];
    lasting.push_back(frame == 0 ? 0.0f : LeastAcross(recent, frame - first, nearest));
}

std::vector<float> CutScorer::Finish() {
    while (lasting.size() < differences.size()) CompareAcross();
    std::vector<float> scores;
    for (std::size_t frame = 0; frame < lasting.size(); ++frame) {
        const float usual = UsualAround(amounts, frame);
        const float beyond = amounts[frame] > usual ? 1.0f - usual / amounts[frame] : 0.0f;
        scores.push_back(100.0f * lasting[frame] * beyond);
    }
    return scores;
}

std::vector<FoundCut> CutsOf(const std::vector<float>& scores, float threshold,
                             std::int64_t minLength) {
    std::vector<FoundCut> cuts;
    const auto frames = static_cast<std::int64_t>(scores.size());
    for (std::int64_t frame = minLength; frame + minLength <= frames; ++frame) {
        const FoundCut cut{frame, scores[frame]};
        if (!(cut.score >= threshold)) continue;
        if (cuts.empty() || frame - cuts.back().frame >= minLength) {
            cuts.push_back(cut);
        } else if (cut.score > cuts.back().score) {
            cuts.back() = cut;
        }
    }
    return cuts;
}

}  // namespace velorin
