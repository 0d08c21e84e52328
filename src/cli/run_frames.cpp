#include "cli/run_frames.h"

#include <vector>

#include "cli/clip_host.h"
#include "cli/forecast.h"
#include "media/picture_stream.h"

namespace velorin {

namespace {

// Whatever is measured elsewhere: the stream has to come along with the run.
std::vector<std::int64_t> SourceOf(const RunPlan& plan, std::int64_t frame) {
    // That which tells whether the time lies inside the clip, first.
    const SourceTime time = plan.law->At(frame, 0);
    std::vector<std::int64_t> frames = {
        FrameInside(time.frame + (time.numerator > 0 ? 1 : 0), plan.source.frames)};
    for (const PassForecast& pass : ForecastOf(*plan.law, frame, plan.request)) {
        frames.push_back(FrameInside(pass.floorFrame, plan.source.frames));
        frames.push_back(FrameInside(pass.ceilFrame, plan.source.frames));
    }
    return frames;
}

}  // namespace

std::optional<std::int64_t> RunFrames::Next() {
    if (!plan->isOpen) {
        if (taken == plan->frames.size()) return std::nullopt;
        return plan->frames[taken++];
    }
    const std::optional<std::int64_t> frame = NextChosen(plan->asked, next);
    if (!frame || *frame >= plan->length) return std::nullopt;
    next = *frame + 1;
    return frame;
}

SourceState AwaitSource(const RunPlan& plan, std::int64_t frame,
                        std::optional<std::int64_t> following) {
    std::vector<std::int64_t> next;
    if (following) next = SourceOf(plan, *following);
    plan.stream->Want(SourceOf(plan, frame), std::move(next));
    if (!plan.stream->Await()) return SourceState::kStopped;
    const std::int64_t frames = plan.stream->Frames();
    // Where the end is not in sight it lies behind this frame's time.
    const bool endsWithClip = plan.length == kFramesUnknown && frames != kFramesUnknown;
    const bool isPast = endsWithClip && frame >= plan.law->Length(frames).value_or(kFramesUnknown);
    return isPast ? SourceState::kEnded : SourceState::kThere;
}

}  // namespace velorin
