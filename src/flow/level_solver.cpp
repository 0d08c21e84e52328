#include "flow/level_solver.h"

#include <cmath>

#include "filter/convolve.h"
#include "filter/gaussian_blur.h"
#include "flow/scatter_levels.h"
#include "image/bilinear.h"
#include "image/parallel_rows.h"

namespace velorin {

namespace {

// The forward and the backward difference, each where its neighbour exists, over their count.
float Gradient(float before, float here, float after, bool hasBefore, bool hasAfter) {
    if (!hasBefore) return after - here;
    if (!hasAfter) return here - before;
    return ((after - here) + (here - before)) / 2.0f;
}

void GradientRows(ZPImage& gradientX, ZPImage& gradientY, const ZPImage& source, int firstRow,
                  int lastRow) {
    const int last = source.lastColumn;
    for (int y = firstRow; y <= lastRow; ++y) {
        const bool hasAbove = y > 0;
        const bool hasBelow = y < source.lastRow;
        const float* row = source.Row<float>(y);
        const float* above = hasAbove ? source.Row<float>(y - 1) : row;
        const float* below = hasBelow ? source.Row<float>(y + 1) : row;
        float* gx = gradientX.Row<float>(y);
        float* gy = gradientY.Row<float>(y);
        gx[0] = Gradient(row[0], row[0], row[1], false, true);
        for (int x = 1; x < last; ++x) gx[x] = Gradient(row[x - 1], row[x], row[x + 1], true, true);
        gx[last] = Gradient(row[last - 1], row[last], row[last], true, false);
        for (int x = 0; x <= last; ++x) {
            gy[x] = Gradient(above[x], row[x], below[x], hasAbove, hasBelow);
        }
    }
}

// On purpose in double: the float nearest to 0.95 lies below it, so a sample of 0.95f is invalid.
bool Invalid(float matteSample) {
    return 0.95 > static_cast<double>(matteSample);
}

void ClearAtMatteRows(ZPImage& gradientX, ZPImage& gradientY, const ZPImage& matte, int firstRow,
                      int lastRow) {
    for (int y = firstRow; y <= lastRow; ++y) {
        const float* row = matte.Row<float>(y);
        const float* above = y > 0 ? matte.Row<float>(y - 1) : row;
        const float* below = y < matte.lastRow ? matte.Row<float>(y + 1) : row;
        float* gx = gradientX.Row<float>(y);
        float* gy = gradientY.Row<float>(y);
        for (int x = 0; x < matte.width; ++x) {
            if ((x > 0 && Invalid(row[x - 1])) || (x < matte.lastColumn && Invalid(row[x + 1])) ||
                Invalid(above[x]) || Invalid(below[x]) || Invalid(row[x])) {
                gx[x] = 0.0f;
                gy[x] = 0.0f;
            }
        }
    }
}

void TensorRows(ZPImage& tensor, const ZPImage& gradientX, const ZPImage& gradientY, int firstRow,
                int lastRow) {
    for (int y = firstRow; y <= lastRow; ++y) {
        const float* gx = gradientX.Row<float>(y);
        const float* gy = gradientY.Row<float>(y);
        float* out = tensor.Row<float>(y);
        for (int x = 0; x < tensor.width; ++x, out += 3) {
            out[0] = gx[x] * gx[x];
            out[1] = gy[x] * gx[x];
            out[2] = gy[x] * gy[x];
        }
    }
}

// One channel at a place inside the image.
float SampleAt(const ZPImage& image, float sx, float sy) {
    const AxisSample column = LocateSample(sx, image.lastColumn);
    const AxisSample row = LocateSample(sy, image.lastRow);
    const float* top = image.Row<float>(row.index) + column.index;
    const float* bottom = image.Row<float>(row.index + 1) + column.index;
    return MixSquare(top[0], top[1], bottom[0], bottom[1], column.weight, row.weight);
}

template <bool kMasked>
void MismatchRows(ZPImage& mismatch, const MismatchInput& in, int firstRow, int lastRow) {
    const float right = static_cast<float>(in.imageB.lastColumn);
    const float bottom = static_cast<float>(in.imageB.lastRow);
    for (int y = firstRow; y <= lastRow; ++y) {
        const float* a = in.imageA.Row<float>(y);
        const float* gx = in.gradientX.Row<float>(y);
        const float* gy = in.gradientY.Row<float>(y);
        const float* flow = in.flow.Row<float>(y);
        float* out = mismatch.Row<float>(y);
        for (int x = 0; x < mismatch.width; ++x) {
            const float sx = static_cast<float>(x) - flow[2 * x];
            const float sy = static_cast<float>(y) - flow[2 * x + 1];
            out[2 * x] = 0.0f;
            out[2 * x + 1] = 0.0f;
            // Written so that a NaN is outside.
            if (!(sx >= 0.0f && sx <= right && sy >= 0.0f && sy <= bottom)) continue;
            if constexpr (kMasked) {
                if (0.999f > SampleAt(*in.matteB, sx, sy)) continue;
            }
            const float d = SampleAt(in.imageB, sx, sy) - a[x];
            out[2 * x] = gx[x] * d;
            out[2 * x + 1] = d * gy[x];
        }
    }
}

void SolveRows(ZPImage& flow, const ZPImage& tensor, const ZPImage& mismatch, int firstRow,
               int lastRow) {
    for (int y = firstRow; y <= lastRow; ++y) {
        const float* t = tensor.Row<float>(y);
        const float* m = mismatch.Row<float>(y);
        float* f = flow.Row<float>(y);
        for (int x = 0; x < flow.width; ++x, t += 3, m += 2, f += 2) {
            const float a = t[0], b = t[1], c = t[2];
            const float p = m[0], q = m[1];
            const float determinant = b * b - a * c;
            if (std::fabs(determinant) > kMinDeterminant) {
                f[0] += (b * q - c * p) / determinant;
                f[1] += (b * p - a * q) / determinant;
            }
        }
    }
}

}  // namespace

void ComputeGradients(ZPImage& gradientX, ZPImage& gradientY, const ZPImage& source) {
    ParallelRows(source.height, [&](int firstRow, int lastRow) {
        GradientRows(gradientX, gradientY, source, firstRow, lastRow);
    });
}

void ClearGradientsAtMatte(ZPImage& gradientX, ZPImage& gradientY, const ZPImage& matte) {
    ParallelRows(matte.height, [&](int firstRow, int lastRow) {
        ClearAtMatteRows(gradientX, gradientY, matte, firstRow, lastRow);
    });
}

void ComputeTensor(ZPImage& tensor, const ZPImage& gradientX, const ZPImage& gradientY) {
    ParallelRows(tensor.height, [&](int firstRow, int lastRow) {
        TensorRows(tensor, gradientX, gradientY, firstRow, lastRow);
    });
}

void ComputeMismatch(ZPImage& mismatch, const MismatchInput& input) {
    ParallelRows(mismatch.height, [&](int firstRow, int lastRow) {
        if (input.matteB) {
            MismatchRows<true>(mismatch, input, firstRow, lastRow);
        } else {
            MismatchRows<false>(mismatch, input, firstRow, lastRow);
        }
    });
}

void SolveFlow(ZPImage& flow, const ZPImage& tensor, const ZPImage& mismatch) {
    ParallelRows(flow.height, [&](int firstRow, int lastRow) {
        SolveRows(flow, tensor, mismatch, firstRow, lastRow);
    });
}

float BlurRadius(bool isSum, int mode) {
    return (isSum ? 7.0f : 5.0f) - (mode == 1 ? 0.0f : 2.0f);
}

void BlurStage(ZPImage& image, bool isSum, int mode) {
    if (mode == 0) BoxFilter(image, 0, 2.0f);
    if (mode == 1 || mode == 2) GaussianBlur(image, 0, BlurRadius(isSum, mode));
}

void ResampleFlow(ZPImage& fine, const ZPImage& coarse) {
    if (fine.channels != 2) throw ZPErrBadArgument;
    ResampleLevel(fine, coarse,
                  static_cast<float>(fine.lastColumn) / static_cast<float>(coarse.lastColumn),
                  static_cast<float>(fine.lastRow) / static_cast<float>(coarse.lastRow));
}

}  // namespace velorin
