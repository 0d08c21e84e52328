#pragma once

#include "filter/line_filter_lanes.h"
#include "filter/row_ring.h"

namespace velorin::VELORIN_KERNEL_SET {

// The rows around the current one of an image that is made row by row and filtered along both axes.
// A row is `planes` lines, one a channel.
class RowRing {
  public:
    VELORIN_ALWAYS_INLINE RowRing(float*& scratch, HalfKernel kernel, int newWidth, int newHeight,
                                  int newPlanes)
        : w(kernel.data()),
          taps(static_cast<int>(kernel.size())),
          width(newWidth),
          height(newHeight),
          planes(newPlanes),
          line(static_cast<std::ptrdiff_t>(ScratchLine(newWidth))),
          rows(scratch) {
        scratch += RingScratch(kernel, newWidth, newPlanes);
    }

    // First and last of the rows that the column filter of row `y` looks at.
    VELORIN_ALWAYS_INLINE int FirstFor(int y) const { return y < taps ? 0 : y - taps + 1; }
    VELORIN_ALWAYS_INLINE int LastFor(int y) const {
        return y + taps > height ? height - 1 : y + taps - 1;
    }

    // Takes row `y`, filtered along the row; lines follow each other in `from`.
    void Push(int y, const float* from, AbsentSample absent) {
        float* to = Row(y);
        for (int plane = 0; plane < planes; ++plane) {
            FilterLineLanes(from + plane * line, width, 1, w, taps, absent, 0, width,
                            to + plane * line);
        }
    }

    // Row `y` filtered down the columns, of rows FirstFor(y) to LastFor(y).
    void FilterDown(int y, AbsentSample absent, float* out) const {
        const int middleBegin = height < taps ? height : taps;
        const int middleEnd = height < 2 * taps ? middleBegin : height - taps;
        const std::ptrdiff_t samples = planes * line;
        Around around;
        for (int j = 0; j < taps; ++j) {
            around.above[j] = y - j < 0 ? nullptr : Row(y - j);
            around.below[j] = y + j >= height ? nullptr : Row(y + j);
        }
        if (y < middleBegin || y >= middleEnd) {
            for (std::ptrdiff_t p = 0; p < samples; p += kLanes)
                BorderDown(around, p, absent, out + p);
            return;
        }
        std::ptrdiff_t p = 0;
        for (; p + 4 * kLanes <= samples; p += 4 * kLanes) MiddleDown<4>(around, p, out + p);
        for (; p < samples; p += kLanes) MiddleDown<1>(around, p, out + p);
    }

  private:
    VELORIN_ALWAYS_INLINE float* Row(int y) const {
        return rows + y % (2 * taps - 1) * planes * line;
    }

    // The rows at each distance from the current one; null beyond the image.
    struct Around {
        const float* above[kMaxRingTaps];
        const float* below[kMaxRingTaps];
    };

    template <int kVectors>
    VELORIN_ALWAYS_INLINE void MiddleDown(const Around& around, std::ptrdiff_t p,
                                          float* out) const {
        Floats sum[kVectors];
        const float* middle = around.above[0] + p;
        for (int k = 0; k < kVectors; ++k) sum[k] = w[0] * LoadFloats(middle + k * kLanes);
        for (int j = taps - 1; j >= 1; --j) {
            const float* below = around.below[j] + p;
            const float* above = around.above[j] + p;
            for (int k = 0; k < kVectors; ++k) {
                sum[k] += w[j] * (LoadFloats(below + k * kLanes) + LoadFloats(above + k * kLanes));
            }
        }
        for (int k = 0; k < kVectors; ++k) StoreFloats(out + k * kLanes, sum[k]);
    }

    VELORIN_ALWAYS_INLINE void BorderDown(const Around& around, std::ptrdiff_t p,
                                          AbsentSample absent, float* out) const {
        Floats sum = w[0] * LoadFloats(around.above[0] + p);
        Floats norm = AllLanes(w[0]);
        const auto add = [&](int j, const float* row) __attribute__((always_inline)) {
            if (!row) return;
            const Floats sample = LoadFloats(row + p);
            const Ints there = absent == AbsentSample::kMinusOne ? sample != -1.0f : Ints{} - 1;
            sum = there ? sum + w[j] * sample : sum;
            norm = there ? norm + w[j] : norm;
        };
        for (int j = taps - 1; j >= 1; --j) {
            add(j, around.below[j]);
            add(j, around.above[j]);
        }
        StoreFloats(out, sum / norm);
    }

    const float* w;
    int taps;
    int width;
    int height;
    int planes;
    std::ptrdiff_t line;
    float* rows;
};

}  // namespace velorin::VELORIN_KERNEL_SET
