#include "filter/line_filter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <vector>

#include "support/noise.h"

namespace velorin {
namespace {

// The line filter as it is told: one line in a buffer with a margin of a kernel's length on each
// side, each output on its own.
std::vector<float> PlainLine(const std::vector<float>& line, const std::vector<float>& w,
                             AbsentSample absent) {
    const int length = static_cast<int>(line.size());
    const int n = static_cast<int>(w.size());
    std::vector<float> padded(length + 2 * n, -1.0f);
    std::copy(line.begin(), line.end(), padded.begin() + n);
    const float* v = padded.data() + n;
    const int middleBegin = std::min(length, n);
    const int middleEnd = middleBegin + std::max(length - 2 * n, 0);
    std::vector<float> out(length);
    for (int i = 0; i < length; ++i) {
        const bool middle = i >= middleBegin && i < middleEnd;
        float sum = w[0] * v[i];
        float norm = w[0];
        for (int j = n - 1; j >= 1; --j) {
            if (middle) {
                sum += w[j] * (v[i + j] + v[i - j]);
                continue;
            }
            for (int at : {i + j, i - j}) {
                const bool there =
                    absent == AbsentSample::kMinusOne ? v[at] != -1.0f : at >= 0 && at < length;
                if (!there) continue;
                sum += w[j] * v[at];
                norm += w[j];
            }
        }
        out[i] = middle ? sum : sum / norm;
    }
    return out;
}

constexpr float kUntouched = 777.0f;

// What an estimator's images hold, and what trips careless arithmetic.
float Sample(Noise& noise) {
    constexpr float kTrying[] = {-1.0f, -1.0f, -1.0f, -0.0f, 1e-41f, 0.0f};
    const int kind = noise.Int(0, 309);
    if (kind == 0) return std::numeric_limits<float>::quiet_NaN();
    if (kind == 1) return std::numeric_limits<float>::infinity();
    return kind < 60 ? kTrying[kind % 6] : noise.Float(-3.0f, 3.0f);
}

void CompareWithPlain(Noise& noise, int length, int lanes, int taps, AbsentSample absent) {
    const std::vector<float> w = noise.Floats(taps, 0.01f, 1.0f);
    std::vector<float> v(static_cast<std::size_t>(length) * lanes);
    for (float& sample : v) sample = Sample(noise);
    std::vector<float> out(v.size() + 16, kUntouched);
    FilterLine(v.data(), length, lanes, w, absent, out.data());

    for (int k = 0; k < lanes; ++k) {
        std::vector<float> line(length);
        for (int i = 0; i < length; ++i) line[i] = v[i * lanes + k];
        const std::vector<float> plain = PlainLine(line, w, absent);
        for (int i = 0; i < length; ++i) EXPECT_SAME_BITS(out[i * lanes + k], plain[i]);
    }
    for (std::size_t i = v.size(); i < out.size(); ++i) EXPECT_SAME_BITS(out[i], kUntouched);

    const int begin = noise.Int(0, length), end = noise.Int(begin, length);
    std::vector<float> part(v.size(), kUntouched);
    FilterLine(v.data(), length, lanes, w, absent, begin, end, part.data());
    for (int i = 0; i < length * lanes; ++i) {
        const bool inside = i >= begin * lanes && i < end * lanes;
        EXPECT_SAME_BITS(part[i], inside ? out[i] : kUntouched);
    }
}

// Lengths below, at and above one and two kernels, and past several blocks of side-by-side outputs
// with every remainder; lanes up to those of a tile of columns.
TEST(LineFilter, EqualsPlainRuleToTheBit) {
    Noise noise(1);
    for (int taps : {1, 2, 3, 5, 8}) {
        for (int length = 1; length <= 2 * taps + 37; ++length) {
            for (int lanes : {1, 2, 3, 4, 13, 16}) {
                const AbsentSample absent =
                    lanes == 1 ? AbsentSample::kBeyondLine : AbsentSample::kMinusOne;
                CompareWithPlain(noise, length, lanes, taps, absent);
            }
        }
    }
    CompareWithPlain(noise, 700, 1, 300, AbsentSample::kBeyondLine);
}

TEST(LineFilter, MinusOneIsAbsentOnlyNearTheEnds) {
    const std::vector<float> w = {0.5f, 0.25f};
    const std::vector<float> v = {3, -1, 3, 3, -1, 3, 3, 3};
    std::vector<float> out(8);
    FilterLine(v.data(), 8, 1, w, AbsentSample::kMinusOne, out.data());
    EXPECT_SAME_BITS(out[0], 3.0f);  // the neighbour is dropped
    EXPECT_SAME_BITS(out[1], 1.0f);  // the centre always counts
    EXPECT_SAME_BITS(out[3], 2.0f);  // further in it is a sample like any other
    FilterLine(v.data(), 8, 1, w, AbsentSample::kBeyondLine, out.data());
    EXPECT_SAME_BITS(out[0], (1.5f - 0.25f) / 0.75f);
}

TEST(LineFilter, Pinned) {
    const std::vector<float> w = {0.4f, 0.2f, 0.1f};
    const std::vector<float> v = {0.1f, 7.3f, -2.9f, 5.7f, 1.1f, 0.3f, -4.7f};
    std::vector<float> out(7);
    FilterLine(v.data(), 7, 1, w, AbsentSample::kBeyondLine, out.data());
    EXPECT_SAME_BITS(out[0], 0x1.ba83aap+0f);
    EXPECT_SAME_BITS(out[3], 0x1.570a3cp+1f);
    EXPECT_SAME_BITS(out[6], -0x1.38af8cp+1f);
}

}  // namespace
}  // namespace velorin
