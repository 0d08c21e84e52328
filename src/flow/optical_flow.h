#pragma once

#include <cstdint>

#include "flow/image_pyramid.h"
#include "image/progress.h"
#include "image/zp_image.h"

namespace velorin {

// The motion estimator: dense flow between two frames by coarse-to-fine, iterative Lucas-Kanade on
// band-passed luminance, repaired on each level by candidate propagation.
//
// A flow image is float, 2 channels, of the working size: the frame's sides halved `reductionSteps`
// times, cutting. Its vectors are in working pixels: content at (x, y) of A is at (x + u, y + v) of
// B, where x and y count logical columns and rows. There is no mark for an invalid vector.
//
// Order of use: SetSensitivity, hints, mattes, images, compute; a computation with the high-pass
// step needs the images loaded anew, all but the reverse one. One thread at a time.
class ZPOpticalFlowUChar : public KQMem {
  public:
    // Makes all pyramids. A failure leaves its ZPErr in `status` and no image behind, and nothing
    // but the destructor may be called then; with throwOnFailure it is thrown as well.
    ZPOpticalFlowUChar(int throwOnFailure, int newFullWidth, int newFullHeight,
                       int newReductionSteps, int newGuided, int newMasked, int newMinLevelSize);
    ZPOpticalFlowUChar(int newFullWidth, int newFullHeight, int newReductionSteps, int newGuided,
                       int newMasked, int newMinLevelSize);
    virtual ~ZPOpticalFlowUChar();

    ZPOpticalFlowUChar(const ZPOpticalFlowUChar&) = delete;
    ZPOpticalFlowUChar& operator=(const ZPOpticalFlowUChar&) = delete;

    // 0.0 to 1.0: how coarse the search begins, two levels a halving; 0 gives a field of zeros.
    void SetSensitivity(float newSensitivity);

    // Builds the pyramid of B if `toB`, else of A, from a picture of 1, 3 or 4 channels.
    // `checkImage1`, unless null, and `checkImage2` must have the image's size, or a line goes to
    // standard error and nothing is loaded. `enhance` lifts edges against flat regions.
    void LoadImage(const ZPImage& image, const ZPImage* checkImage1, const ZPImage* checkImage2,
                   bool toB, bool enhance);
    // Builds a pyramid of validity: white is valid, all below is not. Only when `masked`.
    void LoadMatte(const ZPImage& image, bool toB);

    // Solves for what was loaded. `dest` may be null; else it receives a copy of the flow.
    //   highPass         1: band-pass the levels first
    //   mode             1; selects the blur widths of the solve
    //   skipPropagation  other than 0 leaves the repair out
    // Throws what progress and memory throw; the pyramids stay usable.
    void ComputeFlow(ZPImage* dest, int highPass, int mode, int skipPropagation,
                     KQIdleAndProgressClass* progress);
    // Loads B, then A, and computes. Images that do not fit each other get a line on standard error
    // and nothing is done; a `dest` of another shape gets the line alone.
    void ComputeFlowFromImages(ZPImage* dest, const ZPImage* imageA, const ZPImage* imageB,
                               int highPass, int mode, int skipPropagation,
                               KQIdleAndProgressClass* progress, bool enhance);

    // The flow from B to A of the images and mattes loaded by ComputeFlowFromImages, or loaded
    // singly and computed with the high-pass step: they are what they were, and neither load nor
    // high-pass is done again; afterwards A and B have changed places, also where it throws. Where
    // those images did not fit each other, a line on standard error and nothing.
    void ComputeReverseFlow(ZPImage* dest, int mode, int skipPropagation,
                            KQIdleAndProgressClass* progress);

    // The flow of the last computation, until the next or FinishHints; borrowed by the engine.
    ZPImage* Flow() { return flowPyramid[0].get(); }

    // Guide points, on which the flow is forced to the vector of the point: ClearHints, any number
    // of AddHint, FinishHints. They hold for all further computations. Without `guided` these and
    // ImposeHints do nothing.
    void ClearHints();
    // A point that is at (x0, y0) in A and at (x1, y1) in B, in frames of refWidth by refHeight;
    // callers pass the frame's size minus one. Points on one pixel of the flow are averaged. One
    // that begins outside the frame and one that is not finite are dropped.
    void AddHint(float x0, float y0, float x1, float y1, float refWidth, float refHeight);
    // Builds the levels of the hints. Overwrites the flow of the last computation.
    void FinishHints();

    // Replaces the level's flow by hint over weight wherever a hint's weight is not 0.
    void ImposeHints(int level);
    // Whether the level's weights hold a sample that is not 0, or not a number.
    bool HasHints(int level) const;

    // The single steps, in the order of a computation.
    void HighPass();
    void ChooseStartLevel(float& startScale);

    std::int32_t iterationsPerLevel = 3;
    std::int32_t reductionSteps;
    ImagePyramid tensorPyramid;  // 3 channels: blurred gradient products
    // 2 channels: the flow before the last iteration, or, where the steps are not walked, blurred
    // gradient times difference.
    ImagePyramid mismatchPyramid;
    ImagePyramid imagePyramidB;      // 1 channel
    ImagePyramid imagePyramidA;      // 1 channel; gradients are taken on this one
    ImagePyramid flowPyramid;        // 2 channels; internal sign while computing
    ImagePyramid hintFlowPyramid;    // 2 channels, internal sign; only when guided
    ImagePyramid hintWeightPyramid;  // 1 channel; only when guided
    ImagePyramid mattePyramidA;      // 1 channel; only when masked
    ImagePyramid mattePyramidB;      // 1 channel; only when masked
    ImagePyramid gradientXPyramid;   // 1 channel; also scratch
    ImagePyramid gradientYPyramid;   // 1 channel; also scratch
    std::int32_t status = ZPErrNone;
    std::int32_t levelCount = 0;
    std::int32_t guided;
    std::int32_t masked;
    std::int32_t width;
    std::int32_t height;
    std::int32_t maxX;
    std::int32_t maxY;
    std::int32_t startLevel = 0;
    std::int32_t minLevelSize;
    float sensitivity = 1.0f;
    std::int32_t fullWidth;
    std::int32_t fullHeight;
    std::uint8_t lumaIsFirstChannel = 0;  // 1: pictures hold Y'CbCr

  private:
    struct Pass;

    bool imagesFit = true;  // those of the last ComputeFlowFromImages

    void CreatePyramids();
    void ReleasePyramids();
    void LoadLevelZero(ZPImage& level, const ZPImage& image, bool isMatte);
    void BuildLevels(ImagePyramid& pyramid, bool isMatte);
    void EnhanceEdges(ZPImage& level, const ZPImage* matte);
    void SolveLevel(int level, const Pass& pass);
    void Iterate(int level, int iteration, const Pass& pass);
    void WalkIteration(int level, const Pass& pass);
    void StepIteration(int level, const Pass& pass);
    void Propagate(int level, const Pass& pass);
    bool PointsInside(int level) const;
    void FinishLevel(int level, float startScale, bool& sane);
    void FlipSigns();
};

}  // namespace velorin
