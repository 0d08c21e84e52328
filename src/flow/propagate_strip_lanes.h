#pragma once

#include <algorithm>

#include "flow/propagate_kernel.h"
#include "image/square_lanes.h"

namespace velorin::VELORIN_KERNEL_SET {

// Lines of a level from `first` on, whole with their ends, which are never changed.
struct Strip {
    StripPosition* at;
    int length;
    int first;
    int lines;

    // Of the lines up to `last`, as many as fit.
    VELORIN_ALWAYS_INLINE Strip(float* scratch, int newLength, int newFirst, int last)
        : at(reinterpret_cast<StripPosition*>(scratch)),
          length(newLength),
          first(newFirst),
          lines(std::min(kStripLines, last - newFirst + 1)) {}
};

// Four rows of an image from `first` on; `last` stands in for those after it.
struct FourRows {
    const float* row[4];

    VELORIN_ALWAYS_INLINE FourRows(const ZPImage& image, int first, int last) {
        for (int i = 0; i < 4; ++i) row[i] = image.Row<float>(std::min(first + i, last));
    }
    // Four values from `at` on: of each, those of the four rows.
    VELORIN_ALWAYS_INLINE void Load(int at, FourFloats value[4]) const {
        for (int i = 0; i < 4; ++i) value[i] = LoadFour(row[i] + at);
        TurnSquare(value);
    }
};

// Rows become lanes by turning squares of four values. The last square of a row begins early enough
// to end with it and repeats what the one before it did. Lines past the last
// repeat it up to the next square, and behind that are whatever they were: compared, never stored.
VELORIN_ALWAYS_INLINE void LoadRows(const PropagationJob& job, const Strip& strip) {
    const int last = strip.first + strip.lines - 1;
    FourFloats value[4];
    for (int line = 0; line < strip.lines; line += 4) {
        const FourRows flow(job.flow, strip.first + line, last);
        for (int p = 0; p < strip.length; p += 2) {
            StripPosition* at = strip.at + std::min(p, strip.length - 2);
            flow.Load(2 * static_cast<int>(at - strip.at), value);
            StoreFour(at[0].u + line, value[0]);
            StoreFour(at[0].v + line, value[1]);
            StoreFour(at[1].u + line, value[2]);
            StoreFour(at[1].v + line, value[3]);
        }
    }
    for (int line = 0; line < strip.lines + 2; line += 4) {
        const FourRows a(job.imageA, strip.first - 1 + line, last + 1);
        for (int p = 0; p < strip.length; p += 4) {
            const int begin = std::min(p, strip.length - 4);
            a.Load(begin, value);
            for (int i = 0; i < 4; ++i) StoreFour(strip.at[begin + i].a + line, value[i]);
        }
    }
}

VELORIN_ALWAYS_INLINE void StoreRows(const PropagationJob& job, const Strip& strip) {
    FourFloats value[4];
    for (int line = 0; line < strip.lines; line += 4) {
        const int rows = std::min(strip.lines - line, 4);
        const auto store = [&](ZPImage & image, int at) __attribute__((always_inline)) {
            TurnSquare(value);
            for (int i = 0; i < rows; ++i) {
                StoreFour(image.Row<float>(strip.first + line + i) + at, value[i]);
            }
        };
        for (int p = 1; p < strip.length - 1; p += 2) {
            const int begin = std::min(p, strip.length - 3);
            for (int i = 0; i < 2; ++i) {
                value[2 * i] = LoadFour(strip.at[begin + i].u + line);
                value[2 * i + 1] = LoadFour(strip.at[begin + i].v + line);
            }
            store(job.flow, 2 * begin);
        }
        for (int p = 0; p < strip.length; p += 4) {
            const int begin = std::min(p, strip.length - 4);
            for (int i = 0; i < 4; ++i) value[i] = LoadFour(strip.at[begin + i].cost + line);
            store(job.costs, begin);
        }
    }
}

// Columns are lanes as they stand. Those past the last cost 0 and are never compared.
VELORIN_ALWAYS_INLINE void LoadColumns(const PropagationJob& job, const Strip& strip) {
    RowEnd<1> end;
    RowEnd<2> flowEnd;
    for (int p = 0; p < strip.length; ++p) {
        StripPosition& at = strip.at[p];
        const float* flow = job.flow.Row<float>(p) + 2 * strip.first;
        const float* costs = job.costs.Row<float>(p) + strip.first;
        for (int line = 0; line < strip.lines; line += kLanes) {
            const int left = strip.lines - line;
            Floats u, v;
            LoadPairs(flowEnd.Reach(flow + 2 * line, left), u, v);
            StoreFloats(at.u + line, u);
            StoreFloats(at.v + line, v);
            StoreFloats(at.cost + line, LoadFloats(end.Reach(costs + line, left)));
        }
        const float* a = job.imageA.Row<float>(p) + strip.first - 1;
        for (int line = 0; line < strip.lines + 2; line += kLanes) {
            StoreFloats(at.a + line, LoadFloats(end.Reach(a + line, strip.lines + 2 - line)));
        }
    }
}

VELORIN_ALWAYS_INLINE void StoreColumns(const PropagationJob& job, const Strip& strip) {
    for (int p = 1; p < strip.length - 1; ++p) {
        const StripPosition& at = strip.at[p];
        float* flow = job.flow.Row<float>(p) + 2 * strip.first;
        for (int line = 0; line < strip.lines; line += kLanes) {
            StorePairs(flow + 2 * line, LoadFloats(at.u + line), LoadFloats(at.v + line),
                       strip.lines - line);
        }
    }
}

}  // namespace velorin::VELORIN_KERNEL_SET
