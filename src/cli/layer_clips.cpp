#include "cli/layer_clips.h"

#include <deque>
#include <string>
#include <utility>

#include "cli/fields.h"
#include "cli/forecast.h"
#include "cli/layers.h"
#include "cli/recent_frames.h"
#include "media/converted_clip.h"

namespace velorin {

namespace {

constexpr int kReadAhead = 1;

std::string SizeText(const ClipInfo& clip) {
    return std::to_string(clip.width) + "x" + std::to_string(clip.height);
}

std::unique_ptr<ClipReader> OpenAlike(const std::string& name, const std::string& option,
                                      const ClipInfo& source) {
    std::unique_ptr<ClipReader> clip = OpenClip(name);
    const ClipInfo& info = clip->Info();
    const auto refuse = [&](const std::string& what) {
        throw MediaError(MediaError::Kind::kInput, name + ": " + option + what);
    };
    if (info.width != source.width || info.height != source.height) {
        refuse(" has frames of " + SizeText(info) + " pixels and " + source.name + " of " +
               SizeText(source) + "; both must be of one size");
    }
    if (info.frames < source.frames) {
        refuse(" has " + std::to_string(info.frames) + " frames and " + source.name + " has " +
               std::to_string(source.frames) + "; it must not be shorter");
    }
    return clip;
}

bool Reads(ClipRole role, const Options& options, const PassForecast& pass) {
    if (role == ClipRole::kSource) return ReadsSource(options);
    return role == ClipRole::kMotion ? ReadsMotionClip(options, pass) : ReadsMattes(options, pass);
}

// What one output frame reads, some of it perhaps twice.
std::deque<std::int64_t> FramesRead(ClipRole role, const Options& options, const RunPlan& plan,
                                    std::int64_t outputFrame) {
    std::deque<std::int64_t> frames;
    for (const PassForecast& pass : ForecastOf(*plan.law, outputFrame, plan.request)) {
        if (!Reads(role, options, pass)) continue;
        frames.push_back(FrameInside(pass.floorFrame, plan.source.frames));
        if (options.view == View::kMatte) continue;
        frames.push_back(FrameInside(pass.ceilFrame, plan.source.frames));
    }
    return frames;
}

}  // namespace

RunClips OpenRunClips(const Options& options) {
    RunClips clips;
    clips.source = OpenClip(options.input);
    const ClipInfo& info = clips.source->Info();
    if (!options.motionFrom.empty()) {
        clips.motion = OpenAlike(options.motionFrom, "--motion-from", info);
    }
    for (const std::string& matte : options.mattes) {
        clips.mattes.push_back(OpenAlike(matte, "--matte", info));
    }
    if (InputFieldsOf(options, info) != 0) {
        clips.source->KeepFieldsApart();
        if (clips.motion) clips.motion->KeepFieldsApart();
        for (const std::unique_ptr<ClipReader>& matte : clips.mattes) matte->KeepFieldsApart();
    }
    return clips;
}

std::vector<ClipInfo> OtherClips(const RunClips& clips) {
    std::vector<ClipInfo> infos;
    if (clips.motion) infos.push_back(clips.motion->Info());
    for (const std::unique_ptr<ClipReader>& matte : clips.mattes) infos.push_back(matte->Info());
    return infos;
}

std::function<std::int64_t()> OrderFor(ClipRole role, const Options& options, const RunPlan& plan) {
    return [role, &options, &plan, recent = RecentFrames(), asked = std::size_t{0},
            wanted = std::deque<std::int64_t>()]() mutable -> std::int64_t {
        while (true) {
            while (wanted.empty()) {
                if (asked == plan.frames.size()) return -1;
                wanted = FramesRead(role, options, plan, plan.frames[asked++]);
            }
            const std::int64_t frame = wanted.front();
            wanted.pop_front();
            bool held = false;
            recent.Use(frame, held);
            if (!held) return frame;
        }
    };
}

RunClips ReadForRun(RunClips clips, const Options& options, const RunPlan& plan) {
    const int pixelType = PixelTypeOf(plan.source.depth);
    const auto ahead = [&](ClipRole role, std::unique_ptr<ClipReader> clip) {
        return ReadAhead(std::move(clip), OrderFor(role, options, plan), kReadAhead);
    };
    RunClips ready;
    ready.source = ahead(ClipRole::kSource, std::move(clips.source));
    if (clips.motion) {
        ready.motion = ahead(ClipRole::kMotion, ReadAsType(std::move(clips.motion), pixelType));
    }
    for (std::size_t i = 0; i < clips.mattes.size(); ++i) {
        const MatteSettings settings{options.matteChannel.value_or(0), options.matteLevels[i]};
        ready.mattes.push_back(
            ahead(ClipRole::kMatte, ReadAsMatte(std::move(clips.mattes[i]), settings, pixelType)));
    }
    return ready;
}

}  // namespace velorin
