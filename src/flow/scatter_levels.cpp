#include "flow/scatter_levels.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "filter/convolve.h"
#include "filter/resample.h"
#include "image/parallel_rows.h"
#include "image/rounding.h"

namespace velorin {

namespace {

// Columns that are resampled together: their places are found once for all rows of a job.
constexpr int kTileColumns = 256;

template <int kChannels>
void ImposeRows(ZPImage& field, const ZPImage& sums, const ZPImage& weights, int firstRow,
                int lastRow) {
    for (int y = firstRow; y <= lastRow; ++y) {
        const float* sum = sums.Row<float>(y);
        const float* weight = weights.Row<float>(y);
        float* out = field.Row<float>(y);
        for (int x = 0; x < field.width; ++x) {
            if (weight[x] == 0.0f) continue;
            for (int c = 0; c < kChannels; ++c) {
                out[kChannels * x + c] = sum[kChannels * x + c] / weight[x];
            }
        }
    }
}

// The columns `firstColumn` on of the finer level, mixed along the coarse rows. A coarse row serves
// several finer ones and is mixed once: the rule is horizontal first, so the bits are the same.
template <int kChannels>
class ColumnTile {
  public:
    ColumnTile(const ZPImage& newCoarse, const ZPImage& fine, int firstColumn)
        : coarse(newCoarse), count(std::min(kTileColumns, fine.width - firstColumn)) {
        const CoarserPlaces places(fine.lastColumn, coarse.lastColumn);
        for (int i = 0; i < count; ++i) columns[i] = places.At(firstColumn + i);
    }

    // The finer row that lies at `row` on the coarse ones.
    void WriteRow(AxisSample row, const float (&stretch)[2], float* __restrict out) {
        if (row.index == bottomRow) {
            std::swap(top, bottom);
            std::swap(topRow, bottomRow);
        }
        MixColumns(row.index, topRow, top);
        MixColumns(row.index + 1, bottomRow, bottom);
        for (int i = 0; i < count; ++i) {
            for (int c = 0; c < kChannels; ++c) {
                const int k = kChannels * i + c;
                out[k] = Mix(top[k], bottom[k], row.weight) * stretch[c];
            }
        }
    }

  private:
    void MixColumns(int y, int& mixedRow, float* __restrict out) {
        if (mixedRow == y) return;
        mixedRow = y;
        const float* line = coarse.Row<float>(y);
        for (int i = 0; i < count; ++i) {
            const float* left = line + kChannels * columns[i].index;
            for (int c = 0; c < kChannels; ++c) {
                out[kChannels * i + c] = Mix(left[c], left[kChannels + c], columns[i].weight);
            }
        }
    }

    const ZPImage& coarse;
    int count;
    int topRow = -1, bottomRow = -1;
    AxisSample columns[kTileColumns];
    float lines[2][kChannels * kTileColumns];
    float* top = lines[0];
    float* bottom = lines[1];
};

template <int kChannels>
void ResampleLevelRows(ZPImage& fine, const ZPImage& coarse, const float (&stretch)[2],
                       int firstRow, int lastRow) {
    const CoarserPlaces places(fine.lastRow, coarse.lastRow);
    for (int x = 0; x < fine.width; x += kTileColumns) {
        ColumnTile<kChannels> tile(coarse, fine, x);
        for (int y = firstRow; y <= lastRow; ++y) {
            tile.WriteRow(places.At(y), stretch, fine.Row<float>(y) + kChannels * x);
        }
    }
}

}  // namespace

void AddMovingPoint(ZPImage& sums, ZPImage& counts, float x0, float y0, float x1, float y1,
                    float refWidth, float refHeight) {
    const float kx = static_cast<float>(sums.lastColumn) / refWidth;
    const float ky = static_cast<float>(sums.lastRow) / refHeight;
    const float fromX = x0 * kx, fromY = y0 * ky;
    // On purpose cut toward zero: what lies less than 1.5 pixels before the first column or row
    // still counts as on it.
    const int ix = Truncate(static_cast<double>(fromX) + 0.5);
    const int iy = Truncate(static_cast<double>(fromY) + 0.5);
    if (ix < 0 || iy < 0 || ix >= sums.width || iy >= sums.height) return;
    const float u = x1 * kx - fromX, v = y1 * ky - fromY;
    // One such vector would spread over the whole field.
    if (!std::isfinite(u) || !std::isfinite(v)) return;
    float* sum = sums.Row<float>(iy) + 2 * ix;
    sum[0] += u;
    sum[1] += v;
    counts.Row<float>(iy)[ix] += 1.0f;
}

void AveragePoints(ZPImage& sums, ZPImage& counts) {
    for (int y = 0; y < counts.height; ++y) {
        float* sum = sums.Row<float>(y);
        float* count = counts.Row<float>(y);
        for (int x = 0; x < counts.width; ++x) {
            if (!(count[x] > 0.0f)) continue;
            sum[2 * x] /= count[x];
            sum[2 * x + 1] /= count[x];
            count[x] = 1.0f;
        }
    }
}

void ReduceLevel(ZPImage& coarse, const ZPImage& fine, ZPImage& scratch) {
    SmoothBinomial(scratch, fine);
    Resample(coarse, scratch);
}

void ImposeKnown(ZPImage& field, const ZPImage& sums, const ZPImage& weights) {
    const auto impose = field.channels == 1 ? ImposeRows<1> : ImposeRows<2>;
    ParallelRows(field.height, [&](int firstRow, int lastRow) {
        impose(field, sums, weights, firstRow, lastRow);
    });
}

void ResampleLevel(ZPImage& fine, const ZPImage& coarse, float stretchX, float stretchY) {
    const bool fits = fine.pixelType == ZPPixFloat && coarse.pixelType == ZPPixFloat &&
                      fine.channels == coarse.channels &&
                      (fine.channels == 1 || fine.channels == 2);
    if (!fits) throw ZPErrBadArgument;
    const auto resample = fine.channels == 1 ? ResampleLevelRows<1> : ResampleLevelRows<2>;
    const float stretch[2] = {stretchX, stretchY};
    ParallelRows(fine.height, [&](int firstRow, int lastRow) {
        resample(fine, coarse, stretch, firstRow, lastRow);
    });
}

}  // namespace velorin
