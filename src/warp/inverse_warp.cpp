#include "warp/inverse_warp.h"

#include <cmath>
#include <cstdio>

#include "image/arithmetic.h"
#include "image/copy.h"
#include "image/parallel_rows.h"
#include "image/scratch.h"
#include "warp/inverse_warp_kernel.h"

namespace velorin {

namespace {

bool Fits(const ZPImage& destination, const MovedPicture& picture) {
    const ZPImage& source = picture.source;
    const ZPImage& flow = picture.flow;
    return destination.width == source.width && destination.height == source.height &&
           destination.pixelType == source.pixelType && destination.channels == source.channels &&
           source.channels <= 4 && flow.pixelType == ZPPixFloat && flow.channels == 2 &&
           source.width >= 2 && source.height >= 2 && flow.width >= 2 && flow.height >= 2;
}

bool CoverageFits(const ZPImage* coverage, const ZPImage& source) {
    return !coverage || (coverage->width == source.width && coverage->height == source.height &&
                         coverage->channels == 1 && coverage->pixelType == ZPPixUChar);
}

bool IsIdentity(const MovedPicture& picture) {
    const float flowScaleX =
        static_cast<float>(picture.flow.lastColumn) / static_cast<float>(picture.source.lastColumn);
    return std::fabs(picture.amount) < 0.005f || std::fabs(picture.amount / flowScaleX) < 0.0001f;
}

}  // namespace

void ZPClipToImage(float& sx, float& sy, float x, float y, float lastColumn, float lastRow) {
    for (;;) {
        if (sx < 0.0f) {
            sy = y - (x / (x - sx)) * (y - sy);
            sx = 0.0f;
        } else if (sx > lastColumn) {
            sy = y - ((x - lastColumn) / (x - sx)) * (y - sy);
            sx = lastColumn;
        } else if (sy < 0.0f) {
            sx = x - (y / (y - sy)) * (x - sx);
            sy = 0.0f;
        } else if (sy > lastRow) {
            sx = x - ((y - lastRow) / (y - sy)) * (x - sx);
            sy = lastRow;
        } else {
            return;
        }
    }
}

int ZPInverseWarp(ZPImage& destination, const ZPImage& source, const ZPImage& flow, int extendEdges,
                  ZPImage* coverageOut, int /*mipMode*/, float amount) {
    const InverseWarpJob job{destination, {source, flow, amount}, coverageOut, extendEdges == 1};
    if (!Fits(destination, job.picture) || !CoverageFits(coverageOut, source)) {
        std::fputs("can't warp image, input files not of correct types and sizes\n", stderr);
        return 0;
    }
    const bool identity = IsIdentity(job.picture);
    if (coverageOut && (identity || job.extendEdges)) {
        FillColor(*coverageOut, 1.0f, 1.0f, 1.0f, 1.0f);
    }
    if (identity) {
        CopyExact(&destination, &source);
        return 1;
    }
    WorkerScratch scratch(ChooseWorkers(source.height), InverseWarpScratch(job));
    const auto warpRows = VELORIN_KERNEL(InverseWarpRows);
    ParallelRows(source.height, [&](int worker, int firstRow, int lastRow) {
        warpRows(job, scratch.Of(worker), firstRow, lastRow);
    });
    return 1;
}

bool MixMoved(ZPImage& dest, const MovedPicture& first, const MovedPicture& second, float share) {
    for (const MovedPicture* picture : {&first, &second}) {
        if (!Fits(dest, *picture) || IsIdentity(*picture)) return false;
        if (picture->source.data == dest.data) return false;
    }
    if (dest.channels == 2 || !(share >= 0.01f && share <= 0.99f)) return false;
    const MixMovedJob job{dest, first, second, share};
    WorkerScratch scratch(ChooseWorkers(dest.height), MixMovedScratch(job));
    const auto mixRows = VELORIN_KERNEL(MixMovedRows);
    ParallelRows(dest.height, [&](int worker, int firstRow, int lastRow) {
        mixRows(job, scratch.Of(worker), firstRow, lastRow);
    });
    return true;
}

}  // namespace velorin
