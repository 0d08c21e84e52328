#include "warp/mesh.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <limits>
#include <utility>

#include "image/bilinear.h"
#include "image/parallel_rows.h"
#include "image/pixel_form.h"
#include "warp/mesh_scratch.h"

namespace velorin {

namespace {

// By the count of hits before, 1 to 255: the weight of a running mean. Once the count is full, a
// new hit weighs 1/256.
constexpr std::array<float, 256> kMeanWeights = [] {
    std::array<float, 256> weights{};
    for (int count = 0; count < 256; ++count) {
        weights[count] = 1.0f / (static_cast<float>(count) + 1.0f);
    }
    return weights;
}();

// Rows of the target that triangles of one strip of the mesh alone can touch. No lock is needed
// there, which saves a third of the time of a warp that moves little.
struct PrivateRows {
    PrivateRows(const ZPWarpJob& job, int firstRow, int lastRow) {
        if (firstRow > job.minRow) first = static_cast<float>(firstRow) + job.reach;
        if (lastRow < job.maxRow) last = static_cast<float>(lastRow) - job.reach;
    }
    // False throughout where the reach is not a number.
    bool Hold(int y) const { return static_cast<float>(y) > first && static_cast<float>(y) < last; }
    float first = -1.0f;
    float last = std::numeric_limits<float>::infinity();
};

// The canvas of the forward warp: a pixel is the mean of its hits, as it was stored after each.
template <typename Value>
struct MeanCanvas {
    static constexpr int kAttributes = 4;
    static constexpr bool kDrawsSinglePixel = false;

    class Row {
      public:
        Row(const MeanCanvas& canvas, int y)
            : lock(canvas.job.rowLocks && !canvas.privateRows.Hold(y) ? canvas.job.rowLocks[y]
                                                                      : nullptr),
              pixel(canvas.job.target->template Row<Value>(y)),
              hits(canvas.job.coverage->template Row<std::uint8_t>(y)) {
            if (lock) LockRow(lock);
        }
        ~Row() {
            if (lock) UnlockRow(lock);
        }
        Row(const Row&) = delete;
        Row& operator=(const Row&) = delete;

        void MoveTo(int x) {
            pixel += 4 * x;
            hits += x;
        }
        void Merge(Float4 colour) {
            if (*hits == 0) {
                StoreClamped(colour, pixel);
            } else {
                const Float4 sum = Float4::Load(pixel) * static_cast<float>(*hits) + colour;
                StoreClamped(sum * kMeanWeights[*hits], pixel);
            }
            if (*hits < 255) ++*hits;
            pixel += 4;
            ++hits;
        }

      private:
        RowLock* lock;
        Value* pixel;
        std::uint8_t* hits;
    };

    const ZPWarpJob& job;
    const PrivateRows privateRows;
};

// How the flow's own pixels relate to those of the source.
struct MeshScale {
    explicit MeshScale(const ZPWarpJob& job)
        : flowScaleX(static_cast<float>(job.flow->lastColumn) /
                     static_cast<float>(job.source->lastColumn)),
          flowScaleY(static_cast<float>(job.flow->lastRow) /
                     static_cast<float>(job.source->lastRow)),
          travelX(job.amount / flowScaleX),
          travelY(job.amount / flowScaleY) {}

