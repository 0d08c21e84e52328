#include "cli/clip_host.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "engine/kq_velorin_internal.h"

namespace velorin {

namespace {

// A picture of the engine's own, which it may alter until it gives it back.
class PrivateCopy final : public KQImage {
  public:
    explicit PrivateCopy(const Picture& source) : picture(source) { WrapPicture(*this, picture); }

  private:
    Picture picture;
};

}  // namespace

std::int64_t FrameInside(std::int64_t frame, std::int64_t frames) {
    return std::clamp<std::int64_t>(frame, 0, frames - 1);
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

std::unique_ptr<KQImage> ClipHost::CopyOfMatte(int layer, std::int64_t frame) {
    return std::make_unique<PrivateCopy>(mattes[layer].Fetch(frame));
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
