#pragma once

#include <cstdint>

#include "image/kq_image.h"
#include "image/progress.h"

namespace velorin {

class KQVelorin4Internal;

// Everything that the engine asks of its host, in slot order, and the entry through which the host
// asks for a frame. Integer results are ZPErr values unless told otherwise; slots are called on the
// thread of the request only.
//
// Times and frame numbers count from 0. An image handed out belongs to the host again once it is
// given back through the matching clean-up call; until then the engine may alter it.
class KQVelorin4 : public KQMem {
  public:
    KQVelorin4();
    virtual ~KQVelorin4();

    KQVelorin4(const KQVelorin4&) = delete;
    KQVelorin4& operator=(const KQVelorin4&) = delete;

    // The source frame that is warped into the result, and the one that motion is measured on. Any
    // frame number may be asked for; the host decides what lies beyond the clip's ends.
    virtual int GetToBeWarpedSequenceImage(KQImage** out, int frame) = 0;
    virtual int GetTrackingSequenceImage(KQImage** out, int frame) = 0;
    virtual int CleanUpCheckedOutImage(KQImage* image) = 0;

    // The one-channel matte of a layer, of the frames' size and pixel type: white where the layer
    // is. 0 is the frontmost layer; the last, the background, has no matte.
    virtual int GetMatteLayerSequenceImage(KQImage** out, int frame, int layer) = 0;
    virtual int CleanUpCheckedOutMatteImage(KQImage* image) = 0;

    // Source time, in frames, of an output time.
    virtual int GetKeyframedTime(float* out, float outputTime) = 0;

    // Overrides that vary with time: the result is 1 when `value` was written.
    virtual int GetBackgroundLayerSensitivity(float time, float* value);
    virtual int GetLayerSensitivity(float time, float* value, int layer);
    virtual int GetLayerMatteShrink(float time, float* value, int layer);

    // Whether a layer is tracked by the estimator (true) or follows guide points alone (false).
    virtual void GetDoOpticalFlow(bool* out, int layer, float time);
    virtual void GetBackgroundLayerDoOpticalFlow(bool* out, float time);

    // Scene number of a source frame: 0 to 2 shots, 3 nearest without vectors, 4 blend without.
    virtual int WhichScene(float frame) = 0;

    // Highest and lowest layer to draw, 0 to matteLayers; layers count from the front, and 0 is the
    // only one without mattes. Fewer than all of them leave the rest of the result black and
    // transparent.
    virtual int GetDrawStartLayer() = 0;
    virtual int GetDrawEndLayer() = 0;

    // 0 Inverse, 1 Inverse + Smart Blend, 2 Forward, 3 forward without coverage.
    virtual int UsesWhichWarping() = 0;
    // 1 asks for the edge-enhancing preparation of what the estimator sees.
    virtual int EnhanceImages() = 0;

    // Guide geometry: lists of points on a layer that move from (xA, yA) on one source frame of a
    // pair to (xB, yB) on the other, in pixels: pixel centres are whole numbers and y counts
    // logical rows. The flow of the layer follows them. Frames count fields where the input has
    // them, times frames always. What was handed out is given back by ReleasePoints; with a result
    // other than 0 nothing is handed out. Kept flows ask for no points: a host that changes those
    // of a pair releases the flows.
    virtual int GetNumGeometries(int layer, float frameA, float frameB);
    virtual int GetGeometryPoints(int geometry, unsigned long layer, float timeA, float timeB,
                                  unsigned long* count, float** xA, float** yA, float** xB,
                                  float** yB);
    virtual void ReleasePoints(float* xA, float* yA, float* xB, float* yB);
    virtual void GetGeometryColor(std::uint8_t* red, std::uint8_t* green, std::uint8_t* blue);

