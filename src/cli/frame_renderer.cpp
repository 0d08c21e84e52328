#include "cli/frame_renderer.h"

#include <new>
#include <stdexcept>
#include <string>
#include <utility>

#include "image/copy.h"
#include "standalone/thread_pool.h"

namespace velorin {

namespace {

constexpr int kReadAhead = 1;
constexpr float kFrameRate = 29.97f;  // has no effect on the picture

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

FrameRenderer::FrameRenderer(const Options& newOptions, const RunPlan& plan,
                             std::unique_ptr<ClipReader> clip)
    : options(newOptions),
      host(ReadAhead(std::move(clip), ReadingOrder(*plan.law, plan.frames, plan.source.frames),
                     kReadAhead),
           *plan.law, options.enhance != 0) {
    rendered.SetShape(plan.source.width, plan.source.height, PixelTypeOf(plan.source.depth));
    if (plan.depth == plan.source.depth) return;
    written.SetShape(plan.source.width, plan.source.height, PixelTypeOf(plan.depth));
}

const Picture* FrameRenderer::Render(std::int64_t frame, Method method, ProgressLine& progress) {
    host.SetOutputFrame(frame);
    host.SetWarping(method.warp);
    KQImage result;
    WrapPicture(result, rendered);
    const int failure =
        host.RenderFrame(&result, nullptr, 0, 0, options.quality, 0.0f, 1.0f, kFrameRate,
                         kFrameRate, 0.0f, options.sensitivity / 100.0f, method.interp, 1, 1,
                         options.keepFlows ? 1 : 0, 0, nullptr, nullptr, &progress, false);
    if (failure == ZPErrInterrupted) return nullptr;
    host.RethrowFailure();
    if (failure == ZPErrNoMemory) throw std::bad_alloc();
    if (failure != ZPErrNone) {
        throw std::runtime_error(CallOf(frame, method) + ": the engine failed with code " +
                                 std::to_string(failure));
    }
    return &Converted();
}

const Picture& FrameRenderer::Converted() {
    if (written.pixels.empty() || rendered.pixelType == written.pixelType) return rendered;
    KQImage from;
    KQImage to;
    WrapPicture(from, rendered);
    WrapPicture(to, written);
    CopyImage(&to, &from);
    return written;
}

}  // namespace velorin
