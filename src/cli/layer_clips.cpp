#include "cli/layer_clips.h"

#include <string>
#include <utility>

#include "cli/layers.h"
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

bool Reads(ClipRole role, const Options& options, float time) {
    if (role == ClipRole::kSource) return ReadsSource(options);
    return role == ClipRole::kMotion ? ReadsMotionClip(options, time) : ReadsMattes(options, time);
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
    return clips;
}

std::vector<ClipInfo> OtherClips(const RunClips& clips) {
    std::vector<ClipInfo> infos;
    if (clips.motion) infos.push_back(clips.motion->Info());
    for (const std::unique_ptr<ClipReader>& matte : clips.mattes) infos.push_back(matte->Info());
    return infos;
}

std::function<std::int64_t()> OrderFor(ClipRole role, const Options& options, const RunPlan& plan) {
    std::vector<std::int64_t> frames;
    for (const std::int64_t frame : plan.frames) {
        if (Reads(role, options, PlaceOf(*plan.law, frame).time)) frames.push_back(frame);
    }
    const int framesOfEach = options.view == View::kMatte ? 1 : 2;
    return ReadingOrder(*plan.law, std::move(frames), plan.source.frames, framesOfEach);
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
