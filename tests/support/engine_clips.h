#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "support/memory_host.h"
#include "support/noise.h"
#include "support/put_each.h"

namespace velorin {

// Calls work(host) for a host that make() gives in each cell of the matrix of methods.
template <typename Make, typename Work>
void ForEachCell(Make&& make, Work&& work) {
    for (int method : {0, 1, 2}) {
        for (int warping : {0, 1, 2, 3}) {
            SCOPED_TRACE("method " + std::to_string(method) + ", warping " +
                         std::to_string(warping));
            auto host = make();
            host.method = method;
            host.warping = warping;
            work(host);
        }
    }
}

// Two frames that are the same on every machine: integer arithmetic alone makes them.
inline std::vector<std::unique_ptr<ZPImage>> GoldenClip() {
    std::vector<std::unique_ptr<ZPImage>> clip;
    for (int n = 0; n < 2; ++n) {
        clip.push_back(std::make_unique<ZPImage>(96, 72, 4, ZPPixUChar, 0));
        PutEach(*clip.back(), [=](int x, int y, int c) {
            const int px = x - 3 * n, py = y + n;
            const int value = 128 + (((px * px + 3 * py * px + c * 40) >> 4) % 100);
            return c == 3 ? 255.0f : static_cast<float>(value);
        });
    }
    return clip;
}

// The mean difference of two 8-bit pictures, `border` pixels away from their borders.
inline double MeanError(const ZPImage& a, const ZPImage& b, int border) {
    double sum = 0.0;
    int count = 0;
    for (int y = border; y < a.height - border; ++y) {
        for (int i = 4 * border; i < 4 * (a.width - border); ++i, ++count) {
            sum += std::abs(a.Row<std::uint8_t>(y)[i] - b.Row<std::uint8_t>(y)[i]);
        }
    }
    return sum / count;
}

}  // namespace velorin
