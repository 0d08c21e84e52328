#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "cli/held_clip.h"
#include "cli/layers.h"
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

// The order in which a ClipHost will read a clip while it renders `outputFrames`, those that need
// the clip; -1 at the end. Each needs its floor and its ceil frame or, where `framesOfEach` is 1,
// the floor frame alone. `law` outlives it.
std::function<std::int64_t()> ReadingOrder(const TimeLaw& law,
                                           std::vector<std::int64_t> outputFrames,
                                           std::int64_t sourceFrames, int framesOfEach = 2);

// Shares the pixels of `picture` with the engine, which counts rows from the bottom line.
void WrapPicture(KQImage& image, Picture& picture);

// The clips of a run, all of one size. Frame k of each belongs to frame k of the source.
struct RunClips {
    std::unique_ptr<ClipReader> source;
    std::unique_ptr<ClipReader> motion;               // null: motion is measured on the source
    std::vector<std::unique_ptr<ClipReader>> mattes;  // the frontmost layer's first
};

// Answers the engine out of clips and a law of time. Output times are told from the frame set
// last: 0 is that frame, 1 the following one, so that they stay exact at any frame number.
class ClipHost final : public KQVelorin4 {
  public:
    // `law` outlives the host.
    ClipHost(RunClips clips, const TimeLaw& newLaw, bool enhances, DrawnLayers newLayers);

    // The output frame that the next request is for.
    void SetOutputFrame(std::int64_t frame);
    // How the next request warps: see KQVelorin4::UsesWhichWarping. Inverse until it is set.
    void SetWarping(int method) { warping = method; }
    // Throws what went wrong when a slot answered with a failure; nothing when none did.
    void RethrowFailure();

    // The floor frame of the output frame set last, as a frame of the source.
    std::int64_t FloorFrame() const;
    // The matte of a foreground layer at a source frame; valid as HeldClip says.
    Picture& Matte(int layer, std::int64_t frame) { return mattes[layer].Fetch(frame); }
    // The flow that the last request left of a layer, from its floor frame to its ceil frame, in
    // pixels of the flow's own size; null when it left none.
    const ZPImage* FlowOf(int layer) const;

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
    int HandOut(KQImage** out, HeldClip& clip, int frame);

    std::int64_t sourceFrames;
    HeldClip source;
    std::optional<HeldClip> motion;
    std::vector<HeldClip> mattes;
    const TimeLaw& law;
    bool enhance;
    DrawnLayers layers;
    int warping = 0;
    std::int64_t outputFrame = 0;
    std::int64_t base = 0;
    std::exception_ptr failure;
};

}  // namespace velorin
