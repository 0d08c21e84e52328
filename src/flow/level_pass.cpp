#include "flow/level_pass.h"

#include "filter/filter_image.h"
#include "filter/gaussian_blur.h"
#include "filter/row_ring.h"
#include "flow/level_pass_kernel.h"
#include "flow/level_solver.h"
#include "image/parallel_rows.h"
#include "image/scratch.h"

namespace velorin {

bool WalksLevel(int mode) {
    return mode == 1 || mode == 2;
}

std::size_t TensorScratch(const TensorJob& job) {
    return RingScratch(job.sumKernel, job.tensor.width, 3) + 3 * ScratchLine(job.tensor.width);
}

std::size_t IterationScratch(const IterationJob& job) {
    const int width = job.next.width;
    return RingScratch(job.sumKernel, width, 2) + RingScratch(job.flowKernel, width, 2) +
           2 * ScratchLine(width);
}

void FormTensor(ZPImage& tensor, const ZPImage& gradientX, const ZPImage& gradientY, int mode) {
    const GaussianKernel sumKernel(BlurRadius(true, mode));
    CheckFilterSize(tensor, sumKernel.Half());
    const TensorJob job{tensor, gradientX, gradientY, sumKernel.Half()};
    WorkerScratch scratch(ChooseWorkers(tensor.height), TensorScratch(job));
    const auto rows = VELORIN_KERNEL(TensorRows);
    ParallelRows(tensor.height, [&](int worker, int firstRow, int lastRow) {
        rows(job, scratch.Of(worker), firstRow, lastRow);
    });
}

void IterateFlow(ZPImage& next, const IterationInput& input, int mode) {
    const GaussianKernel sumKernel(BlurRadius(true, mode)), flowKernel(BlurRadius(false, mode));
    CheckFilterSize(next, sumKernel.Half());
    const IterationJob job{next, input, sumKernel.Half(), flowKernel.Half()};
    WorkerScratch scratch(ChooseWorkers(next.height), IterationScratch(job));
    const auto rows = VELORIN_KERNEL(IterationRows);
    ParallelRows(next.height, [&](int worker, int firstRow, int lastRow) {
        rows(job, scratch.Of(worker), firstRow, lastRow);
    });
}

}  // namespace velorin
