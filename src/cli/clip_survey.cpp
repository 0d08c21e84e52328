#include "cli/clip_survey.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "cli/cut_scorer.h"
#include "cli/motion_transfer.h"
#include "cli/shrunken_picture.h"
#include "cli/stop_request.h"

namespace velorin {

namespace {

constexpr int kReadAhead = 1;

std::vector<std::int64_t> FramesThere(const ClipInfo& clip) {
    std::vector<std::int64_t> frames;
    for (std::int64_t frame = 0; frame < clip.frames; ++frame) {
        if (!std::binary_search(clip.missing.begin(), clip.missing.end(), frame)) {
            frames.push_back(frame);
        }
    }
    return frames;
}

std::unique_ptr<ClipReader> AheadInOrder(std::unique_ptr<ClipReader> clip,
                                         const std::vector<std::int64_t>& frames) {
    auto next = [&frames, place = std::size_t{0}]() mutable {
        return place < frames.size() ? frames[place++] : std::int64_t{-1};
    };
    return ReadAhead(std::move(clip), std::move(next), kReadAhead);
}

}  // namespace

std::optional<ClipSurvey> SurveyClip(std::unique_ptr<ClipReader> clip, ProgressLine& progress) {
    const std::vector<std::int64_t> frames = FramesThere(clip->Info());
    const auto count = static_cast<std::size_t>(clip->Info().frames);
    const bool isLinear = clip->Info().sceneLinear;
    const std::unique_ptr<ClipReader> ahead = AheadInOrder(std::move(clip), frames);
    ClipSurvey survey;
    survey.changes.assign(count, std::numeric_limits<float>::infinity());
    CutScorer scorer;
    Picture picture;
    Picture last;
    progress.Start(static_cast<std::int64_t>(frames.size()));
    for (const std::int64_t frame : frames) {
        if (StopRequested()) return std::nullopt;
        ahead->Read(frame, picture);
        if (isLinear) CompressTones(picture);
        scorer.Add(Shrink(picture));
        if (frame != frames.front()) survey.changes[frame] = ChangeBetween(picture, last);
        std::swap(picture, last);
        progress.FrameDone(frame);
    }
    const std::vector<float> scores = scorer.Finish();
    survey.cutScores.assign(count, 0.0f);
    for (std::size_t i = 0; i < frames.size(); ++i) survey.cutScores[frames[i]] = scores[i];
    return survey;
}

}  // namespace velorin
