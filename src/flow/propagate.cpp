#include "flow/propagate.h"

#include <algorithm>
#include <limits>

#include "flow/propagate_kernel.h"
#include "image/parallel_rows.h"
#include "image/scratch.h"

namespace velorin {

namespace {

constexpr float kMinMatte = 0.95f;

// Below, no place in B has the 4 by 4 samples around it that a comparison needs.
constexpr int kMinSide = 4;

// Samples whose matte is not valid become NaN, and with them the cost of every block that they
// have a part in: neither does such a cost win nor is another below it.
void CopyValid(ZPImage& valid, const ZPImage& image, const ZPImage& matte) {
    ParallelRows(image.height, [&](int firstRow, int lastRow) {
        for (int y = firstRow; y <= lastRow; ++y) {
            float* to = valid.Row<float>(y);
            const float* from = image.Row<float>(y);
            const float* weight = matte.Row<float>(y);
            for (int x = 0; x < image.width; ++x) {
                to[x] = weight[x] < kMinMatte ? std::numeric_limits<float>::quiet_NaN() : from[x];
            }
        }
    });
}

// Two sweeps at a time: lines do not depend on each other, so each goes its way back while its
// strip is at hand.
void Sweep(ZPImage& flow, const ZPImage& imageA, const ZPImage& imageB,
           KQIdleAndProgressClass& progress) {
    const int rows = flow.height - 2;
    const int columns = flow.width - 2;
    ZPImage costs(flow.width, flow.height, 1, ZPPixFloat, 0);
    WorkerScratch scratch(std::max(ChooseWorkers(rows), ChooseWorkers(columns)),
                          StripScratch(std::max(flow.width, flow.height)));
    const PropagationJob job{flow, costs, imageA, imageB};
    const auto propagateRows = VELORIN_KERNEL(PropagateRows);
    const auto propagateColumns = VELORIN_KERNEL(PropagateColumns);
    ParallelRows(rows, [&](int worker, int a, int b) {
        propagateRows(job, scratch.Of(worker), a + 1, b + 1);
    });
    progress.Tick();
    progress.Tick();
    ParallelRows(columns, [&](int worker, int a, int b) {
        propagateColumns(job, scratch.Of(worker), a + 1, b + 1);
    });
    progress.Tick();
    progress.Tick();
}

}  // namespace

void PropagateCandidates(ZPImage& flow, const ZPImage& imageA, const ZPImage& imageB,
                         const ZPImage* matteA, const ZPImage* matteB,
                         KQIdleAndProgressClass& progress) {
    if (flow.width < kMinSide || flow.height < kMinSide) {
        for (int sweep = 0; sweep < 4; ++sweep) progress.Tick();
        return;
    }
    if (!matteA || !matteB) {
        Sweep(flow, imageA, imageB, progress);
        return;
    }
    ZPImage validA(flow.width, flow.height, 1, ZPPixFloat, 0);
    ZPImage validB(flow.width, flow.height, 1, ZPPixFloat, 0);
    CopyValid(validA, imageA, *matteA);
    CopyValid(validB, imageB, *matteB);
    Sweep(flow, validA, validB, progress);
}

}  // namespace velorin
