#include "flow/optical_flow.h"

#include <cstdio>

#include "flow/level_pass.h"
#include "flow/level_plan.h"
#include "flow/level_solver.h"
#include "flow/propagate.h"
#include "image/arithmetic.h"
#include "image/copy.h"
#include "image/parallel_rows.h"
#include "image/rounding.h"

namespace velorin {

namespace {

constexpr const char* kIncompatible = "calculating flow, incompatible inputs!\n";

}  // namespace

// What one computation passes down to its steps.
struct ZPOpticalFlowUChar::Pass {
    int mode;
    bool propagate;
    KQIdleAndProgressClass& progress;
};

ZPOpticalFlowUChar::ZPOpticalFlowUChar(int throwOnFailure, int newFullWidth, int newFullHeight,
                                       int newReductionSteps, int newGuided, int newMasked,
                                       int newMinLevelSize)
    : reductionSteps(newReductionSteps),
      guided(newGuided),
      masked(newMasked),
      width(HalvedSide(newFullWidth, newReductionSteps)),
      height(HalvedSide(newFullHeight, newReductionSteps)),
      maxX(width - 1),
      maxY(height - 1),
      minLevelSize(newMinLevelSize),
      fullWidth(newFullWidth),
      fullHeight(newFullHeight) {
    levelCount = CountLevels(width, height, minLevelSize);
    startLevel = levelCount - 1;
    try {
        if (width < 2 || height < 2) throw ZPErrBadArgument;
        CreatePyramids();
    } catch (ZPErr failure) {
        ReleasePyramids();
        status = failure;
        if (throwOnFailure) throw;
    }
}

ZPOpticalFlowUChar::ZPOpticalFlowUChar(int newFullWidth, int newFullHeight, int newReductionSteps,
                                       int newGuided, int newMasked, int newMinLevelSize)
    : ZPOpticalFlowUChar(1, newFullWidth, newFullHeight, newReductionSteps, newGuided, newMasked,
                         newMinLevelSize) {}

ZPOpticalFlowUChar::~ZPOpticalFlowUChar() = default;

void ZPOpticalFlowUChar::CreatePyramids() {
    const auto create = [this](ImagePyramid& pyramid, int channels) {
        CreateLevels(pyramid, levelCount, width, height, channels);
    };
    create(tensorPyramid, 3);
    create(mismatchPyramid, 2);
    create(imagePyramidB, 1);
    create(imagePyramidA, 1);
    create(flowPyramid, 2);
    if (guided) create(hintFlowPyramid, 2);
    if (guided) create(hintWeightPyramid, 1);
    if (masked) create(mattePyramidA, 1);
    if (masked) create(mattePyramidB, 1);
    create(gradientXPyramid, 1);
    create(gradientYPyramid, 1);
    // What a caller may look at before a flow is computed, or hands in only in part. The rest, most
    // of the memory, is made new by each flow.
    const auto clear = [this](ImagePyramid& pyramid) { ClearLevels(pyramid, levelCount); };
    for (ImagePyramid* pyramid : {&imagePyramidA, &imagePyramidB, &flowPyramid}) clear(*pyramid);
    if (guided) clear(hintFlowPyramid);
    if (guided) clear(hintWeightPyramid);
    if (masked) clear(mattePyramidA);
    if (masked) clear(mattePyramidB);
}

void ZPOpticalFlowUChar::ReleasePyramids() {
    for (ImagePyramid* pyramid :
         {&tensorPyramid, &mismatchPyramid, &imagePyramidB, &imagePyramidA, &flowPyramid,
          &hintFlowPyramid, &hintWeightPyramid, &mattePyramidA, &mattePyramidB, &gradientXPyramid,
          &gradientYPyramid}) {
        for (std::unique_ptr<ZPImage>& level : *pyramid) level.reset();
    }
}

void ZPOpticalFlowUChar::SetSensitivity(float newSensitivity) {
    sensitivity = newSensitivity;
}

void ZPOpticalFlowUChar::ChooseStartLevel(float& startScale) {
    const StartLevel start = FindStartLevel(levelCount, sensitivity);
    startLevel = start.level;
    startScale = start.scale;
}

void ZPOpticalFlowUChar::ComputeFlowFromImages(ZPImage* dest, const ZPImage* imageA,
                                               const ZPImage* imageB, int highPass, int mode,
                                               int skipPropagation,
                                               KQIdleAndProgressClass* progress, bool enhance) {
    const bool fits = imageA && imageB && imageA->width == imageB->width &&
                      imageA->height == imageB->height && imageA->channels == imageB->channels &&
                      imageA->pixelType == imageB->pixelType && imageA->pixelType >= ZPPixUChar &&
                      imageA->pixelType <= ZPPixFloat;
    imagesFit = fits;
    if (!fits) {
        std::fputs(kIncompatible, stderr);
        return;
    }
    if (dest && (dest->width != width || dest->height != height || dest->channels != 2)) {
        std::fputs(kIncompatible, stderr);
    }
    LoadImage(*imageB, nullptr, nullptr, true, enhance);
    LoadImage(*imageA, nullptr, nullptr, false, enhance);
    ComputeFlow(dest, highPass, mode, skipPropagation, progress);
}

void ZPOpticalFlowUChar::ComputeFlow(ZPImage* dest, int highPass, int mode, int skipPropagation,
                                     KQIdleAndProgressClass* progress) {
    KQIdleAndProgressClass stage(progress);
    const double totalPixels = iterationsPerLevel * CountLevelPixels(flowPyramid, startLevel);
    if (highPass == 1) HighPass();
    float startScale = 1.0f;
    ChooseStartLevel(startScale);
    ClearImage(flowPyramid[startLevel].get());
    const Pass pass{mode, skipPropagation == 0, stage};
    bool sane = false;
    double donePixels = 0.0;
    for (int n = startLevel; n >= 0; --n) {
        SolveLevel(n, pass);
        FinishLevel(n, startScale, sane);
        if (n > 0) ResampleFlow(*flowPyramid[n - 1], *flowPyramid[n]);
        donePixels += static_cast<double>(flowPyramid[n]->width) * flowPyramid[n]->height;
        stage.ReportProgress(static_cast<float>(donePixels / totalPixels));
    }
    FlipSigns();
    if (dest && dest != Flow()) CopyExact(dest, Flow());
}

void ZPOpticalFlowUChar::ComputeReverseFlow(ZPImage* dest, int mode, int skipPropagation,
                                            KQIdleAndProgressClass* progress) {
    if (!imagesFit) {
        std::fputs(kIncompatible, stderr);
        return;
    }
    for (int n = 0; n < levelCount; ++n) {
        SwapPixels(*imagePyramidA[n], *imagePyramidB[n]);
        if (masked) SwapPixels(*mattePyramidA[n], *mattePyramidB[n]);
    }
    ComputeFlow(dest, 0, mode, skipPropagation, progress);
}

void ZPOpticalFlowUChar::SolveLevel(int level, const Pass& pass) {
    ImposeHints(level);
    ZPImage& gradientX = *gradientXPyramid[level];
    ZPImage& gradientY = *gradientYPyramid[level];
    ComputeGradients(gradientX, gradientY, *imagePyramidA[level]);
    if (masked) ClearGradientsAtMatte(gradientX, gradientY, *mattePyramidA[level]);
    pass.progress.Tick();
    if (WalksLevel(pass.mode)) {
        FormTensor(*tensorPyramid[level], gradientX, gradientY, pass.mode);
    } else {
        ComputeTensor(*tensorPyramid[level], gradientX, gradientY);
        BlurStage(*tensorPyramid[level], true, pass.mode);
    }
    pass.progress.Tick();
    for (int i = 0; i < iterationsPerLevel; ++i) Iterate(level, i, pass);
    if (level != 0) Propagate(level, pass);
    ImposeHints(level);
}

void ZPOpticalFlowUChar::Iterate(int level, int iteration, const Pass& pass) {
    if (WalksLevel(pass.mode)) {
        WalkIteration(level, pass);
    } else {
        StepIteration(level, pass);
    }
    // The last iteration on the finest level polishes the repaired field.
    if (level == 0 && iteration == iterationsPerLevel - 2) {
        Propagate(level, pass);
        ImposeHints(level);
    }
}

void ZPOpticalFlowUChar::WalkIteration(int level, const Pass& pass) {
    // The mismatch stays within the walk; its image takes the next flow.
    ZPImage& flow = *flowPyramid[level];
    ZPImage& next = *mismatchPyramid[level];
    IterateFlow(next,
                {*imagePyramidA[level], *imagePyramidB[level], *gradientXPyramid[level],
                 *gradientYPyramid[level], *tensorPyramid[level], flow,
                 masked ? mattePyramidB[level].get() : nullptr},
                pass.mode);
    pass.progress.Tick();
    SwapPixels(flow, next);
    pass.progress.Tick();
}

void ZPOpticalFlowUChar::StepIteration(int level, const Pass& pass) {
    ZPImage& flow = *flowPyramid[level];
    ZPImage& mismatch = *mismatchPyramid[level];
    ComputeMismatch(
        mismatch, {*imagePyramidA[level], *imagePyramidB[level], *gradientXPyramid[level],
                   *gradientYPyramid[level], flow, masked ? mattePyramidB[level].get() : nullptr});
    BlurStage(mismatch, true, pass.mode);
    pass.progress.Tick();
    SolveFlow(flow, *tensorPyramid[level], mismatch);
    BlurStage(flow, false, pass.mode);
    pass.progress.Tick();
}

void ZPOpticalFlowUChar::Propagate(int level, const Pass& pass) {
    if (!pass.propagate) return;
    PropagateCandidates(*flowPyramid[level], *imagePyramidA[level], *imagePyramidB[level],
                        mattePyramidA[level].get(), mattePyramidB[level].get(), pass.progress);
}

// Whether any pixel points into the level. On purpose with a plus sign, although the search looks
// against the internal vector.
bool ZPOpticalFlowUChar::PointsInside(int level) const {
    const ZPImage& flow = *flowPyramid[level];
    const float right = static_cast<float>(flow.lastColumn);
    const float bottom = static_cast<float>(flow.lastRow);
    for (int y = 0; y < flow.height; ++y) {
        const float* vector = flow.Row<float>(y);
        for (int x = 0; x < flow.width; ++x, vector += 2) {
            const float px = static_cast<float>(x) + vector[0];
            const float py = static_cast<float>(y) + vector[1];
            if (px >= 0.0f && px <= right && py >= 0.0f && py <= bottom) return true;
        }
    }
    return false;
}

void ZPOpticalFlowUChar::FinishLevel(int level, float startScale, bool& sane) {
    ZPImage& flow = *flowPyramid[level];
    const bool hinted = guided && HasHints(level);
    if (!sane && !hinted) {
        sane = PointsInside(level);
        if (!sane) ClearImage(&flow);
    }
    if (guided && !hinted && (flow.width < 3 || flow.height < 3)) ClearImage(&flow);
    if (level == startLevel) ScaleValues(flow, startScale);
}

// From the internal sign to the one that callers see; zeros become negative zeros.
void ZPOpticalFlowUChar::FlipSigns() {
    ZPImage& flow = *Flow();
    ParallelRows(flow.height, [&](int firstRow, int lastRow) {
        for (int y = firstRow; y <= lastRow; ++y) {
            float* vector = flow.Row<float>(y);
            for (int i = 0; i < 2 * flow.width; ++i) vector[i] = -vector[i];
        }
    });
}

}  // namespace velorin
