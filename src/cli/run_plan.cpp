#include "cli/run_plan.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <utility>

#include "cli/fields.h"
#include "cli/job_options.h"
#include "cli/layers.h"
#include "cli/motion_options.h"
#include "cli/pipes.h"
#include "cli/run_frames.h"
#include "cli/scene_options.h"
#include "cli/time_options.h"
#include "media/picture_stream.h"
#include "media/sequence_name.h"
#include "media/still_format.h"
#include "media/vector_writer.h"

namespace velorin {

namespace {

constexpr int kSmallestSide = 2;
// The filters' lines hold 16384 samples, margins included.
constexpr int kLargestSide = 16000;

// Halvings of the frame before motion is estimated, by the engine's quality.
int HalvingsOf(int quality) {
    constexpr int kHalvings[] = {3, 3, 3, 2, 1, 0};
    return kHalvings[quality];
}

int Halved(int side, int times) {
    for (; times > 0; --times) side /= 2;
    return side;
}

std::string SizeText(int width, int height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

[[noreturn]] void RefuseSize(const ClipInfo& source, const std::string& why) {
    throw MediaError(
        MediaError::Kind::kInput,
        source.name + ": frames of " + SizeText(source.width, source.height) + " pixels " + why);
}

bool CanEstimate(const ClipInfo& source, int quality) {
    return Halved(std::min(source.width, source.height), HalvingsOf(quality)) >= kSmallestSide;
}

// The coarsest quality that would do is named: it is the nearest to what was asked for.
void CheckWorkingSize(const RunPlan& plan, const Options& options) {
    const int quality = options.quality;
    const bool fillsHoles = options.missing == MissingFrames::kInterpolate && quality != 0 &&
                            !plan.source.missing.empty();
    if ((plan.pairs == 0 || TakesVectors(options)) && !fillsHoles) return;
    if (CanEstimate(plan.source, quality)) return;
    int fitting = quality;
    while (!CanEstimate(plan.source, fitting)) ++fitting;
    RefuseSize(plan.source, "are too small to estimate motion with --quality " +
                                std::string(ChoiceWord("--quality", quality)) + "; --quality " +
                                std::string(ChoiceWord("--quality", fitting)) + " would do");
}

std::int64_t LengthOf(const Options& options, const RunPlan& plan) {
    if (options.length) return *options.length;
    const std::optional<std::int64_t> length = plan.law->Length(plan.source.frames);
    if (!length) {
        throw UsageError(LawOption(options) +
                         (options.speedCurve ? " ends with speed 0 inside the clip"
                                             : " 0 never leaves the clip") +
                         "; say how long with --length N");
    }
    if (*length > std::numeric_limits<std::int32_t>::max()) {
        if (plan.isOpen) return kFramesUnknown;
        throw UsageError(LawOption(options) + " makes " + std::to_string(*length) +
                         " frames of the clip; say how many are wanted with --length N");
    }
    return *length;
}

void ChooseFrames(const Options& options, RunPlan& plan) {
    if (plan.isOpen) {
        plan.asked = options.frames;
    } else if (options.frames.empty()) {
        plan.frames.resize(static_cast<std::size_t>(plan.length));
        std::iota(plan.frames.begin(), plan.frames.end(), std::int64_t{0});
    } else {
        plan.frames = ChosenFrames(options.frames, plan.length);
        plan.framesLeftOut = ReachesPast(options.frames, plan.length);
    }
    if (options.job.chunk) {
        plan.frames = FramesOfChunk(plan.frames, *options.job.chunk, *plan.law, plan.request,
                                    CostsOf(options));
    }
}

void CountPairs(const Options& options, RunPlan& plan) {
    std::optional<std::int64_t> lastPair;
    plan.pairs = plan.onFrame = 0;
    RunFrames frames(plan);
    int seen = 0;
    for (auto frame = frames.Next(); frame; frame = frames.Next()) {
        if (plan.isOpen && ++seen > kSeenOfOpen) return;
        bool onFrame = true;
        for (const PassForecast& pass : ForecastOf(*plan.law, *frame, plan.request)) {
            onFrame = onFrame && pass.onFrame;
            if (!EstimatesMotion(options, pass)) continue;
            if (pass.pair != lastPair) ++plan.pairs;
            lastPair = pass.pair;
        }
        if (onFrame) ++plan.onFrame;
    }
}

// A sequence needs a place for the number in its name.
void CheckOutputName(const std::string& name) {
    if (FindStillFormat(name) && !ParseSequenceName(name)) {
        throw UsageError("-o " + name + ": is the name of one picture; write the sequence as " +
                         SuggestedPattern(name));
    }
}

// What `check` has against the output's name is wrong with the command line.
template <typename Check>
auto OfOutputName(Check&& check) {
    try {
        return check();
    } catch (const MediaError& failure) {
        throw UsageError(std::string("-o ") + failure.what());
    }
}

SampleDepth DepthOf(const Options& options, const ClipInfo& source) {
    const SampleDepth held = HeldDepth(options.output, options.depth.value_or(source.depth));
    if (options.depth && held != *options.depth) {
        throw UsageError(
            "--depth " + std::string(ChoiceWord("--depth", static_cast<int>(*options.depth))) +
            ": " + options.output + " cannot hold it; give --depth " +
            std::string(ChoiceWord("--depth", static_cast<int>(held))) + " or another format");
    }
    return held;
}

void CheckTime(const Options& options, const ClipInfo& source) {
    const Decimal at = options.at;
    // The last frame, or its second field.
    const bool fields = InputFieldsOf(options, source) != 0;
    const Decimal last{2 * (source.frames - 1) + (fields ? 1 : 0), 2};
    if (at.numerator >= 0 && at.numerator * 2 <= last.numerator * at.denominator) return;
    throw UsageError("--at " + DecimalText(at) + ": give a time from 0 to " +
                     std::to_string(source.frames - 1) +
                     (fields ? ".5, the last field of " : ", the last frame of ") + source.name);
}

void CheckCrop(const Options& options, const ClipInfo& source) {
    if (!options.crop) return;
    if (options.cellWidth) {
        throw UsageError("--cell-width and --crop: give one of them; a detail is not scaled");
    }
    const Window& crop = *options.crop;
    if (crop.width <= source.width - crop.x && crop.height <= source.height - crop.y) return;
    throw UsageError("--crop " + std::to_string(crop.x) + "," + std::to_string(crop.y) + "," +
                     SizeText(crop.width, crop.height) + ": give a part of the frame, which has " +
                     SizeText(source.width, source.height) + " pixels");
}

std::string DepthText(SampleDepth depth) {
    return "depth " + std::string(ChoiceWord("--depth", static_cast<int>(depth)));
}

std::string MotionText(const RunPlan& plan, const Options& options) {
    const std::string unit = plan.request.inputFields != 0 ? "field" : "frame";
    const std::string onFrame = std::to_string(plan.onFrame) + " on a source " + unit;
    if (plan.isOpen) {
        return plan.pairs == 0 ? "none estimated"
                               : "estimated at " + SizeText(plan.flowWidth, plan.flowHeight);
    }
    if (plan.pairs == 0) return "none estimated; " + onFrame;
    if (TakesVectors(options)) {
        return "from vectors, between " + std::to_string(plan.pairs) +
               (plan.pairs == 1 ? " pair" : " pairs") + " of frames; " + onFrame;
    }
    std::string text = "estimated";
    if (!options.motionFrom.empty()) text += " on " + options.motionFrom;
    text += " at " + SizeText(plan.flowWidth, plan.flowHeight) + " between " +
            std::to_string(plan.pairs) + (plan.pairs == 1 ? " pair" : " pairs") + " of " + unit +
            "s";
    const int layers = LayersDrawn(options).Count();
    if (layers > 1) text += ", for each of " + std::to_string(layers) + " layers by itself";
    return text + "; " + onFrame + (options.keepFlows ? "" : "; not kept between frames");
}

}  // namespace

SampleDepth HeldDepth(const std::string& output, SampleDepth wanted) {
    CheckOutputName(output);
    return OfOutputName([&] { return DepthForOutput(output, wanted); });
}

std::int64_t RunPlan::SourceFrames() const {
    return stream ? stream->Frames() : source.frames;
}

SourceFrames SourceFramesOf(const RunPlan& plan, std::int64_t outputFrame) {
    const auto inside = [&](std::int64_t frame) {
        return std::clamp<std::int64_t>(frame, 0, plan.SourceFrames() - 1);
    };
    const auto shownBy = [&](const PassForecast& pass) {
        return inside(pass.numbers.ShowsFloor() ? pass.floorFrame : pass.ceilFrame);
    };
    const std::vector<PassForecast> passes = ForecastOf(*plan.law, outputFrame, plan.request);
    const std::int64_t shown = shownBy(passes.front());
    const bool isOne = std::all_of(passes.begin(), passes.end(), [&](const PassForecast& pass) {
        return pass.Copies() && shownBy(pass) == shown;
    });
    if (isOne) return {shown, shown};
    return {inside(passes.front().floorFrame), inside(passes.back().ceilFrame)};
}

void CheckPictureName(const std::string& option, const std::string& name) {
    const StillFormat* format = FindStillFormat(name);
    if (!format || StillDepth(*format, SampleDepth::kByte) != SampleDepth::kByte) {
        throw UsageError(option + " " + name + ": name a picture of 8 bits, such as sheet.png");
    }
    if (ParseSequenceName(name)) {
        throw UsageError(option + " " + name + ": names a sequence; this is one picture");
    }
}

void CheckSize(const ClipInfo& source) {
    const int smaller = std::min(source.width, source.height);
    const int larger = std::max(source.width, source.height);
    if (smaller < kSmallestSide) RefuseSize(source, "are too small; both sides must be 2 or more");
    if (larger > kLargestSide) RefuseSize(source, "are too large; a side can have 16000 at most");
}

// Mattes are shown as they stand, and motion one picture a frame. Without vectors there is no blur,
// and what a shrunken matte leaves open is not filled from the frame after it.
RequestSettings RequestFor(const Options& options, const ClipInfo& source) {
    RequestSettings request;
    if (options.view == View::kMatte) return request;
    request.inputFields = InputFieldsOf(options, source);
    if (options.view != View::kFlow) request.outputFields = options.outputFields;
    request.interp = options.interp;
    request.scenes = options.scenes;
    if (options.quality == 0) return request;
    request.usesVectors = true;
    if (options.view != View::kFlow) request.compensate = options.compensate;
    request.shrinks = std::any_of(options.matteShrinks.begin(), options.matteShrinks.end(),
                                  [](float shrink) { return shrink != 0.0f; });
    return request;
}

// The second field of the last frame still lies inside.
void CountOutside(RunPlan& plan, std::int64_t outputFrame) {
    const SourceTime first{0, 0, 1};
    const SourceTime last{plan.SourceFrames() - 1, plan.request.inputFields != 0 ? 1 : 0, 2};
    const SourceTime time = plan.law->At(outputFrame, 0);
    if (!time.IsBefore(first) && !last.IsBefore(time)) return;
    if (plan.outside++ == 0) plan.firstOutside = outputFrame;
}

RunPlan MakeTimePlan(const Options& options, const ClipInfo& source) {
    RunPlan plan;
    plan.source = source;
    CheckSize(source);
    CheckScenes(options, source);
    ChosenLaw chosen = ChooseLaw(options, source);
    plan.law = std::move(chosen.law);
    plan.lawFacts = std::move(chosen.facts);
    plan.request = RequestFor(options, source);
    plan.isOpen = source.frames == kFramesUnknown;
    if (plan.isOpen) CheckPipedLaw(options, plan.lawFacts);
    plan.length = plan.lawFacts.length ? *plan.lawFacts.length : LengthOf(options, plan);
    ChooseFrames(options, plan);
    for (const std::int64_t frame : plan.frames) CountOutside(plan, frame);
    if (options.view == View::kMatte) plan.law = NearestFrames(std::move(plan.law));
    if (options.view == View::kFlow) {
        plan.law = MiddlesOfPairs(std::move(plan.law), plan.request.inputFields != 0 ? 2 : 1);
    }
    CountPairs(options, plan);
    plan.flowWidth = Halved(source.width, HalvingsOf(options.quality));
    plan.flowHeight = Halved(source.height, HalvingsOf(options.quality));
    CheckWorkingSize(plan, options);
    return plan;
}

RunPlan MakePlan(const Options& options, const ClipInfo& source) {
    RunPlan plan = MakeTimePlan(options, source);
    plan.depth = DepthOf(options, source);
    plan.firstNumber = options.startNumber.value_or(source.firstNumber);
    return plan;
}

void KeepFrames(RunPlan& plan, std::vector<std::int64_t> frames, const Options& options) {
    plan.frames = std::move(frames);
    CountPairs(options, plan);
}

RunPlan MakeSheetPlan(const Options& options, const ClipInfo& source) {
    RunPlan plan;
    plan.source = source;
    CheckSize(source);
    CheckTime(options, source);
    CheckCrop(options, source);
    CheckPictureName("-o", options.output);
    plan.law = FixedTime(options.at);
    plan.request = RequestFor(options, source);
    plan.length = 1;
    plan.frames = {0};
    CountPairs(options, plan);
    CheckWorkingSize(plan, options);
    plan.depth = SampleDepth::kByte;
    return plan;
}

VectorsPlan MakeVectorsPlan(const Options& options, const ClipInfo& source) {
    VectorsPlan plan;
    RunPlan& run = plan.run;
    run.source = source;
    CheckSize(source);
    if (options.quality == 0) {
        throw UsageError("vectors needs motion; give another --quality than none");
    }
    OfOutputName([&] { CheckVectorsName(options.output); });
    run.length = source.frames;
    ChooseFrames(options, run);
    plan.files = std::exchange(run.frames, {});
    // Those that lead to a frame and those that leave it.
    for (const std::int64_t file : plan.files) {
        for (const std::int64_t pair : {file - 1, file}) {
            const bool known = !run.frames.empty() && run.frames.back() == pair;
            if (!known && pair >= 0 && pair + 1 < source.frames) run.frames.push_back(pair);
        }
    }
    run.law = MiddlesOfPairs(ConstantSpeed({1, 1}));
    CountPairs(options, run);
    CheckWorkingSize(run, options);
    run.depth = source.depth;
    run.firstNumber = options.startNumber.value_or(source.firstNumber);
    return plan;
}

std::string Describe(const RunPlan& plan, const Options& options, int threads) {
    const ClipInfo& source = plan.source;
    std::string text = "input: " + source.name + ", " +
                       (plan.isOpen ? "a stream of" : std::to_string(source.frames)) +
                       " frames of " + SizeText(source.width, source.height) + ", " +
                       std::to_string(source.channels) + " channels, " + DepthText(source.depth);
    text +=
        "\noutput: " + options.output + ", " +
        (plan.isOpen ? "as many"
                     : std::to_string(plan.frames.size()) + " of " + std::to_string(plan.length)) +
        " frames, " + DepthText(plan.depth) + ", frame 0 has number " +
        std::to_string(plan.firstNumber);
    text += "\nsettings: " + plan.lawFacts.text + ", interp " +
            std::string(ChoiceWord("--interp", options.interp)) + ", quality " +
            std::string(ChoiceWord("--quality", options.quality)) + ", warp " +
            std::string(ChoiceWord("--warp", options.warp)) + ", prep " +
            std::string(ChoiceWord("--prep", options.enhance)) + ", sensitivity " +
            NumberText(options.sensitivity) + ", compensate " + NumberText(options.compensate) +
            ", threads " + std::to_string(threads);
    if (options.motionTransfer) {
        text += ", motion transfer " +
                std::string(ChoiceWord("--motion-transfer", *options.motionTransfer));
    }
    return text + ScenesText(options) + FieldsText(options, plan) + LayersText(options) +
           GuidesText(options) + "\nmotion: " + MotionText(plan, options);
}

}  // namespace velorin
