#include "warp/invert_flow.h"

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <utility>

#include "flow/matte.h"
#include "image/copy.h"
#include "image/parallel_rows.h"
#include "warp/mesh_scratch.h"
#include "warp/raster.h"

namespace velorin {

namespace {

// One row of the mesh, indexed by column.
using VectorRow = RasterVertex<2>*;

bool Fits(const ZPImage& flowOut, const ZPImage& flowIn, const ZPImage& holes) {
    if (SizeDiffers(&flowIn, &flowOut) || SizeDiffers(&flowIn, &holes)) return false;
    for (const ZPImage* flow : {&flowIn, &flowOut}) {
        if (flow->pixelType != ZPPixFloat || flow->channels != 2) return false;
    }
    if (holes.pixelType != ZPPixUChar || holes.channels != 1) return false;
    return flowOut.data != flowIn.data;
}

// The canvas of the reverse flow: the last hit stands. A worker draws the rows of its own band.
struct ScatterCanvas {
    static constexpr int kAttributes = 2;
    static constexpr bool kDrawsSinglePixel = true;

    class Row {
      public:
        Row(const ScatterCanvas& canvas, int y)
            : drawn(y >= canvas.firstRow && y <= canvas.lastRow),
              vector(canvas.flowOut.Row<float>(y)),
              hit(canvas.coverage.Row<std::uint8_t>(y)) {}

        void MoveTo(int x) {
            vector += 2 * x;
            hit += x;
        }
        void Merge(PixelLanes<2> carried) {
            if (!drawn) return;
            carried.Store(vector);
            *hit = 1;
            vector += 2;
            ++hit;
        }

      private:
        const bool drawn;
        float* vector;
        std::uint8_t* hit;
    };

    ZPImage& flowOut;
    ZPImage& coverage;
    const int firstRow;
    const int lastRow;
};

// The highest and the lowest line of some vertices; those that are no number count as none.
struct Lines {
    float first = std::numeric_limits<float>::infinity();
    float last = -std::numeric_limits<float>::infinity();
};

Lines ReadRow(const ZPImage& flow, int row, VectorRow vertices) {
    Lines lines;
    const float* vector = flow.Row<float>(row);
    for (int column = 0; column < flow.width; ++column, vector += 2) {
        const float u = vector[0], v = vector[1];
        const float y = static_cast<float>(row) + v;
        vertices[column] = {static_cast<float>(column) + u, y, {-u, -v}};
        lines.first = y < lines.first ? y : lines.first;
        lines.last = y > lines.last ? y : lines.last;
    }
    return lines;
}

// Goes through all triangles in their order, so that the last one stands where they fold. Rows of
// cells that miss the band are skipped; other triangles are followed from their first line on, in
// the band or not, since what is drawn depends to the last bit on where an edge was placed.
void DrawBand(ScatterCanvas canvas, const ZPImage& flow, VectorRow upper, VectorRow lower,
              KQIdleAndProgressClass& progress) {
    using Raster = ZPRasterTriangle<ScatterCanvas>;
    const float maxX = static_cast<float>(flow.lastColumn);
    const float maxY = static_cast<float>(flow.lastRow);
    const float first = static_cast<float>(canvas.firstRow);
    const float last = static_cast<float>(canvas.lastRow);
    Lines upperLines = ReadRow(flow, 0, upper);
    for (int y = 0; y < flow.lastRow; ++y) {
        progress.ReportProgress(static_cast<float>(y) / maxY);
        const Lines lowerLines = ReadRow(flow, y + 1, lower);
        const bool above = upperLines.last < first && lowerLines.last < first;
        const bool below = upperLines.first > last && lowerLines.first > last;
        for (int x = 0; x < flow.lastColumn && !above && !below; ++x) {
            Raster::Draw(canvas, upper[x], upper[x + 1], lower[x], maxX, maxY);
            Raster::Draw(canvas, lower[x + 1], upper[x + 1], lower[x], maxX, maxY);
        }
        std::swap(upper, lower);
        upperLines = lowerLines;
    }
}

void DrawVectors(ZPImage& flowOut, ZPImage& coverage, const ZPImage& flow,
                 KQIdleAndProgressClass* progress) {
    KQIdleAndProgressClass stage(progress);
    MeshScratch<2> scratch(ChooseWorkers(flow.height), flow.width);
    std::atomic<std::int32_t> stop{0};
    ParallelRows(flow.height, [&](int worker, int firstRow, int lastRow) {
        KQIldeAndProgressMPInterruptible band(&stage, worker == 0, &stop);
        DrawBand({flowOut, coverage, firstRow, lastRow}, flow, scratch.Upper(worker),
                 scratch.Lower(worker), band);
    });
}

void TurnIntoHoles(ZPImage& coverage) {
    ParallelRows(coverage.height, [&](int firstRow, int lastRow) {
        for (int y = firstRow; y <= lastRow; ++y) {
            std::uint8_t* row = coverage.Row<std::uint8_t>(y);
            for (int x = 0; x < coverage.width; ++x) row[x] = row[x] == 0 ? 255 : 0;
        }
    });
}

}  // namespace

void ZPInvertFlow(ZPImage& flowOut, const ZPImage& flowIn, ZPImage& holes,
                  KQIdleAndProgressClass* progress) {
    if (!Fits(flowOut, flowIn, holes)) {
        std::fputs("can't warp image, input files not of correct types and sizes\n", stderr);
        return;
    }
    ClearImage(&flowOut);
    ClearImage(&holes);
    DrawVectors(flowOut, holes, flowIn, progress);
    TurnIntoHoles(holes);
    FillUnderMatte(flowOut, holes, progress);
}

}  // namespace velorin
