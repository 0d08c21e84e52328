#pragma once

#include <array>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>

#include "cli/recent_frames.h"
#include "cli/time_law.h"
#include "engine/kq_velorin.h"
#include "media/clip.h"

namespace velorin {

// Where an output frame lies, as the engine is told: its source time less `base` frames. Frame
// numbers of the engine plus `base` are those of the source.
struct FramePlace {
    std::int64_t base = 0;
    float time = 0.0f;
};

FramePlace PlaceOf(const TimeLaw& law, std::int64_t outputFrame);

// The source frame for any frame number: the last one past the end, the first one before the start.
std::int64_t FrameInside(std::int64_t frame, std::int64_t frames);

// The order in which a ClipHost will read source frames while it renders `outputFrames`; -1 at the
// end. `law` outlives it.
std::function<std::int64_t()> ReadingOrder(const TimeLaw& law,
                                           std::vector<std::int64_t> outputFrames,
                                           std::int64_t sourceFrames);

// Shares the pixels of `picture` with the engine, which counts rows from the bottom line.
void WrapPicture(KQImage& image, Picture& picture);

// Answers the engine out of a clip and a law of time. Output times are told from the frame set
// last: 0 is that frame, 1 the following one, so that they stay exact at any frame number.
class ClipHost final : public KQVelorin4 {
  public:
    // `law` outlives the host.
    ClipHost(std::unique_ptr<ClipReader> newClip, const TimeLaw& newLaw, bool enhances);

    // The output frame that the next request is for.
    void SetOutputFrame(std::int64_t frame);
    // How the next request warps: see KQVelorin4::UsesWhichWarping. Inverse until it is set.
    void SetWarping(int method) { warping = method; }
    // Throws what went wrong when a slot answered with a failure; nothing when none did.
    void RethrowFailure();
    const ClipInfo& Info() const { return clip->Info(); }

    int GetToBeWarpedSequenceImage(KQImage** out, int frame) override;
    int GetTrackingSequenceImage(KQImage** out, int frame) override;
    int CleanUpCheckedOutImage(KQImage* image) override;
    int GetMatteLayerSequenceImage(KQImage** out, int frame, int layer) override;
    int CleanUpCheckedOutMatteImage(KQImage* image) override;
    int GetKeyframedTime(float* out, float outputTime) override;
    int WhichScene(float frame) override;
    int GetDrawStartLayer() override;
    int GetDrawEndLayer() override;
    int UsesWhichWarping() override;
    int EnhanceImages() override;

  private:
    const Picture& Fetch(std::int64_t frame);

    std::unique_ptr<ClipReader> clip;
    const TimeLaw& law;
    bool enhance;
    int warping = 0;
    std::int64_t outputFrame = 0;
    std::int64_t base = 0;
    RecentFrames recent;
    std::array<Picture, RecentFrames::kCount> pictures;  // in the places of `recent`
    std::exception_ptr failure;
};

}  // namespace velorin
