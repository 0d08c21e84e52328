#pragma once

#include <algorithm>
#include <vector>

#include "filter/line_filter.h"
#include "support/gap_image.h"

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

// A value as it is written: what writes an integer cuts it. NaN becomes 0.
inline float PlainStored(const ZPImage& image, float value) {
    if (image.pixelType == ZPPixFloat) return value;
    return std::min(std::max(0.0f, value + 0.5f), image.whitePoint);
}

// Makes every line of an image along one axis, channel by channel, what filter(line) answers.
template <typename Filter>
void FilterEachLine(ZPImage& image, bool alongX, const Filter& filter) {
    std::vector<float> line(alongX ? image.width : image.height);
    const int length = static_cast<int>(line.size());
    for (int c = 0; c < image.channels; ++c) {
        for (int at = 0; at < (alongX ? image.height : image.width); ++at) {
            for (int i = 0; i < length; ++i) {
                line[i] = alongX ? ValueAt(image, i, at, c) : ValueAt(image, at, i, c);
            }
            const std::vector<float> filtered = filter(line);
            for (int i = 0; i < length; ++i) {
                PutValue(image, alongX ? i : at, alongX ? at : i, c,
                         PlainStored(image, filtered[i]));
            }
        }
    }
}

}  // namespace velorin
