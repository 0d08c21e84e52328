#include "cli/shrunken_picture.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <numeric>

#include "image/parallel_rows.h"
#include "image/pixel_form.h"

namespace velorin {

namespace {

constexpr int kChannels = 4;
constexpr int kColours = 3;
constexpr float kWhite = 255.0f;
constexpr float kBrightest = 2.0f;  // of white

template <typename Value>
constexpr float kWhiteOf = static_cast<float>(PictureType<Value>::kWhite);

template <typename Value>
float Limited(Value sample) {
    if constexpr (std::is_floating_point_v<Value>) {
        return sample > 0.0f ? std::min(sample, kBrightest) : 0.0f;
    } else {
        return sample;
    }
}

// The pixels from `begin` on that belong to cell `cell` of `cells` along a side.
struct CellSpan {
    int begin;
    int end;
};
CellSpan SpanOf(int cell, int cells, int side) {
    return {cell * side / cells, (cell + 1) * side / cells};
}

template <typename Value>
void ShrinkRows(const Picture& picture, ShrunkenPicture& shrunken, int firstRow, int lastRow) {
    const auto* samples = reinterpret_cast<const Value*>(picture.pixels.data());
    for (int y = firstRow; y <= lastRow; ++y) {
        const CellSpan rows = SpanOf(y, shrunken.height, picture.height);
        for (int x = 0; x < shrunken.width; ++x) {
            const CellSpan columns = SpanOf(x, shrunken.width, picture.width);
            float sums[kColours] = {};
            for (int line = rows.begin; line < rows.end; ++line) {
                const Value* pixel =
                    samples +
                    (static_cast<std::size_t>(line) * picture.width + columns.begin) * kChannels;
                for (int i = columns.begin; i < columns.end; ++i, pixel += kChannels) {
                    for (int c = 0; c < kColours; ++c) sums[c] += Limited(pixel[c]);
                }
            }
            const int count = (rows.end - rows.begin) * (columns.end - columns.begin);
            const float scale = kWhite / (kWhiteOf<Value> * static_cast<float>(count));
            const float luma = (0.299f * sums[0] + 0.587f * sums[1] + 0.114f * sums[2]) * scale;
            const std::size_t place = static_cast<std::size_t>(y) * shrunken.width + x;
            shrunken.luma[place] = luma;
            shrunken.blue[place] = sums[2] * scale - luma;
            shrunken.red[place] = sums[0] * scale - luma;
        }
    }
}

// Means of three neighbours, the middle one counted twice; the ends stand for those beyond.
void SmoothLine(float* line, int length, std::ptrdiff_t step) {
    float before = line[0];
    for (int i = 0; i < length; ++i) {
        const float middle = line[i * step];
        const float behind = i + 1 < length ? line[(i + 1) * step] : middle;
        line[i * step] = (before + 2.0f * middle + behind) / 4.0f;
        before = middle;
    }
}

void Smooth(std::vector<float>& plane, int width, int height) {
    for (int y = 0; y < height; ++y) {
        SmoothLine(plane.data() + static_cast<std::ptrdiff_t>(y) * width, width, 1);
    }
    for (int x = 0; x < width; ++x) SmoothLine(plane.data() + x, height, width);
}

// In hundredths of white.
template <typename Value>
float ChangeOfSquare(const Picture& one, const Picture& other, int left, int top) {
    const int right = std::min(left + kChangeSide, one.width);
    const int bottom = std::min(top + kChangeSide, one.height);
    float sum = 0.0f;
    for (int y = top; y < bottom; ++y) {
        const std::size_t start = (static_cast<std::size_t>(y) * one.width + left) * kChannels;
        const Value* a = reinterpret_cast<const Value*>(one.pixels.data()) + start;
        const Value* b = reinterpret_cast<const Value*>(other.pixels.data()) + start;
        for (int x = left; x < right; ++x, a += kChannels, b += kChannels) {
            for (int c = 0; c < kColours; ++c) sum += std::fabs(Limited(a[c]) - Limited(b[c]));
        }
    }
    const auto count = static_cast<float>((right - left) * (bottom - top) * kColours);
    return sum * 100.0f / (kWhiteOf<Value> * count);
}

}  // namespace

ShrunkenPicture Shrink(const Picture& picture) {
    constexpr int kLongest = ShrunkenPicture::kLongestSide;
    const int longer = std::max(picture.width, picture.height);
    const auto cellsOf = [&](int side) {
        return longer <= kLongest ? side : std::max(1, side * kLongest / longer);
    };
    ShrunkenPicture shrunken;
    shrunken.width = cellsOf(picture.width);
    shrunken.height = cellsOf(picture.height);
    const auto cells = static_cast<std::size_t>(shrunken.width) * shrunken.height;
    for (auto* plane : {&shrunken.luma, &shrunken.blue, &shrunken.red}) plane->resize(cells);
    WithPictureType(picture.pixelType, [&](auto zero) {
        ParallelRows(shrunken.height, [&](int firstRow, int lastRow) {
            ShrinkRows<decltype(zero)>(picture, shrunken, firstRow, lastRow);
        });
    });
    for (auto* plane : {&shrunken.luma, &shrunken.blue, &shrunken.red}) {
        Smooth(*plane, shrunken.width, shrunken.height);
    }
    return shrunken;
}

float ChangeBetween(const Picture& one, const Picture& other) {
    const int bands = (one.height + kChangeSide - 1) / kChangeSide;
    const int squares = (one.width + kChangeSide - 1) / kChangeSide;
    std::vector<float> changes(static_cast<std::size_t>(bands) * squares);
    WithPictureType(one.pixelType, [&](auto zero) {
        ParallelRows(bands, [&](int firstBand, int lastBand) {
            for (int band = firstBand; band <= lastBand; ++band) {
                for (int i = 0; i < squares; ++i) {
                    changes[static_cast<std::size_t>(band) * squares + i] =
                        ChangeOfSquare<decltype(zero)>(one, other, i * kChangeSide,
                                                       band * kChangeSide);
                }
            }
        });
    });
    std::sort(changes.begin(), changes.end(), std::greater<float>());
    const std::size_t most = std::max<std::size_t>(1, changes.size() / 10);
    return std::accumulate(changes.begin(), changes.begin() + static_cast<std::ptrdiff_t>(most),
                           0.0f) /
           static_cast<float>(most);
}

}  // namespace velorin
