#include "cli/layer_clips.h"

#include <algorithm>
#include <deque>
#include <string>
#include <utility>

#include "cli/clip_look.h"
#include "cli/fields.h"
#include "cli/forecast.h"
#include "cli/hole_filler.h"
#include "cli/layers.h"
#include "cli/motion_options.h"
#include "cli/pipes.h"
#include "cli/recent_frames.h"
#include "cli/run_frames.h"
#include "cli/stop_request.h"
#include "media/converted_clip.h"
#include "media/picture_stream.h"
#include "media/vector_clip.h"

namespace velorin {

namespace {

constexpr int kReadAhead = 1;
constexpr std::size_t kMostToLookAt = 8;

std::string SizeText(const ClipInfo& clip) {
    return std::to_string(clip.width) + "x" + std::to_string(clip.height);
}

// Throws unless the clip has frames of the source's size and at least so many.
void RequireAlike(const ClipReader& clip, const std::string& option, const ClipInfo& source,
                  std::int64_t frames) {
    const ClipInfo& info = clip.Info();
    const auto refuse = [&](const std::string& what) {
        throw MediaError(MediaError::Kind::kInput, info.name + ": " + option + what);
    };
    if (info.width != source.width || info.height != source.height) {
        refuse(" has frames of " + SizeText(info) + " pixels and " + source.name + " of " +
               SizeText(source) + "; both must be of one size");
    }
    if (source.frames != kFramesUnknown && info.frames < frames) {
        refuse(
            " has " + std::to_string(info.frames) + " frames and " + source.name + " has " +
            std::to_string(source.frames) + "; " +
            (frames < source.frames ? "it may lack the last one alone" : "it must not be shorter"));
    }
}

// The last frame has no next one to lead to.
std::unique_ptr<ClipReader> OpenVectors(VectorDirection direction, const Options& options,
                                        const ClipInfo& source) {
    const bool forward = direction == VectorDirection::kForward;
    const std::string& name = forward ? options.forwardVectors : options.backwardVectors;
    const VectorOptions& vectors = options.vectors;
    const auto& chosen = forward ? vectors.channels.front() : vectors.channels.back();
    std::optional<VectorChannels> channels;
    if (chosen) channels = {chosen->first, chosen->second};
    std::unique_ptr<ClipReader> clip = vectors.format.value_or(kCodedVectors) == kCodedVectors
                                           ? OpenCodedVectors(name, vectors.format.has_value())
                                           : OpenPixelVectors(name, direction, channels);
    RequireAlike(*clip, forward ? "--forward-vectors" : "--backward-vectors", source,
                 forward ? source.frames - 1 : source.frames);
    return clip;
}

// The motion back is not the motion forward.
void RefuseSameVectors(const RunClips& clips, const Options& options) {
    if (!clips.forwardVectors || !clips.backwardVectors) return;
    const ClipInfo& forward = clips.forwardVectors->Info();
    const ClipInfo& backward = clips.backwardVectors->Info();
    if (forward.name != backward.name || forward.content != backward.content) return;
    const bool named = options.vectors.format == kPixelVectors;
    throw UsageError("--forward-vectors and --backward-vectors: both would take " +
                     (forward.content.empty() ? "" : forward.content + " of ") + forward.name +
                     "; give one of them, as the other motion is its reverse" +
                     (named ? ", or --vector-channels twice, the forward ones first" : ""));
}

void OpenVectorClips(RunClips& clips, const Options& options) {
    if (!TakesVectors(options)) return;
    const ClipInfo& info = clips.source->Info();
    if (InputFieldsOf(options, info) != 0) {
        throw UsageError(
            "--input-fields: vectors lead from frame to frame and not from field to field; give "
            "--input-fields none, or no vectors");
    }
    if (!options.forwardVectors.empty()) {
        clips.forwardVectors = OpenVectors(VectorDirection::kForward, options, info);
    }
    if (!options.backwardVectors.empty()) {
        clips.backwardVectors = OpenVectors(VectorDirection::kBackward, options, info);
    }
    RefuseSameVectors(clips, options);
}

bool Reads(ClipRole role, const Options& options, const PassForecast& pass) {
    switch (role) {
        case ClipRole::kSource:
            return ReadsSource(options);
        case ClipRole::kMotion:
            return ReadsMotionClip(options, pass);
        case ClipRole::kMatte:
            return ReadsMattes(options, pass);
        default:
            return EstimatesMotion(options, pass);
    }
}

std::optional<std::int64_t> FrameReadAlone(const Options& options, const PassForecast& pass) {
    return ReadsMattes(options, pass) ? std::nullopt : pass.FrameCopied();
}

// Vectors are read of the frame that they start at, where both frames of the pair are there.
void AddVectorFrame(std::deque<std::int64_t>& frames, ClipRole role, const PassForecast& pass,
                    std::int64_t sourceFrames) {
    if (pass.floorFrame < 0 || pass.ceilFrame >= sourceFrames) return;
    frames.push_back(role == ClipRole::kForwardVectors ? pass.floorFrame : pass.ceilFrame);
}

// What has to be read of a source with holes, in place of a frame that may be one: nothing for a
// hole that is computed by a reader of its own.
std::function<std::int64_t()> WithoutHoles(std::function<std::int64_t()> order,
                                           const Options& options, const RunPlan& plan) {
    return [order = std::move(order), &options, &plan]() -> std::int64_t {
        while (true) {
            const std::int64_t frame = order();
            if (frame < 0) return frame;
            if (options.missing == MissingFrames::kHold) {
                return StandInFor(plan.source, options.scenes, frame);
            }
            if (FramesAroundHole(plan.source, frame).before == frame) return frame;
        }
    };
}

std::unique_ptr<ClipReader> ReadSource(std::unique_ptr<ClipReader> clip, const Options& options,
                                       const RunPlan& plan) {
    if (plan.stream) return clip;  // runs ahead by itself
    const auto order = OrderFor(ClipRole::kSource, options, plan);
    if (plan.source.missing.empty()) return ReadAhead(std::move(clip), order, kReadAhead);
    auto ahead = ReadAhead(std::move(clip), WithoutHoles(order, options, plan), kReadAhead);
    return FillHoles(std::move(ahead), options, plan, order);
}

}  // namespace

std::unique_ptr<ClipReader> OpenAlike(const std::string& name, const std::string& option,
                                      const ClipInfo& source) {
    std::unique_ptr<ClipReader> clip = OpenClip(name);
    RequireAlike(*clip, option, source, source.frames);
    return clip;
}

RunClips OpenRunClips(const Options& options) {
    RunClips clips;
    if (ReadsPipe(options)) {
        clips.stream = std::make_shared<PictureStream>([] { return StopRequested() != 0; });
        clips.source = ReadStream(clips.stream);
    } else {
        clips.source = OpenSource(options);
    }
    const ClipInfo& info = clips.source->Info();
    if (!options.motionFrom.empty()) {
        clips.motion = OpenAlike(options.motionFrom, "--motion-from", info);
    }
    for (const std::string& matte : options.mattes) {
        clips.mattes.push_back(OpenAlike(matte, "--matte", info));
    }
    OpenVectorClips(clips, options);
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
    if (clips.forwardVectors) infos.push_back(clips.forwardVectors->Info());
    if (clips.backwardVectors) infos.push_back(clips.backwardVectors->Info());
    return infos;
}

FramesAlone FramesReadAlone(const Options& options, const RunPlan& plan, std::int64_t outputFrame) {
    const std::vector<PassForecast> passes = ForecastOf(*plan.law, outputFrame, plan.request);
    FramesAlone alone;
    for (std::size_t i = 0; i < passes.size(); ++i) alone[i] = FrameReadAlone(options, passes[i]);
    return alone;
}

std::deque<std::int64_t> FramesRead(ClipRole role, const Options& options, const RunPlan& plan,
                                    std::int64_t outputFrame) {
    std::deque<std::int64_t> frames;
    for (const PassForecast& pass : ForecastOf(*plan.law, outputFrame, plan.request)) {
        if (!Reads(role, options, pass)) continue;
        const auto copied = FrameReadAlone(options, pass);
        if (role == ClipRole::kSource && copied) {
            frames.push_back(FrameInside(*copied, plan.SourceFrames()));
            continue;
        }
        if (role == ClipRole::kForwardVectors || role == ClipRole::kBackwardVectors) {
            AddVectorFrame(frames, role, pass, plan.SourceFrames());
            continue;
        }
        frames.push_back(FrameInside(pass.floorFrame, plan.SourceFrames()));
        if (options.view == View::kMatte) continue;
        frames.push_back(FrameInside(pass.ceilFrame, plan.SourceFrames()));
    }
    return frames;
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

std::vector<std::int64_t> FramesToLookAt(ClipRole role, const ClipInfo& clip,
                                         const Options& options, const RunPlan& plan) {
    std::vector<std::int64_t> all;
    RunFrames frames(plan);
    int asked = 0;
    for (auto frame = frames.Next(); frame; frame = frames.Next()) {
        if (plan.isOpen && ++asked > kSeenOfOpen) break;
        for (const std::int64_t read : FramesRead(role, options, plan, *frame)) {
            if (!plan.isOpen || read < clip.frames) all.push_back(read);
        }
    }
    std::sort(all.begin(), all.end());
    all.erase(std::unique(all.begin(), all.end()), all.end());
    if (all.size() <= kMostToLookAt) return all;
    std::vector<std::int64_t> few;
    for (std::size_t i = 0; i < kMostToLookAt; ++i) {
        few.push_back(all[i * (all.size() - 1) / (kMostToLookAt - 1)]);
    }
    return few;
}

HostChoices ChoicesFor(const Options& options, std::vector<LayerGuides> guides) {
    HostChoices choices;
    choices.enhances = options.enhance != 0;
    choices.layers = LayersDrawn(options);
    choices.guides = std::move(guides);
    choices.scenes = options.scenes;
    for (int layer = 0; layer <= static_cast<int>(options.mattes.size()); ++layer) {
        choices.followsPointsAlone.push_back(FollowsPointsAlone(options, layer));
    }
    const VectorScale scale = ScaleOfVectors(options);
    choices.vectorScale = scale.code;
    choices.vectorScaleX = scale.x;
    choices.vectorScaleY = scale.y;
    return choices;
}

RunClips ReadForRun(RunClips clips, const Options& options, const RunPlan& plan) {
    const int pixelType = PixelTypeOf(plan.source.depth);
    const auto ahead = [&](ClipRole role, std::unique_ptr<ClipReader> clip) {
        if (plan.isOpen) return clip;  // nobody knows how far ahead there is something to read
        return ReadAhead(std::move(clip), OrderFor(role, options, plan), kReadAhead);
    };
    RunClips ready;
    ready.source = ReadSource(std::move(clips.source), options, plan);
    if (clips.motion) {
        ready.motion = ahead(ClipRole::kMotion, ReadAsType(std::move(clips.motion), pixelType));
    }
    for (std::size_t i = 0; i < clips.mattes.size(); ++i) {
        const MatteSettings settings{options.matteChannel.value_or(0), options.matteLevels[i]};
        ready.mattes.push_back(
            ahead(ClipRole::kMatte, ReadAsMatte(std::move(clips.mattes[i]), settings, pixelType)));
    }
    if (clips.forwardVectors) {
        ready.forwardVectors = ahead(ClipRole::kForwardVectors, std::move(clips.forwardVectors));
    }
    if (clips.backwardVectors) {
        ready.backwardVectors = ahead(ClipRole::kBackwardVectors, std::move(clips.backwardVectors));
    }
    return ready;
}

}  // namespace velorin
