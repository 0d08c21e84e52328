#include "flow/level_pass_kernel.h"

#include "filter/row_ring_lanes.h"
#include "flow/level_solver.h"
#include "image/bilinear_lanes.h"
#include "image/interleaved_lanes.h"

namespace velorin::VELORIN_KERNEL_SET {

namespace {

// The tensor's and the flow's blurs walk images of several channels.
constexpr AbsentSample kAbsent = AbsentSample::kMinusOne;

VELORIN_ALWAYS_INLINE Floats Magnitude(Floats value) {
    return value < 0.0f ? -value : value;
}

// One iteration, rows in order: mismatch, filtered along and down, into the solve; the solved flow,
// filtered along and down, into the next flow.
class IterationWalk {
  public:
    VELORIN_ALWAYS_INLINE IterationWalk(const IterationJob& newJob, float* scratch)
        : job(newJob),
          width(job.next.width),
          height(job.next.height),
          line(static_cast<std::ptrdiff_t>(ScratchLine(width))),
          mismatches(scratch, job.sumKernel, width, height, 2),
          flows(scratch, job.flowKernel, width, height, 2),
          planes(scratch) {}

    VELORIN_ALWAYS_INLINE void Run(int firstRow, int lastRow) {
        int solved = flows.FirstFor(firstRow);
        int compared = mismatches.FirstFor(solved);
        for (int y = firstRow; y <= lastRow; ++y) {
            for (; solved <= flows.LastFor(y); ++solved) {
                for (; compared <= mismatches.LastFor(solved); ++compared) Compare(compared);
                Solve(solved);
            }
            flows.FilterDown(y, kAbsent, planes);
            Write(y);
        }
    }

  private:
    // gx * d and gy * d, where d is B at the displaced place less A; 0 off the image.
    VELORIN_ALWAYS_INLINE void Compare(int y) {
        const ChannelReader imageB(job.in.imageB);
        const float* a = job.in.imageA.Row<float>(y);
        const float* gx = job.in.gradientX.Row<float>(y);
        const float* gy = job.in.gradientY.Row<float>(y);
        const float* flow = job.in.flow.Row<float>(y);
        for (int x = 0; x < width; x += kLanes) {
            const int left = width - x;
            RowEnd<2> flowEnd;
            RowEnd<1> aEnd, gxEnd, gyEnd;
            Floats u, v;
            LoadPairs(flowEnd.Reach(flow + 2 * x, left), u, v);
            const Floats sx = ToFloats(LaneNumbers() + x) - u;
            const Floats sy = static_cast<float>(y) - v;
            Ints inside = imageB.Holds(sx, sy);
            const Floats safeX = inside ? sx : Floats{}, safeY = inside ? sy : Floats{};
            if (job.in.matteB) {
                inside &= ~(0.999f > ChannelReader(*job.in.matteB).Between(safeX, safeY));
            }
            const Floats d = imageB.Between(safeX, safeY) - LoadFloats(aEnd.Reach(a + x, left));
            const Floats p = LoadFloats(gxEnd.Reach(gx + x, left)) * d;
            const Floats q = d * LoadFloats(gyEnd.Reach(gy + x, left));
            StoreFloats(planes + x, inside ? p : Floats{});
            StoreFloats(planes + line + x, inside ? q : Floats{});
        }
        mismatches.Push(y, planes, kAbsent);
    }

    // Moves each vector by the solution of its 2 by 2 system.
    VELORIN_ALWAYS_INLINE void Solve(int y) {
        mismatches.FilterDown(y, kAbsent, planes);
        const float* tensor = job.in.tensor.Row<float>(y);
        const float* flow = job.in.flow.Row<float>(y);
        for (int x = 0; x < width; x += kLanes) {
            const int left = width - x;
            RowEnd<3> tensorEnd;
            RowEnd<2> flowEnd;
            Floats a, b, c, u, v;
            LoadTriples(tensorEnd.Reach(tensor + 3 * x, left), a, b, c);
            LoadPairs(flowEnd.Reach(flow + 2 * x, left), u, v);
            const Floats p = LoadFloats(planes + x), q = LoadFloats(planes + line + x);
            const Floats determinant = b * b - a * c;
            const Ints solvable = Magnitude(determinant) > kMinDeterminant;
            const Floats solvedU = u + (b * q - c * p) / determinant;
            const Floats solvedV = v + (b * p - a * q) / determinant;
            StoreFloats(planes + x, solvable ? solvedU : u);
            StoreFloats(planes + line + x, solvable ? solvedV : v);
        }
        flows.Push(y, planes, kAbsent);
    }

    VELORIN_ALWAYS_INLINE void Write(int y) {
        float* out = job.next.Row<float>(y);
        for (int x = 0; x < width; x += kLanes) {
            StorePairs(out + 2 * x, LoadFloats(planes + x), LoadFloats(planes + line + x),
                       width - x);
        }
    }

    const IterationJob& job;
    int width;
    int height;
    std::ptrdiff_t line;
    RowRing mismatches;
    RowRing flows;
    float* planes;
};

VELORIN_ALWAYS_INLINE void MultiplyGradients(const TensorJob& job, int y, std::ptrdiff_t line,
                                             float* planes) {
    const float* gradientX = job.gradientX.Row<float>(y);
    const float* gradientY = job.gradientY.Row<float>(y);
    for (int x = 0; x < job.tensor.width; x += kLanes) {
        RowEnd<1> xEnd, yEnd;
        const int left = job.tensor.width - x;
        const Floats gx = LoadFloats(xEnd.Reach(gradientX + x, left));
        const Floats gy = LoadFloats(yEnd.Reach(gradientY + x, left));
        StoreFloats(planes + x, gx * gx);
        StoreFloats(planes + line + x, gy * gx);
        StoreFloats(planes + 2 * line + x, gy * gy);
    }
}

}  // namespace

void TensorRows(const TensorJob& job, float* scratch, int firstRow, int lastRow) {
    const int width = job.tensor.width;
    const auto line = static_cast<std::ptrdiff_t>(ScratchLine(width));
    RowRing products(scratch, job.sumKernel, width, job.tensor.height, 3);
    float* planes = scratch;
    int multiplied = products.FirstFor(firstRow);
    for (int y = firstRow; y <= lastRow; ++y) {
        for (; multiplied <= products.LastFor(y); ++multiplied) {
            MultiplyGradients(job, multiplied, line, planes);
            products.Push(multiplied, planes, kAbsent);
        }
        products.FilterDown(y, kAbsent, planes);
        float* out = job.tensor.Row<float>(y);
        for (int x = 0; x < width; x += kLanes) {
            StoreTriples(out + 3 * x, LoadFloats(planes + x), LoadFloats(planes + line + x),
                         LoadFloats(planes + 2 * line + x), width - x);
        }
    }
}

void IterationRows(const IterationJob& job, float* scratch, int firstRow, int lastRow) {
    IterationWalk(job, scratch).Run(firstRow, lastRow);
}

}  // namespace velorin::VELORIN_KERNEL_SET