    float flowScaleX;
    float flowScaleY;
    float travelX;
    float travelY;
};

// Where the vertices of source row `row` go.
void ZPMeshVertexRow(const ZPWarpJob& job, const MeshScale& scale, int row, MeshRow vertices) {
    const float y = static_cast<float>(row);
    const FlowLine line(*job.flow, y * scale.flowScaleY);
    for (int column = job.minColumn; column <= job.maxColumn; ++column) {
        const float x = static_cast<float>(column);
        float u, v;
        line.At(x * scale.flowScaleX, u, v);
        vertices[column].x = x + u * scale.travelX;
        vertices[column].y = y + v * scale.travelY;
    }
}

// What they carry: the pixel, in the image's own range.
template <typename Value>
void ZPMeshColourRow(const ZPWarpJob& job, int row, MeshRow vertices) {
    const Value* pixel = job.source->Row<Value>(row);
    for (int column = job.minColumn; column <= job.maxColumn; ++column) {
        Float4::Load(pixel + 4 * column).Store(vertices[column].attributes);
    }
}

template <typename Value>
void DrawRows(const ZPWarpJob& job, int firstRow, int lastRow, MeshRow upper, MeshRow lower,
              KQIdleAndProgressClass& progress) {
    using Raster = ZPRasterTriangle<MeanCanvas<Value>>;
    MeanCanvas<Value> canvas{job, PrivateRows(job, firstRow, lastRow)};
    const MeshScale scale(job);
    const float maxX = static_cast<float>(job.target->lastColumn);
    const float maxY = static_cast<float>(job.target->lastRow);
    const auto fill = [&](MeshRow vertices, int row) {
        ZPMeshVertexRow(job, scale, row, vertices);
        ZPMeshColourRow<Value>(job, row, vertices);
    };
    fill(upper, firstRow);
    for (int y = firstRow; y < lastRow; ++y) {
        if (y % 10 == 0) {
            progress.ReportProgress(static_cast<float>(y - firstRow) /
                                    static_cast<float>(lastRow - firstRow));
        }
        fill(lower, y + 1);
        for (int x = job.minColumn; x < job.maxColumn; ++x) {
            Raster::Draw(canvas, upper[x], upper[x + 1], lower[x], maxX, maxY);
            Raster::Draw(canvas, lower[x + 1], upper[x + 1], lower[x], maxX, maxY);
        }
        std::swap(upper, lower);
    }
}

// A row more than the longest vector's, for what rounding adds.
float FindReach(const ZPWarpJob& job) {
    std::array<float, kMaxThreads> longest{};
    ParallelRows(job.flow->height, [&](int worker, int firstRow, int lastRow) {
        float found = 0.0f;
        for (int y = firstRow; y <= lastRow; ++y) {
            const float* vector = job.flow->Row<float>(y);
            for (int x = 0; x < job.flow->width; ++x) {
                const float v = std::fabs(vector[2 * x + 1]);
                if (v > found || v != v) found = v;  // a NaN stays
            }
        }
        longest[worker] = found;
    });
    float reach = 0.0f;
    for (float found : longest) {
        if (found > reach || found != found) reach = found;
    }
    return reach * std::fabs(MeshScale(job).travelY) * 1.001f + 1.0f;
}

struct RowLocks {
    RowLocks(ZPWarpJob& newJob) : job(newJob), count(job.target->height) {
        job.reach = FindReach(job);
        job.rowLocks = CreateRowLocks(count);
    }
    ~RowLocks() {
        DestroyRowLocks(job.rowLocks, count);
        job.rowLocks = nullptr;
    }
    RowLocks(const RowLocks&) = delete;
    RowLocks& operator=(const RowLocks&) = delete;

    ZPWarpJob& job;
    const int count;
};

template <typename Value>
void BoundByAlpha(ZPWarpJob& job) {
    const ZPImage& source = *job.source;
    int left = source.width, right = -1, top = source.height, bottom = -1;
    for (int y = 0; y < source.height; ++y) {
        const Value* pixel = source.Row<Value>(y);
        for (int x = 0; x < source.width; ++x) {
            if (pixel[4 * x + 3] == Value(0)) continue;
            left = std::min(left, x);
            right = std::max(right, x);
            top = std::min(top, y);
            bottom = y;
        }
    }
    job.minColumn = std::max(left - 1, 0);
    job.maxColumn = std::min(right + 1, source.lastColumn);
    job.minRow = std::max(top - 1, 0);
    job.maxRow = std::min(bottom + 1, source.lastRow);
}

}  // namespace

bool BoundMesh(ZPWarpJob& job) {
    job.minColumn = job.minRow = 0;
    job.maxColumn = job.source->lastColumn;
    job.maxRow = job.source->lastRow;
    if (!job.wantCoverage) {
        WithPictureType(job.source->pixelType,
                        [&](auto zero) { BoundByAlpha<decltype(zero)>(job); });
    }
    return job.minColumn < job.maxColumn && job.minRow < job.maxRow;
}

void DrawMeshRows(const ZPWarpJob& job, int firstRow, int lastRow, MeshRow upper, MeshRow lower,
                  KQIdleAndProgressClass& progress) {
    WithPictureType(job.source->pixelType, [&](auto zero) {
        DrawRows<decltype(zero)>(job, firstRow, lastRow, upper, lower, progress);
    });
}

void DrawMesh(ZPWarpJob& job, KQIdleAndProgressClass& progress) {
    const int rows = job.maxRow - job.minRow;
    const int workers = ChooseWorkers(rows);
    MeshScratch<4> scratch(workers, job.source->width);
    if (workers == 1) {
        KQIdleAndProgressClass strip(&progress);
        DrawMeshRows(job, job.minRow, job.maxRow, scratch.Upper(0), scratch.Lower(0), strip);
        return;
    }
    const RowLocks locks(job);
    std::atomic<std::int32_t> stop{0};
    ParallelRows(rows, [&](int worker, int first, int last) {
        KQIldeAndProgressMPInterruptible strip(&progress, worker == 0, &stop);
        // The row of vertices between two strips is computed by both.
        DrawMeshRows(job, job.minRow + first, job.minRow + last + 1, scratch.Upper(worker),
                     scratch.Lower(worker), strip);
    });
}

}  // namespace velorin
