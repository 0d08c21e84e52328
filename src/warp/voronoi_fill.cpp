#include "warp/voronoi_fill.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "image/float_rules.h"
#include "image/parallel_rows.h"
#include "image/pixel_form.h"

namespace velorin {

namespace {

// The unmarked pixel found for a pixel: its column, and its row in the high half. Without one both
// are 65535, which competes as a place like any other. In one word, so that loops over them have
// lanes.
using Seed = std::uint32_t;
constexpr Seed kNoSeed = 0xFFFFFFFF;

Seed SeedAt(int x, int y) {
    return static_cast<Seed>(x) | static_cast<Seed>(y) << 16;
}
int ColumnOf(Seed seed) {
    return static_cast<int>(seed & 0xFFFF);
}
int RowOf(Seed seed) {
    return static_cast<int>(seed >> 16);
}

// Squared.
float Distance(Seed seed, float x, float y) {
    const float dx = x - static_cast<float>(ColumnOf(seed));
    const float dy = y - static_cast<float>(RowOf(seed));
    return dx * dx + dy * dy;
}

// Of two equally near seeds the earlier.
Seed Nearer(Seed earlier, Seed later, float x, float y) {
    return Distance(later, x, y) < Distance(earlier, x, y) ? later : earlier;
}

// Marked pixels side by side, first and last column. After the runs of a row stands {kEnd, 0}.
struct Run {
    std::uint16_t first;
    std::uint16_t last;
};
constexpr std::uint16_t kEnd = 65535;

// The most that a row holds.
struct RowCounts {
    int marks = 0;
    int runs = 0;
};

template <typename Mark>
RowCounts CountMarks(const ZPImage& marks) {
    RowCounts most;
    for (int y = 0; y < marks.height; ++y) {
        const Mark* mark = marks.Row<Mark>(y);
        int count = mark[0] != 0, starts = count;
        for (int x = 1; x < marks.width; ++x) {
            count += mark[x] != 0;
            starts += (mark[x] != 0) & (mark[x - 1] == 0);
        }
        most = {std::max(most.marks, count), std::max(most.runs, starts)};
    }
    return most;
}

// The first marked column from `x` on, else `width`. Goes by blocks while they hold no mark.
template <typename Mark>
int FindMark(const Mark* mark, int x, int width) {
    constexpr int kBlock = 16;
    for (; x + kBlock <= width; x += kBlock) {
        int count = 0;
        for (int i = 0; i < kBlock; ++i) count += mark[x + i] != 0;
        if (count > 0) break;
    }
    while (x < width && mark[x] == 0) ++x;
    return x;
}

template <typename Mark>
void CollectRuns(const Mark* mark, int width, Run* run) {
    for (int x = FindMark(mark, 0, width); x < width; x = FindMark(mark, x, width)) {
        run->first = static_cast<std::uint16_t>(x);
        while (x < width && mark[x] != 0) ++x;
        run->last = static_cast<std::uint16_t>(x - 1);
        ++run;
    }
    *run = {kEnd, 0};
}

// Sweeps one row: of its line only the pixels of runs, the others being their own seeds. `over` is
// the line of the row that the sweep has passed before; null at the first. A sweep goes over
// columns in steps of 1 or of -1.
struct RowSweep {
    Seed* line;
    const Seed* over;
    int width;
    float y;

    void Run(int begin, int end, int step) const {
        const int before = begin - step;
        if (before >= 0 && before < width) {
            line[begin] = line[before];  // unmarked and one pixel away: nothing is nearer
        } else {
            line[begin] = over ? over[begin] : kNoSeed;
        }
        if (!over) {
            for (int x = begin; x != end; x += step) line[x + step] = line[x];
            return;
        }
        for (int x = begin; x != end;) {
            const int count = std::min(std::abs(end - x), kChunk);
            Chunk(x, count, step);
            x += count * step;
        }
    }

  private:
    static constexpr int kChunk = 64;

