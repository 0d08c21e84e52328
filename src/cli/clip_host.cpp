#include "cli/clip_host.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "engine/kq_velorin_internal.h"
#include "image/rounding.h"

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

FramePlace PlaceOf(const TimeLaw& law, std::int64_t outputFrame) {
    const SourceTime time = law.At(outputFrame, 0);
    return {time.Base(), time.After(time.Base())};
}

std::int64_t FrameInside(std::int64_t frame, std::int64_t frames) {
    return std::clamp<std::int64_t>(frame, 0, frames - 1);
}

std::function<std::int64_t()> ReadingOrder(const TimeLaw& law,
                                           std::vector<std::int64_t> outputFrames,
                                           std::int64_t sourceFrames) {
    // `step` counts the floor and ceil frames of all output frames.
    return [&law, sourceFrames, frames = std::move(outputFrames), recent = RecentFrames(),
            step = std::size_t{0}]() mutable -> std::int64_t {
        for (; step < 2 * frames.size(); ++step) {
            const FramePlace place = PlaceOf(law, frames[step / 2]);
            const std::int64_t floorFrame = place.base + Truncate(place.time);
            const std::int64_t frame =
                FrameInside(floorFrame + static_cast<std::int64_t>(step % 2), sourceFrames);
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
    image.InitRGBA(picture.pixels.data(), picture.width, picture.height, picture.RowBytes(), 0,
                   picture.pixelType);
}

ClipHost::ClipHost(std::unique_ptr<ClipReader> newClip, const TimeLaw& newLaw, bool enhances)
    : clip(std::move(newClip)), law(newLaw), enhance(enhances) {
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

const Picture& ClipHost::Fetch(std::int64_t frame) {
    bool held = false;
    const int place = recent.Use(frame, held);
    if (!held) {
        try {
            clip->Read(frame, pictures[place]);
        } catch (...) {
            recent.Forget(place);
            throw;
        }
    }
    return pictures[place];
}

int ClipHost::GetToBeWarpedSequenceImage(KQImage** out, int frame) {
    *out = nullptr;
    try {
        *out = new PrivateCopy(Fetch(FrameInside(base + frame, clip->Info().frames)));
    } catch (...) {
        failure = std::current_exception();
        return ZPErrBadArgument;
    }
    return ZPErrNone;
}

int ClipHost::GetTrackingSequenceImage(KQImage** out, int frame) {
    return GetToBeWarpedSequenceImage(out, frame);
}

int ClipHost::CleanUpCheckedOutImage(KQImage* image) {
    delete image;
    return ZPErrNone;
}

// Never asked for while requests have no matte layer.
int ClipHost::GetMatteLayerSequenceImage(KQImage** out, int /*frame*/, int /*layer*/) {
    *out = nullptr;
    return ZPErrBadArgument;
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
    return 0;
}

int ClipHost::GetDrawEndLayer() {
    return 0;
}

int ClipHost::UsesWhichWarping() {
    return warping;
}

int ClipHost::EnhanceImages() {
    return enhance ? 1 : 0;
}

}  // namespace velorin
