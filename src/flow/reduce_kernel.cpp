#include "flow/reduce_kernel.h"

#include "filter/row_ring_lanes.h"
#include "flow/luminance_lanes.h"
#include "image/bilinear_lanes.h"
#include "image/gather_lanes.h"

namespace velorin::VELORIN_KERNEL_SET {

namespace {

// In images of one channel nothing is absent but what lies beyond.
constexpr AbsentSample kAbsent = AbsentSample::kBeyondLine;

// The fine rows, smoothed one after the other, mixed into coarse rows. `rowOf` gives a fine row.
template <typename RowOf>
class ReduceWalk {
  public:
    VELORIN_ALWAYS_INLINE ReduceWalk(const ReduceJob& newJob, float* scratch, RowOf& newRowOf)
        : job(newJob),
          rowOf(newRowOf),
          ring(scratch, job.kernel, job.fine.width, job.fine.height, 1),
          top(scratch),
          bottom(scratch + ScratchLine(job.fine.width)) {}

    VELORIN_ALWAYS_INLINE void Run(int firstRow, int lastRow) {
        const float scaleX = Scale(job.fine.lastColumn, job.coarse.lastColumn);
        const float scaleY = Scale(job.fine.lastRow, job.coarse.lastRow);
        pushed = -1;
        for (int y = firstRow; y <= lastRow; ++y) {
            const AxisLanes row =
                LocateLanes(AllLanes(static_cast<float>(y) * scaleY), job.fine.lastRow);
            const int above = row.index[0];
            Smooth(above, top);
            Smooth(above + 1, bottom);
            float* out = job.coarse.Row<float>(y);
            for (int x = 0; x < job.coarse.width; x += kLanes) {
                const AxisLanes place =
                    LocateLanes(ToFloats(LaneNumbers() + x) * scaleX, job.fine.lastColumn);
                Floats topLeft, topRight, bottomLeft, bottomRight;
                GatherNeighbours(top, place.index, topLeft, topRight);
                GatherNeighbours(bottom, place.index, bottomLeft, bottomRight);
                StoreFloats(out + x,
                            MixLanes(MixLanes(topLeft, topRight, place.weight),
                                     MixLanes(bottomLeft, bottomRight, place.weight), row.weight),
                            job.coarse.width - x);
            }
        }
    }

  private:
    VELORIN_ALWAYS_INLINE static float Scale(int fineLast, int coarseLast) {
        return coarseLast < 1 ? 0.0f
                              : static_cast<float>(fineLast) / static_cast<float>(coarseLast);
    }

    VELORIN_ALWAYS_INLINE void Smooth(int y, float* out) {
        if (pushed < ring.FirstFor(y) - 1) pushed = ring.FirstFor(y) - 1;
        for (; pushed < ring.LastFor(y); ++pushed) {
            ring.Push(pushed + 1, rowOf(pushed + 1), kAbsent);
        }
        ring.FilterDown(y, kAbsent, out);
    }

    const ReduceJob& job;
    RowOf& rowOf;
    RowRing ring;
    float* top;
    float* bottom;
    int pushed = -1;
};

// The luminance of a frame's row; by its address, lest the walk be compiled for every form.
using RowConverter = void(const ZPImage& frame, int y, bool lumaIsFirst, float* out);

template <typename Form>
void ConvertRow(const ZPImage& frame, int y, bool lumaIsFirst, float* out) {
    LuminanceRow<Form>(frame.Row<typename Form::Value>(y), frame.width, lumaIsFirst, out);
}

}  // namespace

void ReduceChannelRows(const ReduceJob& job, float* scratch, int firstRow, int lastRow) {
    const auto rowOf = [&](int y) __attribute__((always_inline)) {
        return job.fine.Row<float>(y);
    };
    ReduceWalk(job, scratch, rowOf).Run(firstRow, lastRow);
}

void ReduceFrameRows(const ReduceJob& job, float* scratch, int firstRow, int lastRow) {
    float* luminance = scratch;
    scratch += ScratchLine(job.fine.width);
    RowConverter* convert = nullptr;
    WithFrameForm(job.fine, [&](auto form) { convert = ConvertRow<decltype(form)>; });
    const auto rowOf = [&](int y) __attribute__((always_inline)) {
        convert(job.fine, y, job.lumaIsFirst, luminance);
        return luminance;
    };
    ReduceWalk(job, scratch, rowOf).Run(firstRow, lastRow);
}

void HighPassRows(const ReduceJob& job, float* scratch, int firstRow, int lastRow) {
    const int width = job.fine.width;
    RowRing ring(scratch, job.kernel, width, job.fine.height, 1);
    int pushed = ring.FirstFor(firstRow);
    for (int y = firstRow; y <= lastRow; ++y) {
        for (; pushed <= ring.LastFor(y); ++pushed) {
            ring.Push(pushed, job.fine.Row<float>(pushed), kAbsent);
        }
        ring.FilterDown(y, kAbsent, scratch);
        const float* from = job.fine.Row<float>(y);
        float* out = job.coarse.Row<float>(y);
        for (int x = 0; x < width; ++x) out[x] = from[x] - scratch[x];
    }
}

}  // namespace velorin::VELORIN_KERNEL_SET
