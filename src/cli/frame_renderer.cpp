#include "cli/frame_renderer.h"

#include <algorithm>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

#include "cli/layers.h"
#include "cli/motion_options.h"
#include "cli/motion_transfer.h"
#include "cli/stop_request.h"
#include "cli/view_pictures.h"
#include "engine/fields.h"
#include "image/copy.h"
#include "standalone/thread_pool.h"

namespace velorin {

namespace {

constexpr float kFrameRate = 29.97f;      // has no effect on the picture
constexpr float kFullScaleParts = 40.0f;  // one of the frame's longer side has the full colour

using Handles = std::vector<std::unique_ptr<KQImage>>;

std::vector<const ZPImage*> ImagesOf(const Handles& handles) {
    std::vector<const ZPImage*> images;
    for (const std::unique_ptr<KQImage>& handle : handles) images.push_back(handle->internal);
    return images;
}

std::string CallOf(std::int64_t frame, Method method) {
    return "output frame " + std::to_string(frame) + " with --interp " +
           std::string(ChoiceWord("--interp", method.interp)) + " --warp " +
           std::string(ChoiceWord("--warp", method.warp));
}

}  // namespace

int StartThreads(const Options& options) {
    const int threads = options.threads > 0 ? options.threads : AvailableProcessors();
    UseThreads(threads);
    return threads;
}

FrameRenderer::FrameRenderer(const Options& newOptions, const RunPlan& newPlan, RunClips clips,
                             std::vector<LayerGuides> guides)
    : options(newOptions),
      plan(newPlan),
      compressesTones(CompressesTones(newOptions, clips)),
      sensitivities(newOptions.fgSensitivities),
      host(ReadForRun(std::move(clips), newOptions, plan), *plan.law,
           ChoicesFor(newOptions, std::move(guides))) {
    for (float& sensitivity : sensitivities) sensitivity /= 100.0f;
    rendered.SetShape(plan.source.width, plan.source.height, PixelTypeOf(plan.source.depth));
    if (plan.request.outputFields != 0) secondField = rendered;
    if (plan.depth == plan.source.depth) return;
    written.SetShape(plan.source.width, plan.source.height, PixelTypeOf(plan.depth));
}

Picture* FrameRenderer::Render(std::int64_t frame, Method method, ProgressLine& progress) {
    host.SetSourceFrames(plan.SourceFrames());
    host.SetOutputFrame(frame, plan.request.outputFields != 0);
    const bool whole = options.view == View::kMatte  ? PaintMatteView(frame)
                       : options.view == View::kFlow ? PaintFlowView(frame, progress)
                                                     : AskEngine(frame, method, progress);
    return whole ? &Converted() : nullptr;
}

bool FrameRenderer::AskEngine(std::int64_t frame, Method method, ProgressLine& progress) {
    host.SetWarping(method.warp);
    KQImage result;
    KQImage second;
    WrapPicture(result, rendered);
    const RequestSettings& request = plan.request;
    if (request.outputFields != 0) WrapPicture(second, secondField);
    const std::array<bool, 2> compresses = CompressingPasses(frame);
    host.SetCompressesTones(compresses);
    // The forecast is that of the method that was asked for, and a sheet has all of them.
    const bool foreseen = method.interp == plan.request.interp;
    host.SetFramesAlone(foreseen ? FramesReadAlone(options, plan, frame) : FramesAlone());
    host.SetSharesFrames(request.inputFields == 0);
    const bool tracksSource = options.motionFrom.empty() && !compresses[0] && !compresses[1];
    const bool keepsFlows = options.keepFlows || options.view == View::kFlow;
    const int failure = host.RenderFrame(
        &result, request.outputFields != 0 ? &second : nullptr, request.inputFields,
        request.outputFields, options.quality, 0.0f, 1.0f, kFrameRate, kFrameRate,
        request.compensate, options.sensitivity / 100.0f, method.interp, 1, tracksSource ? 1 : 0,
        keepsFlows ? 1 : 0, static_cast<std::int32_t>(sensitivities.size()),
        options.matteShrinks.data(), sensitivities.data(), &progress, false);
    if (failure == ZPErrInterrupted || StopAtOnce()) return false;
    host.RethrowFailure();
    if (failure == ZPErrNoMemory) throw std::bad_alloc();
    if (failure != ZPErrNone) {
        throw std::runtime_error(CallOf(frame, method) + ": the engine failed with code " +
                                 std::to_string(failure));
    }
    return true;
}

// Not those in which nothing moves: there, tracked frames show through soft mattes.
std::array<bool, 2> FrameRenderer::CompressingPasses(std::int64_t frame) const {
    std::array<bool, 2> compresses{};
    if (!compressesTones) return compresses;
    const std::vector<PassForecast> passes = ForecastOf(*plan.law, frame, plan.request);
    for (std::size_t i = 0; i < passes.size(); ++i) {
        compresses[i] = EstimatesMotion(options, passes[i]);
    }
    return compresses;
}

PassForecast FrameRenderer::FirstPass(std::int64_t frame) const {
    return ForecastOf(*plan.law, frame, plan.request).front();
}

bool FrameRenderer::PaintMatteView(std::int64_t frame) {
    const PassForecast shown = FirstPass(frame);
    if (shown.pair != painted) {
        const Handles mattes = MattesAt(shown);
        PaintMattes(rendered, ImagesOf(mattes));
    }
    painted = shown.pair;
    return true;
}

// The engine's picture is painted over: what is wanted of it are the flows that it leaves behind.
bool FrameRenderer::PaintFlowView(std::int64_t frame, ProgressLine& progress) {
    const PassForecast shown = FirstPass(frame);
    if (shown.pair == painted) return true;
    const std::size_t layers = options.mattes.size() + 1;
    std::vector<const ZPImage*> flows;
    if (TakesVectors(options)) {
        flows.assign(layers, ReadSuppliedFlows(frame, progress).forward);
    } else {
        if (!AskEngine(frame, Method(), progress)) return false;
        for (std::size_t i = 0; i < layers; ++i) flows.push_back(host.FlowOf(static_cast<int>(i)));
    }
    const int longer = std::max(rendered.width, rendered.height);
    const float scale = options.flowScale.value_or(static_cast<float>(longer) / kFullScaleParts);
    const Handles mattes = MattesAt(shown);
    PaintFlow(rendered, flows, ImagesOf(mattes), scale);
    painted = shown.pair;
    return true;
}

FrameRenderer::Flows FrameRenderer::ReadSuppliedFlows(std::int64_t frame, ProgressLine& progress) {
    for (std::unique_ptr<ZPImage>* flow : {&suppliedForward, &suppliedBack}) {
        if (*flow) continue;
        *flow = std::make_unique<ZPImage>(plan.source.width, plan.source.height, 2, ZPPixFloat, 0);
    }
    host.ReadVectors(FirstPass(frame).floorFrame, *suppliedForward, *suppliedBack, progress);
    return {suppliedForward.get(), suppliedBack.get()};
}

std::optional<FrameRenderer::Flows> FrameRenderer::MeasureFlows(std::int64_t frame,
                                                                ProgressLine& progress) {
    host.SetOutputFrame(frame, plan.request.outputFields != 0);
    if (TakesVectors(options)) return ReadSuppliedFlows(frame, progress);
    if (!AskEngine(frame, Method(), progress)) return std::nullopt;
    return Flows{host.FlowOf(0), host.BackFlow()};
}

Handles FrameRenderer::MattesAt(const PassForecast& pass) {
    const std::int64_t sourceFrame = FrameInside(pass.floorFrame, plan.SourceFrames());
    const int fields = plan.request.inputFields;
    Handles handles;
    for (int layer = 0; layer < static_cast<int>(options.mattes.size()); ++layer) {
        handles.push_back(host.CopyOfMatte(layer, sourceFrame));
        if (fields == 0) continue;
        ExtractField(*handles.back()->internal, ExtractModeOf(pass.numbers.floorFrame % 2, fields));
    }
    return handles;
}

Picture& FrameRenderer::Converted() {
    if (written.pixels.empty() || rendered.pixelType == written.pixelType) return rendered;
    KQImage from;
    KQImage to;
    WrapPicture(from, rendered);
    WrapPicture(to, written);
    CopyImage(&to, &from);
    return written;
}

}  // namespace velorin
