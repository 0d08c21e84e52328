#pragma once

#include <algorithm>
#include <cstddef>

#include "filter/line_filter.h"
#include "image/lanes.h"

// The loops of a line filter, also for kernels that fuse it with others.
namespace velorin::VELORIN_KERNEL_SET {

// Vectors of outputs side by side, so that each runs over its taps in registers.
//
// out[p] = w[0] * v[p]; then, for j from taps - 1 down to 1, plus w[j] * (v[p + js] + v[p - js])
// for a distance of s between neighbours. Every output has its own sum: the block's width and any
// number of lanes give the same bits.
template <int kVectors>
VELORIN_ALWAYS_INLINE void FilterMiddle(const float* v, std::ptrdiff_t step, const float* w,
                                        int taps, float* out) {
    Floats sum[kVectors];
    for (int k = 0; k < kVectors; ++k) sum[k] = w[0] * LoadFloats(v + k * kLanes);
    for (std::ptrdiff_t j = taps - 1; j >= 1; --j) {
        const float* right = v + j * step;
        const float* left = v - j * step;
        for (int k = 0; k < kVectors; ++k) {
            sum[k] += w[j] * (LoadFloats(right + k * kLanes) + LoadFloats(left + k * kLanes));
        }
    }
    for (int k = 0; k < kVectors; ++k) StoreFloats(out + k * kLanes, sum[k]);
}

// Outputs near a line's ends: the right-hand sample first, then the left-hand one, as two additions
// to sum and norm alike, and those that are absent not at all. `p` counts samples of all lanes from
// the line's first, of `total`; so does `end`, the one after the last that is written.
VELORIN_ALWAYS_INLINE void FilterBorder(const float* v, int total, int p, int end, int step,
                                        const float* w, int taps, AbsentSample absent, float* out) {
    const Ints place = LaneNumbers() + p;
    const Ints written = place < end;
    const Floats middle = LoadFloatsWhere(v + p, written);
    Floats sum = w[0] * middle;
    Floats norm = AllLanes(w[0]);
    const auto add = [&](int j, int at) __attribute__((always_inline)) {
        Ints there = (place + at >= 0) & (place + at < total);
        const Floats sample = LoadFloatsWhere(v + (p + at), there);
        // On purpose also for a real sample of -1.0: near the ends it is dropped, further in not.
        if (absent == AbsentSample::kMinusOne) there &= sample != -1.0f;
        sum = there ? sum + w[j] * sample : sum;
        norm = there ? norm + w[j] : norm;
    };
    for (int j = taps - 1; j >= 1; --j) {
        add(j, j * step);
        add(j, -j * step);
    }
    StoreFloatsWhere(out + p, written, sum / norm);
}

// FilterLine: outputs `begin` to below `end` of `lanes` interleaved lines.
VELORIN_ALWAYS_INLINE void FilterLineLanes(const float* v, int length, int lanes, const float* w,
                                           int taps, AbsentSample absent, int begin, int end,
                                           float* out) {
    const int total = length * lanes;
    const int middleBegin = std::min(length, taps);
    const int middleEnd = middleBegin + std::max(length - 2 * taps, 0);
    const auto border = [&](int from, int to) __attribute__((always_inline)) {
        for (int p = from * lanes; p < to * lanes; p += kLanes) {
            FilterBorder(v, total, p, to * lanes, lanes, w, taps, absent, out);
        }
    };
    border(begin, std::min(end, middleBegin));
    const int first = std::max(begin, middleBegin) * lanes;
    const int stop = std::min(end, middleEnd) * lanes;
    int p = first;
    for (; p + 4 * kLanes <= stop; p += 4 * kLanes) FilterMiddle<4>(v + p, lanes, w, taps, out + p);
    for (; p + kLanes <= stop; p += kLanes) FilterMiddle<1>(v + p, lanes, w, taps, out + p);
    // What is left is less than a vector: the last vector's outputs are made again with it, or one
    // by one where there are no more.
    if (p < stop && stop - first >= kLanes) {
        FilterMiddle<1>(v + stop - kLanes, lanes, w, taps, out + stop - kLanes);
    } else {
        for (; p < stop; ++p) {
            float sum = w[0] * v[p];
            for (int j = taps - 1; j >= 1; --j) {
                sum += w[j] * (v[p + j * lanes] + v[p - j * lanes]);
            }
            out[p] = sum;
        }
    }
    border(std::max(begin, middleEnd), end);
}

}  // namespace velorin::VELORIN_KERNEL_SET
