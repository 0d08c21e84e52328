#include "cli/fingerprint.h"

#include <bit>
#include <utility>

#include "cli/hole_filler.h"
#include "cli/layers.h"
#include "cli/motion_options.h"
#include "cli/motion_transfer.h"
#include "cli/sound_options.h"
#include "media/clip_files.h"
#include "media/digest.h"
#include "media/guide_tracks.h"

namespace velorin {

namespace {

// Counts up whenever a frame comes out with other pixels than before: frames of older versions are
// then rendered anew where a run is resumed.
constexpr int kPixelRules = 2;

constexpr std::size_t kJobDigits = 16;

void Add(std::string& text, const char* name, std::int64_t value) {
    text.append(name).append(" ").append(std::to_string(value)).append("\n");
}

// To the last bit.
void Add(std::string& text, const char* name, float value) {
    Add(text, name, std::int64_t{std::bit_cast<std::uint32_t>(value)});
}

void Add(std::string& text, const char* name, const std::string& value) {
    text.append(name).append(" ").append(value).append("\n");
}

void AddSource(std::string& text, const ClipInfo& source) {
    const auto addWindow = [&](const char* name, const Window& window) {
        Add(text, name, std::int64_t{window.x});
        Add(text, name, std::int64_t{window.y});
        Add(text, name, std::int64_t{window.width});
        Add(text, name, std::int64_t{window.height});
    };
    Add(text, "width", std::int64_t{source.width});
    Add(text, "height", std::int64_t{source.height});
    Add(text, "channels", std::int64_t{source.channels});
    Add(text, "depth", static_cast<std::int64_t>(source.depth));
    Add(text, "bits", std::int64_t{source.storedBits});
    Add(text, "straight", std::int64_t{source.straightAlpha});
    addWindow("window", source.window);
    addWindow("display", source.display);
}

void AddMattes(std::string& text, const Options& options) {
    if (options.mattes.empty()) return;
    Add(text, "channel", std::int64_t{options.matteChannel.value_or(0)});
    for (std::size_t i = 0; i < options.mattes.size(); ++i) {
        Add(text, "foreground", options.fgSensitivities[i]);
        Add(text, "shrink", options.matteShrinks[i]);
        const std::optional<MatteLevels>& levels = options.matteLevels[i];
        if (!levels) continue;
        Add(text, "black", levels->black);
        Add(text, "white", levels->white);
    }
}

void AddMotionSources(std::string& text, const Options& options) {
    Add(text, "motion clip", std::int64_t{!options.motionFrom.empty()});
    for (std::size_t i = 0; i < options.guides.size(); ++i) {
        Add(text, "layer", std::int64_t{options.guidesLayers[i]});
        Add(text, "flow", std::int64_t{options.flowSources[i]});
    }
    if (!TakesVectors(options)) return;
    const VectorScale scale = ScaleOfVectors(options);
    Add(text, "vectors", std::int64_t{!options.forwardVectors.empty()});
    Add(text, "vectors", std::int64_t{!options.backwardVectors.empty()});
    Add(text, "format", std::int64_t{options.vectors.format.value_or(kCodedVectors)});
    Add(text, "scale", scale.code);
    Add(text, "x", scale.x);
    Add(text, "y", scale.y);
}

// What the engine is handed of a time.
void AddTime(std::string& text, const SourceTime& time, std::int64_t base) {
    Add(text, "base", base);
    Add(text, "time", time.After(base));
}

// The times that an output frame shows, or is measured by.
void AddTimes(std::string& text, const RunPlan& plan, std::int64_t frame) {
    const bool fields = plan.request.outputFields != 0;
    const std::int64_t base = BaseOf(*plan.law, frame, fields);
    AddTime(text, plan.law->At(frame, 0), base);
    if (fields) AddTime(text, plan.law->At(frame, 1), base);
    if (fields || plan.request.compensate > 0.0f) AddTime(text, plan.law->At(frame, 2), base);
}

// What scenes leave of the method.
void AddMethod(std::string& text, const PassForecast& pass) {
    Add(text, "moves", std::int64_t{pass.moves});
    Add(text, "mixed", std::int64_t{pass.interp});
}

// Whether rows that are shared otherwise give other pixels: coverage fades along a thread's rows,
// and hits of the forward warp come in any order.
bool DependsOnThreads(const Options& options) {
    return options.warp != 0 || !options.mattes.empty();
}

}  // namespace

std::string SettingsText(const Options& options, const RunPlan& plan) {
    std::string text;
    Add(text, "rules", std::int64_t{kPixelRules});
    AddSource(text, plan.source);
    Add(text, "output depth", static_cast<std::int64_t>(plan.depth));
    Add(text, "rate", plan.lawFacts.rate.numerator);
    Add(text, "of", plan.lawFacts.rate.denominator);
    Add(text, "interp", std::int64_t{options.interp});
    Add(text, "quality", std::int64_t{options.quality});
    Add(text, "warp", std::int64_t{options.warp});
    Add(text, "prep", std::int64_t{options.enhance});
    Add(text, "sensitivity", options.sensitivity);
    Add(text, "compensate", plan.request.compensate);
    Add(text, "input fields", std::int64_t{plan.request.inputFields});
    Add(text, "output fields", std::int64_t{plan.request.outputFields});
    Add(text, "view", static_cast<std::int64_t>(options.view));
    if (options.flowScale) Add(text, "flow scale", *options.flowScale);
    AddMattes(text, options);
    AddMotionSources(text, options);
    return text;
}

Fingerprints::Fingerprints(const Options& newOptions, const RunPlan& newPlan,
                           const RunClips& runClips, std::vector<LayerGuides> newGuides,
                           int newThreads)
    : options(newOptions),
      plan(newPlan),
      guides(std::move(newGuides)),
      threads(newThreads),
      settings(SettingsText(options, plan)) {
    AddClip(ClipRole::kSource, 0, runClips.source.get());
    AddClip(ClipRole::kMotion, 0, runClips.motion.get());
    for (std::size_t i = 0; i < runClips.mattes.size(); ++i) {
        AddClip(ClipRole::kMatte, static_cast<int>(i), runClips.mattes[i].get());
    }
    AddClip(ClipRole::kForwardVectors, 0, runClips.forwardVectors.get());
    AddClip(ClipRole::kBackwardVectors, 0, runClips.backwardVectors.get());
    if (CompressesTones(options, runClips)) Add(settings, "tones", std::int64_t{kTransferLog});
    job = DigestOf(JobText()).substr(0, kJobDigits);
}

void Fingerprints::AddClip(ClipRole role, int number, const ClipReader* clip) {
    if (!clip) return;
    const ClipFiles files(clip->Info());
    ReadClip& added =
        clips.emplace_back(ReadClip{role, number, files.Name(), clip->Info().content, {}});
    for (const std::int64_t outputFrame : plan.frames) {
        for (const std::int64_t frame : FramesRead(role, options, plan, outputFrame)) {
            const FramesAround around = FramesAroundHole(clip->Info(), frame);
            for (const std::int64_t read : {around.before, around.behind}) {
                if (!added.files.contains(read)) added.files[read] = files.IdentityOf(read);
            }
        }
    }
}

// Enough moments to tell laws of time apart, however long the output is: a job is the same one when
// it is given more frames.
std::string Fingerprints::JobText() const {
    constexpr std::int64_t kEvery[] = {1, 64, 4096};
    constexpr std::int64_t kMoments = 4096;
    std::string text = settings;
    for (const ReadClip& clip : clips) Add(text, "clip", clip.name + " " + clip.content);
    for (const std::string& file : options.guides) {
        Add(text, "guides", file.substr(file.rfind('/') + 1));
    }
    for (const SceneMark& mark : plan.request.scenes.Marks()) {
        Add(text, "scene", std::int64_t{mark.scene});
        Add(text, "from", mark.frame);
    }
    for (const std::int64_t frame : options.look.repeats) Add(text, "repeated", frame);
    for (const std::int64_t step : kEvery) {
        for (std::int64_t i = 0; i < kMoments; ++i) AddTimes(text, plan, i * step);
    }
    return text;
}

void Fingerprints::TellFrame(std::string& text, const ReadClip& clip, std::int64_t frame) const {
    const FramesAround around = clip.role == ClipRole::kSource
                                    ? FramesAroundHole(plan.source, frame)
                                    : FramesAround{frame, frame};
    Add(text, "role", static_cast<std::int64_t>(clip.role));
    Add(text, "number", std::int64_t{clip.number});
    Add(text, "content", clip.content);
    const bool isHole = around.before != around.behind;
    if (!isHole || options.missing != MissingFrames::kInterpolate) {
        const std::int64_t read = isHole ? StandInFor(plan.source, options.scenes, frame) : frame;
        Add(text, "file", clip.files.at(read));
        return;
    }
    Add(text, "file", clip.files.at(around.before));
    Add(text, "part", frame - around.before);
    Add(text, "of", around.behind - around.before);
    Add(text, "file", clip.files.at(around.behind));
    for (const std::int64_t scene : {around.before, frame, around.behind}) {
        Add(text, "scene", std::int64_t{options.scenes.At(scene)});
    }
    if (DependsOnThreads(options)) Add(text, "threads", std::int64_t{threads});
}

void Fingerprints::TellGuides(std::string& text, const PassForecast& pass) const {
    const double rate = plan.request.inputFields != 0 ? 0.5 : 1.0;
    for (const LayerGuides& layer : guides) {
        const GuidePairs pairs = PairGuides(layer.tracks, static_cast<double>(pass.pair) * rate,
                                            static_cast<double>(pass.pair + 1) * rate);
        Add(text, "layer", std::int64_t{layer.layer});
        Add(text, "points", static_cast<std::int64_t>(pairs.xA.size()));
        for (std::size_t i = 0; i < pairs.xA.size(); ++i) {
            for (const float place : {pairs.xA[i], pairs.yA[i], pairs.xB[i], pairs.yB[i]}) {
                Add(text, "at", place);
            }
        }
    }
}

Stamp Fingerprints::Of(std::int64_t frame) const {
    std::string text = settings;
    Add(text, "frame", frame);
    AddTimes(text, plan, frame);
    for (const ReadClip& clip : clips) {
        for (const std::int64_t read : FramesRead(clip.role, options, plan, frame)) {
            TellFrame(text, clip, read);
        }
    }
    for (const PassForecast& pass : ForecastOf(*plan.law, frame, plan.request)) {
        AddMethod(text, pass);
        if (!EstimatesMotion(options, pass)) continue;
        TellGuides(text, pass);
        if (DependsOnThreads(options)) Add(text, "threads", std::int64_t{threads});
    }
    return {"velorin " VELORIN_VERSION, frame, plan.length, job, DigestOf(text)};
}

Stamp Fingerprints::OfMovie() const {
    std::string pictures = SoundKey(options, plan);
    for (const std::int64_t frame : plan.frames) pictures += Of(frame).picture;
    const auto frames = static_cast<std::int64_t>(plan.frames.size());
    return {"velorin " VELORIN_VERSION, 0, frames, job, DigestOf(pictures)};
}

}  // namespace velorin
