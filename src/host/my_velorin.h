#pragma once

#include <cstdint>

#include "engine/kq_velorin.h"
#include "host/frame_cache.h"
#include "host/spark_api.h"

namespace velorin {

// Which of the host's clips.
enum SparkClip { SparkClipFront = 0, SparkClipBack = 1, SparkClipMatte = 2 };

// Entries of the panel's menus that the adapter answers from.
enum TimeMenu { TimeMenuSource, TimeMenuOutput, TimeMenuBackground, TimeMenuForeground };
enum StretchMethod { StretchKeyFramed, StretchSpeed };

// What a request brings along. Menus may hold values that they have no entry for.
struct MyRequest {
    const spark_info_struct* info = nullptr;
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t sparkFormat = 0;
    std::int32_t trackingClip = SparkClipBack;  // which clip motion is measured on
    std::int32_t matteChannel = 0;              // 0 red, 1 green, 2 blue
    std::int32_t combineArg = 0;                // see sparkCombine4Buffers
    std::int32_t stretchMethod = StretchSpeed;
    float constantSpeed = 1.0f;  // where the mode is not interactive
    std::int32_t warpingMethod = 1;
    std::int32_t imagePrep = 1;
    std::int32_t timeMenu = TimeMenuOutput;
    std::int32_t layerCount = 0;                // 1 with a foreground layer
    spark_membuf_struct* tempBuffer = nullptr;  // receives fetched frames
};

// The engine's host inside the plug-in: answers from the panel, the host's curves and its clips.
// Everything that looks like a host stops here.
class MyVelorin final : public KQVelorin4 {
  public:
    // Takes over a request, whose pointers stay alive for as long as frames are rendered for it.
    // 1, and everything as it was, without memory for the engine; else 0.
    int MyInit(const MyRequest& newRequest);

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

    // sparkUnCombine4Buffers for this request; 0 before the first one.
    virtual int MySparkUnCombine4Buffers(void* colour, const void* block, void* alpha);

    // Hands out a frame of a clip as an image of 1 or 4 channels, 12-bit values widened to 16 bits.
    // Frames before the clip's start are its first; the host knows where the clip ends. A single
    // channel is `matteChannel` of the clip.
    //
    // 0; 5 without `out` or with a clip that there is not, which is handed out all the same, with
    // whatever the scratch buffer held; 1 for an unknown format or another count of channels; what
    // the host answered when its fetch failed. May throw where memory fails. `*out` is the
    // caller's, whatever the result.
    int GetImage(int clip, KQImage** out, int frame, int channels, int layer, int matteChannel,
                 int combineArg);

    void CleanCache() { cache.CleanCache(); }

    bool cacheOn = false;  // frames of the front clip are kept for the next request

  private:
    int HandOut(int clip, KQImage** out, int frame, int channels, int layer);
    int MyGetKeyFramedTimeParameter(float outputTime, float* out);

    MyRequest request;
    FrameCache cache;
};

}  // namespace velorin
