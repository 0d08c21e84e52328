#include "warp/voronoi_fill.h"

#include <array>
#include <cstdint>
#include <cstdio>

#include "image/float_rules.h"
#include "image/parallel_rows.h"
#include "image/pixel_form.h"

namespace velorin {

namespace {

// The unmarked pixel found for a pixel. Without one both are kNowhere, which competes as a place
// like any other.
struct Seed {
    std::uint16_t x;
    std::uint16_t y;
};
constexpr std::uint16_t kNowhere = 65535;

// Marked pixels side by side, first and last column. After the runs of a row stands {kNowhere, 0}.
struct Run {
    std::uint16_t first;
    std::uint16_t last;
};

// Which neighbours a sweep asks: the one behind it in its row, those of the row over it.
struct Sweep {
    int columnStep;
    int rowStep;
};

float Distance(Seed seed, float x, float y) {
    const float dx = x - static_cast<float>(seed.x);
    const float dy = y - static_cast<float>(seed.y);
    return dx * dx + dy * dy;
}

template <typename Mark>
bool AnyMark(const ZPImage& marks) {
    for (int y = 0; y < marks.height; ++y) {
        const Mark* mark = marks.Row<Mark>(y);
        bool any = false;
        for (int x = 0; x < marks.width; ++x) any |= mark[x] != 0;
        if (any) return true;
    }
    return false;
}

template <typename Mark>
void CollectRuns(const Mark* mark, int width, Run* run) {
    for (int x = 0; x < width; ++x) {
        if (mark[x] == 0) continue;
        run->first = static_cast<std::uint16_t>(x);
        while (x < width && mark[x] != 0) ++x;
        run->last = static_cast<std::uint16_t>(x - 1);
        ++run;
    }
    *run = {kNowhere, 0};
}

// Walks over the runs of a row, and over the columns of each from begin to end, both inclusive.
template <typename Work>
void ForEachRun(const Run* run, int columnStep, const Work& work) {
    if (columnStep > 0) {
        for (; run->first != kNowhere; ++run) work(run->first, run->last);
        return;
    }
    const Run* end = run;
    while (end->first != kNowhere) ++end;
    while (end-- != run) work(end->last, end->first);
}

class SeedSearch {
  public:
    template <typename Mark>
    SeedSearch(const ZPImage& marks, Mark /*zero*/)
        : width(marks.width),
          height(marks.height),
          runs(width / 2 + 2, height, 2, ZPPixUShort, 0),
          swept(width, height, 2, ZPPixUShort, 0),
          found(width, height, 2, ZPPixUShort, 0) {
        ForEachRow([&](int y) { CollectRuns(marks.Row<Mark>(y), width, runs.Row<Run>(y)); });
        ForEachRow([&](int y) { SeedUnmarked(y); });
        bool isFirst = true;
        // The order of the sweeps decides between seeds that lie equally far.
        for (const Sweep sweep : {Sweep{1, 1}, Sweep{-1, 1}, Sweep{1, -1}, Sweep{-1, -1}}) {
            RunSweep(sweep);
            ForEachRow([&](int y) { MergeRow(y, isFirst); });
            isFirst = false;
        }
    }

    template <typename Pixel>
    void Apply(ZPImage& image) const {
        ForEachRow([&](int y) {
            Pixel* pixel = image.Row<Pixel>(y);
            const Seed* seeds = found.Row<Seed>(y);
            ForEachRun(runs.Row<Run>(y), 1, [&](int begin, int end) {
                for (int x = begin; x <= end; ++x) {
                    const Seed seed = seeds[x];
                    if (seed.x >= width || seed.y >= height) continue;
                    pixel[x] = image.Row<Pixel>(seed.y)[seed.x];
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

    bool HasRun(int y) const { return y >= 0 && y < height && runs.Row<Run>(y)->first != kNowhere; }

    // An unmarked pixel is its own seed, in every sweep: it is written once, and only where a sweep
    // looks. Marked pixels need no start, for a sweep asks only neighbours that it has passed.
    void SeedUnmarked(int y) {
        if (!HasRun(y - 1) && !HasRun(y) && !HasRun(y + 1)) return;
        Seed* row = swept.Row<Seed>(y);
        for (int x = 0; x < width; ++x) {
            row[x] = {static_cast<std::uint16_t>(x), static_cast<std::uint16_t>(y)};
        }
    }

    void RunSweep(const Sweep& sweep) {
        const Seed* over = nullptr;
        for (int i = 0; i < height; ++i) {
            const int y = sweep.rowStep > 0 ? i : height - 1 - i;
            Seed* row = swept.Row<Seed>(y);
            ForEachRun(runs.Row<Run>(y), sweep.columnStep, [&](int begin, int end) {
                SweepRun(row, over, static_cast<float>(y), begin, end, sweep.columnStep);
            });
            over = row;
        }
    }

    void SweepRun(Seed* row, const Seed* over, float y, int begin, int end, int step) const {
        const int before = begin - step;
        Seed seed{kNowhere, kNowhere};
        if (before >= 0 && before < width) {
            seed = row[before];  // unmarked and one pixel away: nothing is nearer
        } else if (over) {
            seed = over[begin];
        }
        row[begin] = seed;
        for (int x = begin; x != end;) {
            x += step;
            if (over) seed = Nearest(seed, over[x], over[x - step], static_cast<float>(x), y);
            row[x] = seed;
        }
    }

    // Of equally near seeds the earlier one.
    static Seed Nearest(Seed behind, Seed over, Seed overBehind, float x, float y) {
        Seed best = behind;
        float nearest = Distance(behind, x, y);
        const float second = Distance(over, x, y);
        const float third = Distance(overBehind, x, y);
        if (second < nearest) {
            nearest = second;
            best = over;
        }
        return third < nearest ? overBehind : best;
    }

    void MergeRow(int rowNumber, bool isFirst) {
        const float y = static_cast<float>(rowNumber);
        Seed* best = found.Row<Seed>(rowNumber);
        const Seed* offered = swept.Row<Seed>(rowNumber);
        ForEachRun(runs.Row<Run>(rowNumber), 1, [&](int begin, int end) {
            for (int column = begin; column <= end; ++column) {
                const float x = static_cast<float>(column);
                if (isFirst || Distance(offered[column], x, y) < Distance(best[column], x, y)) {
                    best[column] = offered[column];
                }
            }
        });
    }

    int width;
    int height;
    ZPImage runs;   // each row's runs of marked pixels
    ZPImage swept;  // seeds of the running sweep
    ZPImage found;  // the nearest so far, of marked pixels only
};

}  // namespace

void ZPVoronoiFill(ZPImage& image, const ZPImage& marks) {
    const bool fits =
        image.width == marks.width && image.height == marks.height && marks.channels == 1;
    const bool known =
        fits && WithPictureType(marks.pixelType, [&](auto zero) {
            using Mark = decltype(zero);
            if (!AnyMark<Mark>(marks)) return;
            const SeedSearch search(marks, zero);
            WithPictureForm(image, [&](auto form) {
                using Form = decltype(form);
                search.Apply<std::array<typename Form::Value, Form::kChannels>>(image);
            });
        });
    if (!known) std::fputs("input problem in ZPVoronoiFill\n", stderr);
}

}  // namespace velorin
