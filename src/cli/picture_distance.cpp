#include "cli/picture_distance.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <vector>

#include "image/parallel_rows.h"

namespace velorin {

namespace {

constexpr int kBlock = 8;    // cells a side
constexpr int kReachX = 32;  // of the search, in cells
constexpr int kReachY = 16;
constexpr int kStride = 2;
constexpr float kSame = 1.0f;         // left over of a block that is found
constexpr float kLeastDetail = 6.0f;  // of a block that counts in full
constexpr float kGreatestGain = 2.0f;
constexpr float kLittle = 0.1f;         // novelty that light need not explain
constexpr float kOtherColours = 60.0f;  // way of all values that tells pictures apart by itself

using Plane = std::vector<float>;

float MeanOf(const Plane& plane) {
    float sum = 0.0f;
    for (const float value : plane) sum += value;
    return sum / static_cast<float>(plane.size());
}

float SpreadOf(const Plane& plane, float mean) {
    float sum = 0.0f;
    for (const float value : plane) sum += std::fabs(value - mean);
    return sum / static_cast<float>(plane.size());
}

// `plane` with the mean and, within limits, the spread of `model`.
Plane LitLike(const Plane& plane, const Plane& model) {
    const float mean = MeanOf(plane);
    const float wanted = MeanOf(model);
    const float spread = SpreadOf(plane, mean);
    const float gain = std::clamp(SpreadOf(model, wanted) / std::max(spread, 1e-3f),
                                  1.0f / kGreatestGain, kGreatestGain);
    Plane lit(plane);
    for (float& value : lit) value = (value - mean) * gain + wanted;
    return lit;
}

struct Place {
    int x;
    int y;
};

struct Block {
    int width;
    int height;
    int stride;

    const float* At(const Plane& plane, Place place) const {
        return plane.data() + static_cast<std::size_t>(place.y) * stride + place.x;
    }
    // The mean difference between a block of `one` and another of `other`.
    float Difference(const Plane& one, Place at, const Plane& other, Place there) const {
        const float* a = At(one, at);
        const float* b = At(other, there);
        std::array<float, kBlock> sums{};
        for (int y = 0; y < height; ++y, a += stride, b += stride) {
            if (width == kBlock) {
                for (int x = 0; x < kBlock; ++x) sums[x] += std::fabs(a[x] - b[x]);
            } else {
                for (int x = 0; x < width; ++x) sums[x] += std::fabs(a[x] - b[x]);
            }
        }
        float sum = 0.0f;
        for (const float part : sums) sum += part;
        return sum / static_cast<float>(width * height);
    }
    float Detail(const Plane& plane, Place at) const {
        float sum = 0.0f;
        const float* row = At(plane, at);
        for (int y = 0; y < height; ++y, row += stride) {
            for (int x = 0; x < width; ++x) sum += row[x];
        }
        const float mean = sum / static_cast<float>(width * height);
        float detail = 0.0f;
        row = At(plane, at);
        for (int y = 0; y < height; ++y, row += stride) {
            for (int x = 0; x < width; ++x) detail += std::fabs(row[x] - mean);
        }
        return detail / static_cast<float>(width * height);
    }
};

// What another picture does not explain of a block, or of all.
struct Unexplained {
    float left = 0.0f;
    float novelty = 0.0f;

    Unexplained operator+(const Unexplained& other) const {
        return {left + other.left, novelty + other.novelty};
    }
    Unexplained Over(int count) const {
        return {left / static_cast<float>(count), novelty / static_cast<float>(count)};
    }
};

Unexplained UnexplainedOfBlock(const Block& block, const ShrunkenPicture& one, Place at,
                               const ShrunkenPicture& other, const Plane& otherLuma) {
    Place best = at;
    float least = block.Difference(one.luma, at, otherLuma, at);
    const auto look = [&](Place around, int reachX, int reachY, int stride) {
        const int right = std::min(one.width - block.width, around.x + reachX);
        const int bottom = std::min(one.height - block.height, around.y + reachY);
        for (int y = std::max(0, around.y - reachY); y <= bottom; y += stride) {
            for (int x = std::max(0, around.x - reachX); x <= right; x += stride) {
                const float difference = block.Difference(one.luma, at, otherLuma, {x, y});
                if (difference >= least) continue;
                least = difference;
                best = {x, y};
            }
        }
    };
    if (least > kSame) {
        look(at, kReachX, kReachY, kStride);
        look(best, kStride - 1, kStride - 1, 1);
    }
    const float colour = block.Difference(one.blue, at, other.blue, best) +
                         block.Difference(one.red, at, other.red, best);
    const float left = std::max(0.0f, least + 0.5f * colour - kSame);
    return {left, std::min(1.0f, left / std::max(block.Detail(one.luma, at), kLeastDetail))};
}

// How much of `one` is not in `other`, whose luma is `otherLuma`.
Unexplained UnexplainedOf(const ShrunkenPicture& one, const ShrunkenPicture& other,
                          const Plane& otherLuma) {
    const Block block{std::min(kBlock, one.width), std::min(kBlock, one.height), one.width};
    const int columns = one.width / block.width;
    const int rows = one.height / block.height;
    std::vector<Unexplained> found(static_cast<std::size_t>(rows));
    ParallelRows(rows, [&](int firstRow, int lastRow) {
        for (int row = firstRow; row <= lastRow; ++row) {
            for (int column = 0; column < columns; ++column) {
                const Place at{column * block.width, row * block.height};
                found[row] = found[row] + UnexplainedOfBlock(block, one, at, other, otherLuma);
            }
        }
    });
    return std::accumulate(found.begin(), found.end(), Unexplained()).Over(columns * rows);
}

// The mean way that a value has to go for one distribution to become the other.
float MoversDistance(Plane one, Plane other) {
    std::sort(one.begin(), one.end());
    std::sort(other.begin(), other.end());
    float sum = 0.0f;
    for (std::size_t i = 0; i < one.size(); ++i) sum += std::fabs(one[i] - other[i]);
    return sum / static_cast<float>(one.size());
}

}  // namespace

PictureDistance DistanceOf(const ShrunkenPicture& one, const ShrunkenPicture& other) {
    const Plane oneLit = LitLike(one.luma, other.luma);
    const Plane otherLit = LitLike(other.luma, one.luma);
    const auto unexplained = [&](const Plane& oneLuma, const Plane& otherLuma) {
        return (UnexplainedOf(one, other, otherLuma) + UnexplainedOf(other, one, oneLuma)).Over(2);
    };
    Unexplained found = unexplained(one.luma, other.luma);
    if (found.novelty > kLittle) {
        const Unexplained lit = unexplained(oneLit, otherLit);
        if (lit.novelty < found.novelty) found = lit;
    }
    const float luma =
        std::min(MoversDistance(one.luma, other.luma), MoversDistance(oneLit, other.luma));
    const float colours = MoversDistance(one.blue, other.blue) + MoversDistance(one.red, other.red);
    return {found.left, found.novelty, std::min(1.0f, (luma + colours) / kOtherColours)};
}

}  // namespace velorin
