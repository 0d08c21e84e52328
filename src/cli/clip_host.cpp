#include "cli/clip_host.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "engine/kq_velorin_internal.h"
#include "image/rounding.h"

namespace velorin {

namespace {

std::int64_t FloorFrameOf(const TimeLaw& law, std::int64_t outputFrame) {
    const FramePlace place = PlaceOf(law, outputFrame);
    return place.base + Truncate(place.time);
}

// A picture of the engine's own, which it may alter until it gives it back.
class PrivateCopy final : public KQImage {
  public:
    explicit PrivateCopy(const Picture& source) : picture(source) { WrapPicture(*this, picture); }

  private:
    Picture picture;
};

}  // namespace

FramePlace PlaceOf(const TimeLaw& law, std::int64_t outputFrame) {
    const SourceTime time = law.At(outputFrame, 0);
    return {time.Base(), time.After(time.Base())};
}

std::int64_t FrameInside(std::int64_t frame, std::int64_t frames) {
    return std::clamp<std::int64_t>(frame, 0, frames - 1);
}

std::function<std::int64_t()> ReadingOrder(const TimeLaw& law,
                                           std::vector<std::int64_t> outputFrames,
                                           std::int64_t sourceFrames, int framesOfEach) {
    // `step` counts the frames that all output frames need.
    return [&law, sourceFrames, each = static_cast<std::size_t>(framesOfEach),
            frames = std::move(outputFrames), recent = RecentFrames(),
            step = std::size_t{0}]() mutable -> std::int64_t {
        for (; step < each * frames.size(); ++step) {
            const std::int64_t floorFrame = FloorFrameOf(law, frames[step / each]);
            const std::int64_t frame =
                FrameInside(floorFrame + static_cast<std::int64_t>(step % each), sourceFrames);
            bool held = false;
            recent.Use(frame, held);
            if (held) continue;
            ++step;
            return frame;
        }
        return -1;
    };
}

void WrapPicture(KQImage& image, Picture& picture) {
    if (image.CreateInternal() != ZPErrNone) throw ZPErrNoMemory;
    // Row direction 0: the first line in memory is the top line, the last logical row.
    const auto init = picture.channels == 1 ? &KQImage::InitSingleChannel : &KQImage::InitRGBA;
    (image.*init)(picture.pixels.data(), picture.width, picture.height, picture.RowBytes(), 0,
                  picture.pixelType);
}

ClipHost::ClipHost(RunClips clips, const TimeLaw& newLaw, bool enhances, DrawnLayers newLayers)
    : sourceFrames(clips.source->Info().frames),
      source(std::move(clips.source)),
      law(newLaw),
      enhance(enhances),
      layers(newLayers) {
    if (clips.motion) motion.emplace(std::move(clips.motion));
    for (std::unique_ptr<ClipReader>& matte : clips.mattes) mattes.emplace_back(std::move(matte));
    internal = new KQVelorin4Internal;
}

void ClipHost::SetOutputFrame(std::int64_t frame) {
    outputFrame = frame;
    const std::int64_t newBase = law.At(frame, 0).Base();
    // Kept flows are told by frame numbers, and these now stand for other frames.
    if (newBase != base) internal->ReleaseFlows();
    base = newBase;
}

void ClipHost::RethrowFailure() {
    if (failure) std::rethrow_exception(std::exchange(failure, nullptr));
}

std::int64_t ClipHost::FloorFrame() const {
    return FrameInside(FloorFrameOf(law, outputFrame), sourceFrames);
}

const ZPImage* ClipHost::FlowOf(int layer) const {
    return internal->LayerFlowA(layer);
}

int ClipHost::HandOut(KQImage** out, HeldClip& clip, int frame) {
    *out = nullptr;
    try {
        *out = new PrivateCopy(clip.Fetch(FrameInside(base + frame, sourceFrames)));
    } catch (...) {
        failure = std::current_exception();
        return ZPErrBadArgument;
    }
    return ZPErrNone;
}

int ClipHost::GetToBeWarpedSequenceImage(KQImage** out, int frame) {
    return HandOut(out, source, frame);
}

int ClipHost::GetTrackingSequenceImage(KQImage** out, int frame) {
    return HandOut(out, motion ? *motion : source, frame);
}

int ClipHost::CleanUpCheckedOutImage(KQImage* image) {
    delete image;
    return ZPErrNone;
}

int ClipHost::GetMatteLayerSequenceImage(KQImage** out, int frame, int layer) {
    return HandOut(out, mattes[layer], frame);
}

int ClipHost::CleanUpCheckedOutMatteImage(KQImage* image) {
    delete image;
    return ZPErrNone;
}

int ClipHost::GetKeyframedTime(float* out, float outputTime) {
    if (!out) return ZPErrBadArgument;
    const int halves = static_cast<int>(std::lround(2.0f * outputTime));
    *out = law.At(outputFrame, halves).After(base);
    return ZPErrNone;
}

int ClipHost::WhichScene(float /*frame*/) {
    return 0;
}

int ClipHost::GetDrawStartLayer() {
    return layers.start;
}

int ClipHost::GetDrawEndLayer() {
    return layers.end;
}

int ClipHost::UsesWhichWarping() {
    return warping;
}

int ClipHost::EnhanceImages() {
    return enhance ? 1 : 0;
}

}  // namespace velorin
