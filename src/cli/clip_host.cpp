#include "cli/clip_host.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "cli/motion_transfer.h"
#include "engine/kq_velorin_internal.h"
#include "engine/supplied_vectors.h"
#include "image/copy.h"
#include "image/rounding.h"

namespace velorin {

namespace {

// A picture in the engine's hands.
class HandedPicture final : public KQImage {
  public:
    explicit HandedPicture(std::shared_ptr<Picture> newPicture) : picture(std::move(newPicture)) {
        WrapPicture(*this, *picture);
    }

  private:
    const std::shared_ptr<Picture> picture;
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

ClipHost::ClipHost(RunClips clips, const TimeLaw& newLaw, HostChoices newChoices)
    : sourceFrames(clips.source->Info().frames),
      source(std::move(clips.source)),
      law(newLaw),
      choices(std::move(newChoices)) {
    if (clips.motion) motion.emplace(std::move(clips.motion));
    for (std::unique_ptr<ClipReader>& matte : clips.mattes) mattes.emplace_back(std::move(matte));
    if (clips.forwardVectors) forwardVectors.emplace(std::move(clips.forwardVectors));
    if (clips.backwardVectors) backwardVectors.emplace(std::move(clips.backwardVectors));
    internal = new KQVelorin4Internal;
}

void ClipHost::SetOutputFrame(std::int64_t frame, bool hasFields) {
    outputFrame = frame;
    const std::int64_t newBase = BaseOf(law, frame, hasFields);
    // Kept flows are told by frame numbers, and these now stand for other frames.
    if (newBase != base) internal->ReleaseFlows();
    base = newBase;
}

void ClipHost::RethrowFailure() {
    if (failure) std::rethrow_exception(std::exchange(failure, nullptr));
}

std::unique_ptr<KQImage> ClipHost::CopyOfMatte(int layer, std::int64_t frame) {
    return std::make_unique<HandedPicture>(std::make_shared<Picture>(*mattes[layer].Fetch(frame)));
}

const ZPImage* ClipHost::FlowOf(int layer) const {
    return internal->LayerFlowA(layer);
}

const ZPImage* ClipHost::BackFlow() const {
    return internal->backFlow.get();
}

void ClipHost::ReadVectors(std::int64_t frame, ZPImage& forward, ZPImage& back,
                           KQIdleAndProgressClass& progress) {
    ClearImage(&forward);
    ClearImage(&back);
    const int number = static_cast<int>(frame - base);
    try {
        ImportVectors(*this, {back, number + 1, nullptr}, {forward, number, nullptr}, progress);
    } catch (ZPErr) {
        RethrowFailure();
        throw;
    }
}

int ClipHost::HandOut(KQImage** out, HeldClip& clip, int frame, Handing handing) {
    *out = nullptr;
    try {
        std::shared_ptr<Picture> picture = clip.Fetch(FrameInside(base + frame, sourceFrames));
        if (!sharesFrames || handing != Handing::kShared) {
            picture = std::make_shared<Picture>(*picture);
        }
        if (handing == Handing::kCompressed) CompressTones(*picture);
        *out = new HandedPicture(std::move(picture));
    } catch (...) {
        failure = std::current_exception();
        return ZPErrBadArgument;
    }
    return ZPErrNone;
}

int ClipHost::GetToBeWarpedSequenceImage(KQImage** out, int frame) {
    const std::optional<std::int64_t> alone = framesAlone[pass];
    return HandOut(out, source, alone ? static_cast<int>(*alone - base) : frame);
}

int ClipHost::GetTrackingSequenceImage(KQImage** out, int frame) {
    return HandOut(out, motion ? *motion : source, frame,
                   compressesTones[pass] ? Handing::kCompressed : Handing::kShared);
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

int ClipHost::WhichScene(float frame) {
    return choices.scenes.At(base + Truncate(frame));
}

int ClipHost::GetDrawStartLayer() {
    return choices.layers.start;
}

int ClipHost::GetDrawEndLayer() {
    return choices.layers.end;
}

int ClipHost::UsesWhichWarping() {
    return warping;
}

int ClipHost::EnhanceImages() {
    return choices.enhances ? 1 : 0;
}

void ClipHost::GetDoOpticalFlow(bool* out, int layer, float /*time*/) {
    *out = !choices.followsPointsAlone[layer];
}

// The engine asks this as a pass begins; that of a second field lies half a step on.
void ClipHost::GetBackgroundLayerDoOpticalFlow(bool* out, float time) {
    pass = time < 0.5f ? 0 : 1;
    *out = !choices.followsPointsAlone.back();
}

// The same for all pairs, those without points too: the estimator stays the one that it is.
int ClipHost::GetNumGeometries(int layer, float /*frameA*/, float /*frameB*/) {
    return static_cast<int>(
        std::count_if(choices.guides.begin(), choices.guides.end(),
                      [&](const LayerGuides& guides) { return guides.layer == layer; }));
}

int ClipHost::GetGeometryPoints(int geometry, unsigned long layer, float timeA, float timeB,
                                unsigned long* count, float** xA, float** yA, float** xB,
                                float** yB) {
    for (const LayerGuides& guides : choices.guides) {
        if (guides.layer != static_cast<int>(layer) || geometry-- > 0) continue;
        const double start = static_cast<double>(base);
        pairs = PairGuides(guides.tracks, start + static_cast<double>(timeA),
                           start + static_cast<double>(timeB));
        *count = static_cast<unsigned long>(pairs.xA.size());
        *xA = pairs.xA.data();
        *yA = pairs.yA.data();
        *xB = pairs.xB.data();
        *yB = pairs.yB.data();
        return ZPErrNone;
    }
    return ZPErrBadArgument;
}

int ClipHost::UsesSuppliedVectors() {
    return forwardVectors || backwardVectors ? 1 : 0;
}

// `neighbour` is the frame that the vectors lead to. Where there is none the clip's end holds, and
// nothing moves.
int ClipHost::HandOutVectors(KQImage** out, float* scale, std::optional<HeldClip>& clip, int frame,
                             int neighbour) {
    *out = nullptr;
    const auto isInside = [&](int number) {
        return FrameInside(base + number, sourceFrames) == base + number;
    };
    if (!clip || !isInside(frame) || !isInside(neighbour)) return ZPErrBadArgument;
    *scale = choices.vectorScale;
    const int code = HandOut(out, *clip, frame, Handing::kCopied);
    return code == ZPErrNone ? code : ZPErrNoMemory;  // the other one would mean: none
}

int ClipHost::GetForwardVectors(KQImage** out, float* scale, int frame) {
    return HandOutVectors(out, scale, forwardVectors, frame, frame + 1);
}

int ClipHost::GetBackwardVectors(KQImage** out, float* scale, int frame) {
    return HandOutVectors(out, scale, backwardVectors, frame, frame - 1);
}

int ClipHost::ReleaseForwardVectors(KQImage* image) {
    return CleanUpCheckedOutImage(image);
}

int ClipHost::ReleaseBackwardVectors(KQImage* image) {
    return CleanUpCheckedOutImage(image);
}

int ClipHost::GetVectorScaleXY(float* x, float* y, int /*frame*/) {
    *x = choices.vectorScaleX;
    *y = choices.vectorScaleY;
    return ZPErrNone;
}

}  // namespace velorin
