#include "flow/reduce.h"

#include "filter/convolve.h"
#include "filter/filter_image.h"
#include "filter/row_ring.h"
#include "flow/reduce_kernel.h"
#include "image/parallel_rows.h"
#include "image/scratch.h"

namespace velorin {

namespace {

using ReduceKernel = void(const ReduceJob& job, float* scratch, int firstRow, int lastRow);

void Walk(const ReduceJob& job, ReduceKernel* rows) {
    CheckFilterSize(job.fine, job.kernel);
    WorkerScratch scratch(ChooseWorkers(job.coarse.height), ReduceScratch(job));
    ParallelRows(job.coarse.height, [&](int worker, int firstRow, int lastRow) {
        rows(job, scratch.Of(worker), firstRow, lastRow);
    });
}

}  // namespace

std::size_t ReduceScratch(const ReduceJob& job) {
    return RingScratch(job.kernel, job.fine.width, 1) + 3 * ScratchLine(job.fine.width);
}

void ReduceChannel(ZPImage& coarse, const ZPImage& fine) {
    Walk({coarse, fine, BinomialKernel()}, VELORIN_KERNEL(ReduceChannelRows));
}

void ReduceFrame(ZPImage& coarse, const ZPImage& frame, bool lumaIsFirst) {
    Walk({coarse, frame, BinomialKernel(), lumaIsFirst}, VELORIN_KERNEL(ReduceFrameRows));
}

void HighPassChannel(ZPImage& dest, const ZPImage& source) {
    Walk({dest, source, BinomialKernel()}, VELORIN_KERNEL(HighPassRows));
}

}  // namespace velorin
