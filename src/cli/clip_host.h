#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <vector>

#include "cli/held_clip.h"
#include "cli/layers.h"
#include "cli/time_law.h"
#include "engine/kq_velorin.h"
#include "media/clip.h"

namespace velorin {

// The source frame for any frame number: the last one past the end, the first one before the start.
std::int64_t FrameInside(std::int64_t frame, std::int64_t frames);

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

    // A copy of the matte of a foreground layer at a source frame. Throws MediaError.
    std::unique_ptr<KQImage> CopyOfMatte(int layer, std::int64_t frame);
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
