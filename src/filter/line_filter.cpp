#include "filter/line_filter.h"

#include <algorithm>
#include <cstddef>

#include "image/float_rules.h"

namespace velorin {

namespace {

// Outputs that are summed side by side, so that each runs over its taps in registers.
constexpr int kBlock = 16;

// out[p] = w[0] * v[p]; then, for j from taps - 1 down to 1, plus w[j] * (v[p + js] + v[p - js])
// for a distance of s between neighbours. Every output has its own sum: the block's width and any
// number of lanes give the same bits.
template <int kWidth>
void FilterMiddle(const float* __restrict v, std::ptrdiff_t step, HalfKernel w,
                  float* __restrict out) {
    float sum[kWidth];
    for (int k = 0; k < kWidth; ++k) sum[k] = w[0] * v[k];
    for (std::ptrdiff_t j = std::ssize(w) - 1; j >= 1; --j) {
        const float* right = v + j * step;
        const float* left = v - j * step;
        for (int k = 0; k < kWidth; ++k) sum[k] += w[j] * (right[k] + left[k]);
    }
    for (int k = 0; k < kWidth; ++k) out[k] = sum[k];
}

struct WeightedSum {
    float sum;
    float norm;

    void Add(float weight, float sample) {
        sum += weight * sample;
        norm += weight;
    }
};

// The right-hand sample first, then the left-hand one, as two additions to sum and norm alike.
float FilterBorder(const float* v, int i, int length, int lanes, HalfKernel w,
                   AbsentSample absent) {
    const auto there = [&](int at) {
        if (at < 0 || at >= length) return false;
        // On purpose also for a real sample of -1.0: near the ends it is dropped, further in not.
        return absent == AbsentSample::kBeyondLine ||
               v[static_cast<std::ptrdiff_t>(at) * lanes] != -1.0f;
    };
    WeightedSum total{w[0] * v[static_cast<std::ptrdiff_t>(i) * lanes], w[0]};
    for (int j = static_cast<int>(w.size()) - 1; j >= 1; --j) {
        if (there(i + j)) total.Add(w[j], v[static_cast<std::ptrdiff_t>(i + j) * lanes]);
        if (there(i - j)) total.Add(w[j], v[static_cast<std::ptrdiff_t>(i - j) * lanes]);
    }
    return total.sum / total.norm;
}

}  // namespace

void FilterLine(const float* v, int length, int lanes, HalfKernel kernel, AbsentSample absent,
                float* out) {
    FilterLine(v, length, lanes, kernel, absent, 0, length, out);
}

void FilterLine(const float* v, int length, int lanes, HalfKernel kernel, AbsentSample absent,
                int begin, int end, float* out) {
    const int taps = static_cast<int>(kernel.size());
    const int middleBegin = std::min(length, taps);
    const int middleEnd = middleBegin + std::max(length - 2 * taps, 0);
    const auto border = [&](int from, int to) {
        for (int i = from; i < to; ++i) {
            for (int k = 0; k < lanes; ++k) {
                out[static_cast<std::ptrdiff_t>(i) * lanes + k] =
                    FilterBorder(v + k, i, length, lanes, kernel, absent);
            }
        }
    };
    border(begin, std::min(end, middleBegin));
    std::ptrdiff_t p = static_cast<std::ptrdiff_t>(std::max(begin, middleBegin)) * lanes;
    const std::ptrdiff_t stop = static_cast<std::ptrdiff_t>(std::min(end, middleEnd)) * lanes;
    for (; p + kBlock <= stop; p += kBlock) FilterMiddle<kBlock>(v + p, lanes, kernel, out + p);
    for (; p < stop; ++p) FilterMiddle<1>(v + p, lanes, kernel, out + p);
    border(std::max(begin, middleEnd), end);
}

}  // namespace velorin
