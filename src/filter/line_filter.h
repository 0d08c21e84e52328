#pragma once

#include <span>

namespace velorin {

// Half of a symmetric kernel: w[0] for the centre, w[1] to w[n-1] for the two sides.
using HalfKernel = std::span<const float>;

// What counts as absent near a line's ends, besides what lies beyond them.
enum class AbsentSample {
    kBeyondLine,  // nothing else
    kMinusOne,    // a sample of exactly -1.0, although it may be a real one
};

// Samples of a line buffer with everything that the workers' stacks must hold.
inline constexpr int kLineBufferSamples = 65536;
// Samples along a line, both margins included.
inline constexpr int kMaxLineLength = 16384;

// Filters `lanes` interleaved lines of `length` samples each: sample i of lane k is v[i * lanes +
// k]. Lanes never mix. `out` may not overlap `v`. With `begin` and `end` only the outputs from the
// one up to the other are written.
//
// The first min(length, n) and, of the rest, all but max(length - 2n, 0) outputs are border: their
// sum is divided by the weights of the samples that were there. The others are the plain sum, since
// a kernel's weights sum to 1.
void FilterLine(const float* v, int length, int lanes, HalfKernel kernel, AbsentSample absent,
                float* out);
void FilterLine(const float* v, int length, int lanes, HalfKernel kernel, AbsentSample absent,
                int begin, int end, float* out);

}  // namespace velorin