    // `count` pixels after `start`. The two neighbours over a pixel are weighed for all pixels
    // first, side by side; only the one behind has to wait for the pixel before. Of equally near
    // seeds the one behind wins, then the one straight over, as if asked in that order.
    void Chunk(int start, int count, int step) const {
        Seed offer[kChunk];
        float offered[kChunk];
        const int low = step > 0 ? start + 1 : start - count;
        for (int i = 0; i < count; ++i) {
            const float x = static_cast<float>(low + i);
            const Seed straight = over[low + i];
            const Seed askew = over[low + i - step];
            const float toStraight = Distance(straight, x, y);
            const float toAskew = Distance(askew, x, y);
            offer[i] = toAskew < toStraight ? askew : straight;
            offered[i] = toAskew < toStraight ? toAskew : toStraight;
        }
        Seed behind = line[start];
        float behindX = static_cast<float>(ColumnOf(behind));
        float dy = y - static_cast<float>(RowOf(behind));
        float square = dy * dy;
        for (int x = start + step; count > 0; --count, x += step) {
            const float dx = static_cast<float>(x) - behindX;
            if (offered[x - low] < dx * dx + square) {
                behind = offer[x - low];
                behindX = static_cast<float>(ColumnOf(behind));
                dy = y - static_cast<float>(RowOf(behind));
                square = dy * dy;
            }
            line[x] = behind;
        }
    }
};

// Seeds of the marked pixels alone, packed to the left of each row; from the sweeps down the rows
// and from those up.
//
// A sweep reads no line but its own and the one over it, and the runs of a row do not touch: lines
// for two rows suffice, and the sweeps to the right and to the left go side by side.
class SeedSearch {
  public:
    template <typename Mark>
    SeedSearch(const ZPImage& marks, const RowCounts& most, Mark /*zero*/)
        : width(marks.width),
          height(marks.height),
          runs(most.runs + 1, height, 2, ZPPixUShort, 0),
          lines(width, 8, 2, ZPPixUShort, 0),
          down(most.marks, height, 2, ZPPixUShort, 0),
          up(most.marks, height, 2, ZPPixUShort, 0) {
        ForEachRow([&](int y) { CollectRuns(marks.Row<Mark>(y), width, runs.Row<Run>(y)); });
        // A thread for each way: 16 items are the least that gets one.
        ParallelRows(32, [&](int first, int last) {
            if (first == 0) Search(down, 0, 0, 1);
            if (last == 31) Search(up, 4, height - 1, -1);
        });
    }

    template <typename Pixel>
    void Apply(ZPImage& image) const {
        ForEachRow([&](int row) {
            const float y = static_cast<float>(row);
            Pixel* pixel = image.Row<Pixel>(row);
            const Seed* fromDown = down.Row<Seed>(row);
            const Seed* fromUp = up.Row<Seed>(row);
            ForEachRun(row, [&](int begin, int end) {
                for (int column = begin; column <= end; ++column, ++fromDown, ++fromUp) {
                    const Seed seed = Nearer(*fromDown, *fromUp, static_cast<float>(column), y);
                    const int sx = ColumnOf(seed), sy = RowOf(seed);
                    if (sx < width && sy < height) pixel[column] = image.Row<Pixel>(sy)[sx];
                }
            });
        });
    }

  private:
    template <typename Work>
    void ForEachRow(const Work& work) const {
        ParallelRows(height, [&](int firstRow, int lastRow) {
            for (int y = firstRow; y <= lastRow; ++y) work(y);
        });
    }

    template <typename Work>
    void ForEachRun(int y, const Work& work) const {
        for (const Run* run = runs.Row<Run>(y); run->first != kEnd; ++run) {
            work(run->first, run->last);
        }
    }

    bool HasRun(int y) const { return y >= 0 && y < height && runs.Row<Run>(y)->first != kEnd; }

    // The sweeps of one way over the rows, on four lines from `firstLine`.
    void Search(ZPImage& found, int firstLine, int start, int rowStep) {
        Seed* rightward[2] = {lines.Row<Seed>(firstLine), lines.Row<Seed>(firstLine + 1)};
        Seed* leftward[2] = {lines.Row<Seed>(firstLine + 2), lines.Row<Seed>(firstLine + 3)};
        for (int y = start; y >= 0 && y < height; y += rowStep) {
            if (!HasRun(y) && !HasRun(y + rowStep)) continue;  // nobody asks this row
            const int now = y & 1, before = 1 - now;
            const bool isFirst = y == start;
            for (int x = 0; x < width; ++x) rightward[now][x] = leftward[now][x] = SeedAt(x, y);
            const float row = static_cast<float>(y);
            const RowSweep right{rightward[now], isFirst ? nullptr : rightward[before], width, row};
            const RowSweep left{leftward[now], isFirst ? nullptr : leftward[before], width, row};
            Seed* out = found.Row<Seed>(y);
            ForEachRun(y, [&](int begin, int end) {
                right.Run(begin, end, 1);
                left.Run(end, begin, -1);
                for (int x = begin; x <= end; ++x) {
                    *out++ = Nearer(right.line[x], left.line[x], static_cast<float>(x), row);
                }
            });
        }
    }

    int width;
    int height;
    ZPImage runs;
    ZPImage lines;  // of the sweeps: down right, down left, up right, up left, two rows each
    ZPImage down;
    ZPImage up;
};

}  // namespace

void ZPVoronoiFill(ZPImage& image, const ZPImage& marks) {
    const bool fits =
        image.width == marks.width && image.height == marks.height && marks.channels == 1;
    const bool known =
        fits && WithPictureType(marks.pixelType, [&](auto zero) {
            using Mark = decltype(zero);
            const RowCounts most = CountMarks<Mark>(marks);
            if (most.marks == 0) return;
            const SeedSearch search(marks, most, zero);
            WithPictureForm(image, [&](auto form) {
                using Form = decltype(form);
                search.Apply<std::array<typename Form::Value, Form::kChannels>>(image);
            });
        });
    if (!known) std::fputs("input problem in ZPVoronoiFill\n", stderr);
}

}  // namespace velorin
