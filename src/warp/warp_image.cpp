#include "warp/warp_image.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "image/arithmetic.h"
#include "image/copy.h"
#include "image/parallel_rows.h"
#include "warp/mesh.h"

namespace velorin {

namespace {

bool Fits(const ZPImage& destination, const ZPImage& source, const ZPImage& flow,
          const ZPImage* coverageOut) {
    if (source.pixelType != destination.pixelType || source.channels != destination.channels ||
        source.channels != 4) {
        return false;
    }
    if (flow.pixelType != ZPPixFloat || flow.channels != 2) return false;
    if (flow.width < 2 || flow.height < 2) return false;
    return !coverageOut ||
           (coverageOut->width == destination.width && coverageOut->height == destination.height &&
            coverageOut->pixelType == ZPPixUChar && coverageOut->channels == 1);
}

bool Moves(const ZPImage& flow) {
    for (int y = 0; y < flow.height; ++y) {
        const float* vector = flow.Row<float>(y);
        for (int i = 0; i < 2 * flow.width; ++i) {
            if (std::fabs(vector[i]) > 0.0001f) return true;
        }
    }
    return false;
}

void CopyUnmoved(ZPImage& destination, const ZPImage& source, ZPImage* coverageOut) {
    if (coverageOut) FillColor(*coverageOut, 1.0f, 1.0f, 1.0f, 1.0f);
    CopyRect(destination, 0, 0, source, 0, 0, std::min(source.width, destination.width),
             std::min(source.height, destination.height));
}

void DeliverCoverage(ZPImage& coverageOut, ZPImage2& coverage) {
    ParallelRows(coverage.height, [&](int firstRow, int lastRow) {
        for (int y = firstRow; y <= lastRow; ++y) {
            const std::uint8_t* hits = coverage.Row<std::uint8_t>(y);
            std::uint8_t* out = coverageOut.Row<std::uint8_t>(y);
            for (int x = 0; x < coverage.width; ++x) out[x] = hits[x] != 0 ? 255 : 0;
        }
    });
}

}  // namespace

int ZPWarpImage(ZPImage& destination, const ZPImage& source, const ZPImage& flow, int scanMode,
                int supersample, int meshStep, float amount, int /*columnDirection*/,
                int /*rowDirection*/, int rowMajor, int blendHits, KQIdleAndProgressClass* progress,
                ZPImage* coverageOut, int /*supersampleInTarget*/, int mipMode,
                const ZPImage* sourceMatte) {
    for (int option : {scanMode, supersample, meshStep, rowMajor, blendHits}) {
        if (option != 1) throw ZPErrBadArgument;
    }
    if (mipMode == 2 || mipMode == 3 || sourceMatte) throw ZPErrBadArgument;
    KQIdleAndProgressClass stage(progress);
    if (!Fits(destination, source, flow, coverageOut)) {
        std::fputs("can't warp image, input files not of correct types and sizes\n", stderr);
        return 0;
    }
    if (std::fabs(amount) < 1e-05f || !Moves(flow)) {
        CopyUnmoved(destination, source, coverageOut);
        return 1;
    }
    ZPImage2 target(1, destination.data, destination.width, destination.height,
                    destination.rowBytes, 4, destination.pixelType, destination.bottomUp);
    ZPImage2 coverage(1, destination.width, destination.height, 1, ZPPixUChar, 0);
    ClearImage(&target);
    ClearImage(&coverage);
    ZPWarpJob job;
    job.source = &source;
    job.target = &target;
    job.flow = &flow;
    job.coverage = &coverage;
    job.amount = amount;
    job.wantCoverage = coverageOut ? 1 : 0;
    if (BoundMesh(job)) DrawMesh(job, stage);
    if (coverageOut) DeliverCoverage(*coverageOut, coverage);
    return 1;
}

}  // namespace velorin
