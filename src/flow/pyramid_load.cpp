#include <algorithm>
#include <cmath>
#include <cstdio>

#include "filter/convolve.h"
#include "filter/gaussian_blur.h"
#include "filter/resample.h"
#include "flow/level_plan.h"
#include "flow/level_solver.h"
#include "flow/luminance.h"
#include "flow/optical_flow.h"
#include "flow/reduce.h"
#include "image/arithmetic.h"
#include "image/copy.h"
#include "image/parallel_rows.h"

namespace velorin {

namespace {

std::unique_ptr<ZPImage> CreateChannel(int width, int height) {
    return std::make_unique<ZPImage>(width, height, 1, ZPPixFloat, 0);
}

// Validity is all or nothing: a hole grows by about one pixel of the level on each level.
void Harden(ZPImage& matte) {
    ParallelRows(matte.height, [&](int firstRow, int lastRow) {
        for (int y = firstRow; y <= lastRow; ++y) {
            float* row = matte.Row<float>(y);
            for (int x = 0; x < matte.width; ++x) row[x] = row[x] < 0.9999f ? 0.0f : 1.0f;
        }
    });
}

bool ConvertTo(ZPImage& dest, const ZPImage& image, bool lumaIsFirst, bool isMatte) {
    const bool known = ConvertToLuminance(dest, image, lumaIsFirst);
    if (isMatte) {
        ScaleValues(dest, 0.003921569f);
        Harden(dest);
    }
    return known;
}

// Whether `dest` has the size that the levels of a source have.
bool Halves(const ZPImage& dest, const ZPImage& source) {
    return dest.width >= 2 && dest.height >= 2 && dest.width == source.width / 2 &&
           dest.height == source.height / 2;
}

void ReduceInto(ZPImage& dest, ZPImage& source, bool isMatte) {
    if (Halves(dest, source)) {
        ReduceChannel(dest, source);
    } else {
        SmoothBinomial(source);
        Resample(dest, source);
    }
    if (isMatte) Harden(dest);
}

// (I + 255 * min(m / 20, 1)) / 2, with m the gradient's length: a flat region keeps half its
// contrast, an edge is lifted towards white.
void LiftEdgesRows(ZPImage& image, const ZPImage& gradientX, const ZPImage& gradientY, int firstRow,
                   int lastRow) {
    for (int y = firstRow; y <= lastRow; ++y) {
        const float* gx = gradientX.Row<float>(y);
        const float* gy = gradientY.Row<float>(y);
        float* row = image.Row<float>(y);
        for (int x = 0; x < image.width; ++x) {
            const float length = std::sqrt(gx[x] * gx[x] + gy[x] * gy[x]);
            const float edge = std::min(length / 20.0f, 1.0f);
            const double lifted =
                (static_cast<double>(row[x]) + 255.0 * static_cast<double>(edge)) * 0.5;
            row[x] = static_cast<float>(lifted);
        }
    }
}

}  // namespace

void ZPOpticalFlowUChar::LoadImage(const ZPImage& image, const ZPImage* checkImage1,
                                   const ZPImage* checkImage2, bool toB, bool enhance) {
    const auto differs = [&](const ZPImage* other) {
        return !other || other->width != image.width || other->height != image.height;
    };
    if (checkImage1 && (differs(checkImage1) || differs(checkImage2))) {
        std::fputs("calculating flow, incompatible inputs!\n", stderr);
        return;
    }
    imagesFit = true;
    ImagePyramid& pyramid = toB ? imagePyramidB : imagePyramidA;
    const ImagePyramid& mattes = toB ? mattePyramidB : mattePyramidA;
    LoadLevelZero(*pyramid[0], image, false);
    if (enhance) EnhanceEdges(*pyramid[0], masked ? mattes[0].get() : nullptr);
    BuildLevels(pyramid, false);
}

void ZPOpticalFlowUChar::LoadMatte(const ZPImage& image, bool toB) {
    if (!masked) return;
    ImagePyramid& pyramid = toB ? mattePyramidB : mattePyramidA;
    LoadLevelZero(*pyramid[0], image, true);
    BuildLevels(pyramid, true);
}

void ZPOpticalFlowUChar::LoadLevelZero(ZPImage& level, const ZPImage& image, bool isMatte) {
    const int w = HalvedSide(image.width, reductionSteps);
    const int h = HalvedSide(image.height, reductionSteps);
    // A caller's error; the work goes on with the frame's own size.
    if (w != width || h != height) std::fputs("incorrect with and height\n", stderr);
    if (w < 1 || h < 1) throw ZPErrBadArgument;
    if (reductionSteps == 0) {
        ConvertTo(level, image, lumaIsFirstChannel, isMatte);
        return;
    }

    if (reductionSteps == 1 && !isMatte && Halves(level, image) && HasLuminance(image)) {
        ReduceFrame(level, image, lumaIsFirstChannel);
        return;
    }
    std::unique_ptr<ZPImage> larger = CreateChannel(image.width, image.height);
    // A frame that is refused counts as black: nobody's memory becomes a picture.
    if (!ConvertTo(*larger, image, lumaIsFirstChannel, isMatte)) ClearImage(larger.get());
    for (int i = 1; i < reductionSteps; ++i) {
        std::unique_ptr<ZPImage> smaller = CreateChannel(larger->width / 2, larger->height / 2);
        ReduceInto(*smaller, *larger, isMatte);
        larger = std::move(smaller);
    }
    ReduceInto(level, *larger, isMatte);
}

void ZPOpticalFlowUChar::EnhanceEdges(ZPImage& level, const ZPImage* matte) {
    ZPImage& gradientX = *gradientXPyramid[0];
    ZPImage& gradientY = *gradientYPyramid[0];
    GaussianBlur(level, 0, 2.0f);
    ComputeGradients(gradientX, gradientY, level);
    if (matte) ClearGradientsAtMatte(gradientX, gradientY, *matte);
    ParallelRows(level.height, [&](int firstRow, int lastRow) {
        LiftEdgesRows(level, gradientX, gradientY, firstRow, lastRow);
    });
}

void ZPOpticalFlowUChar::BuildLevels(ImagePyramid& pyramid, bool isMatte) {
    for (int n = 1; n < levelCount; ++n) {
        ReduceChannel(*pyramid[n], *pyramid[n - 1]);
        if (isMatte) Harden(*pyramid[n]);
    }
}

// Takes the slow changes of brightness out of every level.
void ZPOpticalFlowUChar::HighPass() {
    for (int n = 0; n < levelCount; ++n) {
        for (ImagePyramid* pyramid : {&imagePyramidA, &imagePyramidB}) {
            HighPassChannel(*gradientXPyramid[n], *(*pyramid)[n]);
            SwapPixels(*gradientXPyramid[n], *(*pyramid)[n]);
        }
    }
}

}  // namespace velorin
