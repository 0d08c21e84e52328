#pragma once

#include <cstdint>

#include "flow/image_pyramid.h"
#include "image/progress.h"
#include "image/zp_image.h"

namespace velorin {

// Makes a dense flow from the vectors of guide points alone; no picture is read. Coarse to fine, a
// field is pulled towards the points near it and goes on smoothly between and beyond them. Far from
// all points it fades, the nearer the lower the sensitivity is.
//
// The flow has the form, size, units and direction of ZPOpticalFlowUChar's.
//
// Use: SetSensitivity, ClearPoints, any number of AddPoint, FinishPoints, Compute. One thread at a
// time.
class ZPMorphFlow : public KQMem {
  public:
    // For frames of this size. A failure leaves its ZPErr in `status` and no image behind, and
    // nothing but the destructor may be called then; with throwOnFailure it is thrown as well. A
    // working size with a side below 2 is ZPErrBadArgument.
    ZPMorphFlow(int throwOnFailure, int fullWidth, int fullHeight, int newReductionSteps,
                int minLevelSize);
    virtual ~ZPMorphFlow();

    ZPMorphFlow(const ZPMorphFlow&) = delete;
    ZPMorphFlow& operator=(const ZPMorphFlow&) = delete;

    // 0.0 to 1.0: how coarse the field begins, two levels a halving; 0 gives a field of zeros.
    void SetSensitivity(float newSensitivity);

    void ClearPoints();
    // A point that is at (x0, y0) in the first frame and at (x1, y1) in the second, in frames of
    // refWidth by refHeight; callers pass the frame's size minus one. Points on one pixel of the
    // flow are averaged. One that begins outside the frame and one that is not finite are dropped.
    void AddPoint(float x0, float y0, float x1, float y1, float refWidth, float refHeight);
    void FinishPoints();

    // Grows the flow. `dest` may be null; else it receives a copy.
    //
    //   spreadPoints  other than 0: each point counts on every level as itself, and the result is a
    //                 smooth field that comes near the points without meeting them exactly. The
    //                 points are used up: add them anew for another computation. On a pyramid of
    //                 one level nothing is left of them, and the field is zero
    //                 0: the points of a level are the halved ones of the finer level, and the flow
    //                 keeps their vectors exactly
    //
    // Throws what progress and memory throw; the object stays usable.
    void Compute(ZPImage* dest, KQIdleAndProgressClass* progress, int spreadPoints);

    // The flow of the last computation, until the next; borrowed by the engine.
    ZPImage* Flow() { return flowPyramid[0].get(); }

    std::int32_t iterationsPerLevel = 2;
    std::int32_t reductionSteps;
    ImagePyramid flowPyramid;     // 2 channels, all levels in pixels of level 0
    ImagePyramid valuePyramid;    // 2 channels: known vectors, sum or mean
    ImagePyramid weightPyramid;   // 1 channel: how many
    ImagePyramid scratchPyramid;  // 1 channel: how well a pixel is covered; also scratch
    std::int32_t levelCount = 0;
    std::int32_t width;
    std::int32_t height;
    float maxX;
    float maxY;
    std::int32_t startLevel = 0;
    float sensitivity = 1.0f;
    std::int32_t status = ZPErrNone;

  private:
    class PointList;

    void ReducePoints();
    void ImposeLevel(int level);
    void SpreadLevel(int level, const PointList& points, KQIdleAndProgressClass& progress);
    void RelaxLevel(int level, KQIdleAndProgressClass& progress);
};

}  // namespace velorin
