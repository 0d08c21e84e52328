#include "cli/hole_filler.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "cli/frame_renderer.h"
#include "cli/progress_line.h"
#include "image/err.h"

namespace velorin {

namespace {

// The frames of a clip that are there, numbered without the holes between them.
class PresentFrames final : public ClipReader {
  public:
    PresentFrames(std::unique_ptr<ClipReader> clipWithHoles, const std::vector<std::int64_t>& holes)
        : clip(std::move(clipWithHoles)), info(clip->Info()) {
        info.missing = holes;
        for (std::int64_t frame = 0; frame < info.frames; ++frame) {
            if (FramesAroundHole(info, frame).before == frame) present.push_back(frame);
        }
        info.frames = static_cast<std::int64_t>(present.size());
        info.missing.clear();
    }
    const ClipInfo& Info() const override { return info; }
    void Read(std::int64_t frame, Picture& picture) override {
        clip->Read(present[static_cast<std::size_t>(frame)], picture);
    }

  private:
    std::unique_ptr<ClipReader> clip;
    ClipInfo info;
    std::vector<std::int64_t> present;
};

// Output frame n shows frame n of a clip with holes out of the frames that are there: what stands
// in for it where there is nothing between, at the edge of a scene.
class HoleLaw final : public TimeLaw {
  public:
    HoleLaw(ClipInfo clipWithHoles, SceneMarks newScenes)
        : clip(std::move(clipWithHoles)), scenes(std::move(newScenes)) {}

    SourceTime At(std::int64_t outputFrame, int halves) const override {
        const std::int64_t frame = std::min(outputFrame + halves / 2, clip.frames - 1);
        const FramesAround around = FramesAroundHole(clip, frame);
        const auto holesBefore =
            std::lower_bound(clip.missing.begin(), clip.missing.end(), around.before) -
            clip.missing.begin();
        const std::int64_t place = around.before - holesBefore;
        const bool isCut = scenes.At(around.before) != scenes.At(frame) ||
                           scenes.At(around.behind) != scenes.At(frame);
        if (isCut || around.before == around.behind) {
            const bool holds = StandInFor(clip, scenes, frame) == around.before;
            return {holds ? place : place + 1, 0, 1};
        }
        return {place, frame - around.before, around.behind - around.before};
    }
    std::optional<std::int64_t> Length(std::int64_t) const override { return clip.frames; }

  private:
    ClipInfo clip;
    SceneMarks scenes;
};

// The scenes of the frames that are there, by their numbers among these.
SceneMarks ScenesWithoutHoles(const SceneMarks& scenes, const ClipInfo& clip) {
    std::vector<SceneMark> marks;
    std::int64_t place = 0;
    for (std::int64_t frame = 0; frame < clip.frames; ++frame) {
        if (std::binary_search(clip.missing.begin(), clip.missing.end(), frame)) continue;
        const int scene = scenes.At(frame);
        if (marks.empty() || marks.back().scene != scene) marks.push_back({place, scene});
        ++place;
    }
    return SceneMarks(std::move(marks));
}

Options OptionsForHoles(const Options& options, const ClipInfo& clip) {
    Options plain;
    plain.input = options.input;
    plain.quality = options.quality;
    plain.enhance = options.enhance;
    plain.sensitivity = options.sensitivity;
    plain.interp = options.interp;
    plain.warp = options.warp;
    plain.keepFlows = options.keepFlows;
    plain.motionTransfer = options.motionTransfer;
    plain.scenes = ScenesWithoutHoles(options.scenes, clip);
    return plain;
}

// An engine of its own, over a reader of its own.
class HoleRenderer {
  public:
    HoleRenderer(const Options& runOptions, const RunPlan& runPlan,
                 std::vector<std::int64_t> frames)
        : options(OptionsForHoles(runOptions, runPlan.source)), quiet(ProgressStyle::kNone, true) {
        RunClips clips;
        clips.source =
            std::make_unique<PresentFrames>(OpenClip(options.input, true), runPlan.source.missing);
        plan.source = clips.source->Info();
        plan.law = std::make_unique<HoleLaw>(runPlan.source, runOptions.scenes);
        plan.request = RequestFor(options, plan.source);
        plan.depth = plan.source.depth;
        plan.frames = std::move(frames);
        renderer.emplace(options, plan, std::move(clips), std::vector<LayerGuides>());
    }

    void Render(std::int64_t frame, Picture& picture) {
        const Picture* rendered = renderer->Render(frame, {options.interp, options.warp}, quiet);
        if (!rendered) throw ZPErrInterrupted;
        picture = *rendered;
    }

  private:
    const Options options;
    RunPlan plan;
    ProgressLine quiet;
    std::optional<FrameRenderer> renderer;
};

class FilledClip final : public ClipReader {
  public:
    FilledClip(std::unique_ptr<ClipReader> clipWithHoles, SceneMarks newScenes,
               std::unique_ptr<HoleRenderer> newFiller)
        : clip(std::move(clipWithHoles)),
          scenes(std::move(newScenes)),
          filler(std::move(newFiller)) {}
    const ClipInfo& Info() const override { return clip->Info(); }
    void Read(std::int64_t frame, Picture& picture) override {
        const FramesAround around = FramesAroundHole(clip->Info(), frame);
        if (filler && around.before != around.behind) {
            filler->Render(frame, picture);
        } else {
            clip->Read(StandInFor(clip->Info(), scenes, frame), picture);
        }
    }

  private:
    std::unique_ptr<ClipReader> clip;
    SceneMarks scenes;
    std::unique_ptr<HoleRenderer> filler;  // null: other frames stand in for holes
};

}  // namespace

FramesAround FramesAroundHole(const ClipInfo& clip, std::int64_t frame) {
    FramesAround around{frame, frame};
    const auto hole = std::lower_bound(clip.missing.begin(), clip.missing.end(), frame);
    for (auto at = hole; at != clip.missing.end() && *at == around.behind; ++at) ++around.behind;
    if (around.behind == frame) return around;
    for (auto at = hole + 1; at != clip.missing.begin() && *(at - 1) == around.before; --at) {
        --around.before;
    }
    return around;
}

std::int64_t StandInFor(const ClipInfo& clip, const SceneMarks& scenes, std::int64_t frame) {
    const FramesAround around = FramesAroundHole(clip, frame);
    const int scene = scenes.At(frame);
    const bool onlyBehind = scenes.At(around.before) != scene && scenes.At(around.behind) == scene;
    return onlyBehind ? around.behind : around.before;
}

std::unique_ptr<ClipReader> FillHoles(std::unique_ptr<ClipReader> clip, const Options& options,
                                      const RunPlan& plan,
                                      const std::function<std::int64_t()>& order) {
    std::vector<std::int64_t> filled;
    for (std::int64_t frame = order(); frame >= 0; frame = order()) {
        const FramesAround around = FramesAroundHole(plan.source, frame);
        if (around.before != around.behind) filled.push_back(frame);
    }
    std::unique_ptr<HoleRenderer> filler;
    if (options.missing == MissingFrames::kInterpolate && !filled.empty()) {
        filler = std::make_unique<HoleRenderer>(options, plan, std::move(filled));
    }
    return std::make_unique<FilledClip>(std::move(clip), options.scenes, std::move(filler));
}

}  // namespace velorin