    // 1: vectors come from the host and none are estimated or kept: those that lead from a frame
    // to the one after it (forward) or before it (backward), as images of the frames' size and four
    // channels; others are refused with ZPErrBadArgument. Frames count fields where the input has
    // them. Channel 0 codes the way along x, channel 1 that along y, in pixels: v is
    // (2 * c / 254 - 1) * scale for bytes, (2 * c / 65534 - 1) * scale for words and
    // (2 * c - 1) * scale for floats, times the factor of the axis. Channel 3 is white where there
    // is a vector. 5 or a null image: none for that frame; if only one of the two flows of a pair
    // is there the other is its reverse, and if none is nothing moves. Any other result fails the
    // request; with a result other than 0 nothing is handed out.
    virtual int UsesSuppliedVectors();
    virtual int GetBackwardVectors(KQImage** out, float* scale, int frame);
    virtual int GetForwardVectors(KQImage** out, float* scale, int frame);
    virtual int ReleaseBackwardVectors(KQImage* image);
    virtual int ReleaseForwardVectors(KQImage* image);
    virtual int GetVectorScaleXY(float* x, float* y, int frame);

    // Asked once a pass; the answer only starts the next pass and never reaches the picture.
    virtual int GetCompensate(float time, float* value);

    // Renders one output frame into `resultImage`, which has the clip's size, type and channels;
    // with matte layers it has four.
    //
    //   secondFieldImage   like the result: takes the second field pass, which is woven into the
    //                      result at the end; used only when outputFields is not 0
    //   inputFields        0 progressive, 1 upper field first, 2 lower field first; each field is
    //                      a picture of its own, at twice the rate
    //   outputFields       the same values
    //   vectorQuality      0 no vectors, 1 and 2 an eighth of the frame's size, 3 a quarter,
    //                      4 half, 5 the frame's own size
    //   outputTime         in output frames; nextOutputTime is that of the following frame
    //   frame rates        above 0.01; a change of either drops kept flows, nothing else
    //   compensate         0.0 to 5.0: motion blur to fit the speed, added along the flow above the
    //                      source's own and taken away below it; from 0.005 on
    //   motionSensitivity  of the background layer, 0.0 to 1.0; so layerSensitivity
    //   interpMethod       0 nearest, 1 blend, 2 weighted energy blend
    //   fullDetail         1; 0 takes one step less detail
    //   sameClipForTracking  1: motion is measured on the warped clip itself
    //   keepFlows          1: flows may survive to the next request
    //   matteLayers        0 to 9; the two arrays have so many entries, or are not read. Each layer
    //                      is tracked and moved on its own and laid over those behind it
    //   layerShrink        pixels by which the hole that a layer cuts into those behind it is wider
    //                      than the layer, possibly fractions
    //   progress           may be null
    //
    // 0, or a ZPErr after clean-up; 1, with no slot called, while `internal` is null. No exception
    // passes. Flows between the same two source frames are estimated once while they are kept.
    int RenderFrame(KQImage* resultImage, KQImage* secondFieldImage, std::int32_t newInputFields,
                    std::int32_t newOutputFields, std::int32_t newVectorQuality, float outputTime,
                    float nextOutputTime, float newSourceFrameRate, float newOutputFrameRate,
                    float newCompensate, float motionSensitivity, std::int64_t newInterpMethod,
                    std::int64_t newFullDetail, std::int64_t sameClipForTracking,
                    std::int64_t keepFlows, std::int32_t matteLayers, const float* layerShrink,
                    const float* layerSensitivity, KQIdleAndProgressClass* progress,
                    bool imagesAreYCbCr);

    // What the last request asked for, written by the engine.
    std::int32_t inputFields = 0;
    std::int32_t outputFields = 0;
    float sourceFrameRate = 0.0f;
    float outputFrameRate = 0.0f;
    std::int32_t vectorQuality = 0;
    std::int64_t interpMethod = 0;
    std::int64_t fullDetail = 0;
    float compensate = 0.0f;

    // Made by the host before the first request (`new KQVelorin4Internal`); owned by this object.
    KQVelorin4Internal* internal = nullptr;
};

}  // namespace velorin
