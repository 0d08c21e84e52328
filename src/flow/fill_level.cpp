#include "flow/fill_level.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "flow/scatter_levels.h"
#include "image/parallel_rows.h"

namespace velorin {

namespace {

// A block is one run wide and so many rows high. It is blurred from a window that reaches one
// kernel further on each side: within as many samples of a line's ends the filter's rule differs.
constexpr int kBlockRows = 32;
constexpr int kMaxTaps = 8;
constexpr int kWindowColumns = kMarkedColumns + 2 * kMaxTaps;
constexpr int kWindowRows = kBlockRows + 2 * kMaxTaps;

// The samples `begin` to `end` of an axis, and those of the window around them.
struct Span {
    Span(int newBegin, int newEnd, int size, int margin)
        : begin(newBegin),
          end(newEnd),
          windowBegin(std::max(newBegin - margin, 0)),
          windowEnd(std::min(newEnd + margin, size)) {}
    int WindowSize() const { return windowEnd - windowBegin; }

    int begin, end;
    int windowBegin, windowEnd;
};

bool AnyMarked(const ZPImage& marks, int y, int firstMark, int lastMark) {
    const std::uint8_t* row = marks.Row<std::uint8_t>(y);
    return std::any_of(row + firstMark, row + lastMark + 1, [](std::uint8_t m) { return m != 0; });
}

// The pixels of a row that nothing is known of, from the coarser field.
void TakeCoarser(const FillLevelInput& in, int y, const Span& columns, float* line) {
    const float* weight = in.weights.Row<float>(y);
    if (!in.coarser) {
        for (int x = columns.windowBegin; x < columns.windowEnd; ++x) {
            if (weight[x] == 0.0f) line[x - columns.windowBegin] = 0.0f;
        }
        return;
    }
    const CoarserPlaces acrossPlaces(in.weights.lastColumn, in.coarser->lastColumn);
    const CoarserPlaces downPlaces(in.weights.lastRow, in.coarser->lastRow);
    const AxisSample down = downPlaces.At(y);
    const float* top = in.coarser->Row<float>(down.index);
    const float* bottom = in.coarser->Row<float>(down.index + 1);
    for (int x = columns.windowBegin; x < columns.windowEnd; ++x) {
        if (weight[x] != 0.0f) continue;
        const AxisSample across = acrossPlaces.At(x);
        const float* t = top + across.index;
        const float* b = bottom + across.index;
        line[x - columns.windowBegin] =
            MixSquare(t[0], t[1], b[0], b[1], across.weight, down.weight);
    }
}

// One row of a window before the blur.
void ReadLine(const FillLevelInput& in, int y, const Span& columns, float* line) {
    const float* sum = in.sums.Row<float>(y) + columns.windowBegin;
    const float* weight = in.weights.Row<float>(y) + columns.windowBegin;
    for (int i = 0; i < columns.WindowSize(); ++i) line[i] = sum[i] / weight[i];
    const bool unknown = AnyMarked(in.unknown, y, columns.windowBegin / kMarkedColumns,
                                   (columns.windowEnd - 1) / kMarkedColumns);
    if (unknown) TakeCoarser(in, y, columns, line);
}

void FillBlock(ZPImage& field, const FillLevelInput& in, HalfKernel kernel, const Span& columns,
               const Span& rows) {
    float line[kWindowColumns];
    float filtered[kWindowColumns];
    float lines[kWindowRows * kMarkedColumns] = {};
    float block[kWindowRows * kMarkedColumns];
    const int lanes = columns.end - columns.begin;
    const int left = columns.begin - columns.windowBegin;
    for (int y = rows.windowBegin; y < rows.windowEnd; ++y) {
        ReadLine(in, y, columns, line);
        FilterLine(line, columns.WindowSize(), 1, kernel, AbsentSample::kBeyondLine, left,
                   left + lanes, filtered);
        std::copy_n(filtered + left, lanes, lines + (y - rows.windowBegin) * lanes);
    }
    FilterLine(lines, rows.WindowSize(), lanes, kernel, AbsentSample::kBeyondLine,
               rows.begin - rows.windowBegin, rows.end - rows.windowBegin, block);
    for (int y = rows.begin; y < rows.end; ++y) {
        std::copy_n(block + (y - rows.windowBegin) * lanes, lanes,
                    field.Row<float>(y) + columns.begin);
    }
}

// The rows from the first to the last marked one of up to kBlockRows.
bool FindMarkedRows(const ZPImage& marks, int mark, int& begin, int& end) {
    while (begin < end && !marks.Row<std::uint8_t>(begin)[mark]) ++begin;
    while (begin < end && !marks.Row<std::uint8_t>(end - 1)[mark]) --end;
    return begin < end;
}

}  // namespace

void MarkUnknown(ZPImage& unknown, const ZPImage& weights) {
    ParallelRows(weights.height, [&](int firstRow, int lastRow) {
        for (int y = firstRow; y <= lastRow; ++y) {
            const float* weight = weights.Row<float>(y);
            std::uint8_t* marks = unknown.Row<std::uint8_t>(y);
            for (int i = 0; i < unknown.width; ++i) {
                const int begin = i * kMarkedColumns;
                const int end = std::min(begin + kMarkedColumns, weights.width);
                int zeros = 0;
                for (int x = begin; x < end; ++x) zeros += weight[x] == 0.0f ? 1 : 0;
                marks[i] = zeros > 0 ? 1 : 0;
            }
        }
    });
}

void MarkNeeded(ZPImage& needed, const ZPImage& unknown, const ZPImage& coarse,
                const ZPImage& fine) {
    const CoarserPlaces across(fine.lastColumn, coarse.lastColumn);
    const CoarserPlaces down(fine.lastRow, coarse.lastRow);
    for (int y = 0; y < needed.height; ++y) {
        std::memset(needed.Row<std::uint8_t>(y), 0, needed.RowPixelBytes());
    }
    for (int y = 0; y < unknown.height; ++y) {
        const std::uint8_t* marks = unknown.Row<std::uint8_t>(y);
        const int row = down.At(y).index;
        for (int i = 0; i < unknown.width; ++i) {
            if (!marks[i]) continue;
            const int lastColumn = std::min((i + 1) * kMarkedColumns, fine.width) - 1;
            const int first = across.At(i * kMarkedColumns).index / kMarkedColumns;
            const int last = (across.At(lastColumn).index + 1) / kMarkedColumns;
            for (int j = first; j <= last; ++j) {
                needed.Row<std::uint8_t>(row)[j] = 1;
                needed.Row<std::uint8_t>(row + 1)[j] = 1;
            }
        }
    }
}

void FillLevel(ZPImage& field, const FillLevelInput& input, HalfKernel kernel) {
    const int margin = static_cast<int>(kernel.size());
    if (margin > kMaxTaps) throw ZPErrBadArgument;
    ParallelRows(field.height, [&](int firstRow, int lastRow) {
        for (int y = firstRow; y <= lastRow; y += kBlockRows) {
            for (int mark = 0; mark < input.needed.width; ++mark) {
                int begin = y, end = std::min(y + kBlockRows, lastRow + 1);
                if (!FindMarkedRows(input.needed, mark, begin, end)) continue;
                const int x = mark * kMarkedColumns;
                const Span columns(x, std::min(x + kMarkedColumns, field.width), field.width,
                                   margin);
                FillBlock(field, input, kernel, columns, Span(begin, end, field.height, margin));
            }
        }
    });
}

}  // namespace velorin
