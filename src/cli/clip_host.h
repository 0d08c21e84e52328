#pragma once

#include <array>
#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <vector>

#include "cli/held_clip.h"
#include "cli/layers.h"
#include "cli/scene_marks.h"
#include "cli/time_law.h"
#include "engine/kq_velorin.h"
#include "media/clip.h"
#include "media/guide_tracks.h"

namespace velorin {

class PictureStream;

// The source frame for any frame number: the last one past the end, the first one before the start.
std::int64_t FrameInside(std::int64_t frame, std::int64_t frames);

// Shares the pixels of `picture` with the engine, which counts rows from the bottom line.
void WrapPicture(KQImage& image, Picture& picture);

// The clips of a run, all of one size. Frame k of each belongs to frame k of the source.
struct RunClips {
    std::unique_ptr<ClipReader> source;
    std::shared_ptr<PictureStream> stream;            // of standard input, where the source is it
    std::unique_ptr<ClipReader> motion;               // null: motion is measured on the source
    std::vector<std::unique_ptr<ClipReader>> mattes;  // the frontmost layer's first
    // Coded vectors to the next frame and to the one before; null: none of these.
    std::unique_ptr<ClipReader> forwardVectors;
    std::unique_ptr<ClipReader> backwardVectors;
};

// Tracked points of one layer.
struct LayerGuides {
    int layer;
    std::vector<GuideTrack> tracks;
};

// What a ClipHost answers the engine's questions of choice with.
struct HostChoices {
    bool enhances = false;
    DrawnLayers layers;
    std::vector<LayerGuides> guides;
    std::vector<bool> followsPointsAlone;  // each layer, the background last
    SceneMarks scenes;
    float vectorScale = 1.0f;  // of the code, and of each axis
    float vectorScaleX = 1.0f;
    float vectorScaleY = 1.0f;
};

// A source frame for each pass of a request, or none.
using FramesAlone = std::array<std::optional<std::int64_t>, 2>;

// Answers the engine out of clips and a law of time. Output times are told from the frame set
// last: 0 is that frame, 1 the following one, so that they stay exact at any frame number.
class ClipHost final : public KQVelorin4 {
  public:
    // `law` outlives the host.
    ClipHost(RunClips clips, const TimeLaw& newLaw, HostChoices newChoices);

    // The output frame that the next request is for, and whether it asks for two fields.
    void SetOutputFrame(std::int64_t frame, bool hasFields = false);
    // From now on so many are known of: of a source whose end comes while it is read.
    void SetSourceFrames(std::int64_t frames) { sourceFrames = frames; }
    // How the next request warps: see KQVelorin4::UsesWhichWarping. Inverse until it is set.
    void SetWarping(int method) { warping = method; }
    // Whether the passes of the next request look at a tracking clip with compressed tones.
    void SetCompressesTones(const std::array<bool, 2>& ofPasses) { compressesTones = ofPasses; }
    // The one source frame that each pass of the next request shows as it stands: it is handed out
    // in the place of its neighbour too, which is then not read. Nothing where both are looked at.
    void SetFramesAlone(const FramesAlone& ofPasses) { framesAlone = ofPasses; }
    // Whether the next requests leave frames and mattes as they are handed out, so that these need
    // no copies. The engine does so unless it takes fields out of frames: with no input fields.
    void SetSharesFrames(bool newSharesFrames) { sharesFrames = newSharesFrames; }
    // Throws what went wrong when a slot answered with a failure; nothing when none did.
    void RethrowFailure();

    // A copy of the matte of a foreground layer at a source frame. Throws MediaError.
    std::unique_ptr<KQImage> CopyOfMatte(int layer, std::int64_t frame);
    // The flow that the last request left of a layer, from its floor frame to its ceil frame, in
    // pixels of the flow's own size; null when it left none.
    const ZPImage* FlowOf(int layer) const;
    // Without layers and after a request that mixes two frames: the flow back.
    const ZPImage* BackFlow() const;
    // The vectors of the clips between source frame `frame` and the next: images of the frames'
    // size. Throws MediaError and what the engine throws.
    void ReadVectors(std::int64_t frame, ZPImage& forward, ZPImage& back,
                     KQIdleAndProgressClass& progress);

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
    void GetDoOpticalFlow(bool* out, int layer, float time) override;
    void GetBackgroundLayerDoOpticalFlow(bool* out, float time) override;
    int GetNumGeometries(int layer, float frameA, float frameB) override;
    int GetGeometryPoints(int geometry, unsigned long layer, float timeA, float timeB,
                          unsigned long* count, float** xA, float** yA, float** xB,
                          float** yB) override;
    int UsesSuppliedVectors() override;
    int GetForwardVectors(KQImage** out, float* scale, int frame) override;
    int GetBackwardVectors(KQImage** out, float* scale, int frame) override;
    int ReleaseForwardVectors(KQImage* image) override;
    int ReleaseBackwardVectors(KQImage* image) override;
    int GetVectorScaleXY(float* x, float* y, int frame) override;

  private:
    // Shared, if all requests leave frames as they are; else a copy.
    enum class Handing { kShared, kCopied, kCompressed };
    int HandOut(KQImage** out, HeldClip& clip, int frame, Handing handing = Handing::kShared);
    int HandOutVectors(KQImage** out, float* scale, std::optional<HeldClip>& clip, int frame,
                       int neighbour);

    std::int64_t sourceFrames;
    HeldClip source;
    std::optional<HeldClip> motion;
    std::vector<HeldClip> mattes;
    const TimeLaw& law;
    HostChoices choices;
    std::optional<HeldClip> forwardVectors;
    std::optional<HeldClip> backwardVectors;
    GuidePairs pairs;  // the points that the engine looks at
    int warping = 0;
    bool sharesFrames = false;
    std::array<bool, 2> compressesTones{};
    FramesAlone framesAlone;
    int pass = 0;  // that the engine is in
    std::int64_t outputFrame = 0;
    std::int64_t base = 0;
    std::exception_ptr failure;
};

}  // namespace velorin
