#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "filter/line_filter.h"
#include "image/pixel_type.h"

namespace velorin {

// The line filter as it is told: one line in a buffer with a margin of a kernel's length on each
// side, each output on its own.
inline std::vector<float> PlainLine(const std::vector<float>& line, const std::vector<float>& w,
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

// A value as a pixel of that type stores it.
inline float PlainStored(int pixelType, float value) {
    if (pixelType == ZPPixFloat) return value;
    const float white = pixelType == ZPPixUChar ? 255.0f : 65535.0f;
    const float raised = value + 0.5f;
    if (!(raised >= 0.0f)) return 0.0f;
    return raised >= white ? white : std::trunc(raised);
}

}  // namespace velorin
