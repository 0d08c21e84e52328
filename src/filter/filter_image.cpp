#include "filter/filter_image.h"

#include <algorithm>

#include "image/parallel_rows.h"
#include "image/pixel_form.h"
#include "image/rounding.h"

namespace velorin {

namespace {

AbsentSample AbsentIn(const ZPImage& image) {
    return image.channels == 1 ? AbsentSample::kBeyondLine : AbsentSample::kMinusOne;
}

template <typename Value>
void FilterRows(ZPImage& dest, const ZPImage& source, HalfKernel kernel, int firstRow,
                int lastRow) {
    float line[kLineBufferSamples];
    float filtered[kLineBufferSamples];
    const int samples = source.width * source.channels;
    for (int y = firstRow; y <= lastRow; ++y) {
        const Value* from = source.Row<Value>(y);
        Value* to = dest.Row<Value>(y);
        for (int i = 0; i < samples; ++i) line[i] = static_cast<float>(from[i]);
        FilterLine(line, source.width, source.channels, kernel, AbsentIn(source), filtered);
        for (int i = 0; i < samples; ++i) to[i] = RoundClamped<Value>(filtered[i]);
    }
}

// Neighbouring columns, and the channels within them, are lanes of one line: what lies side by side
// in a row stays side by side in the buffer.
template <typename Value>
void FilterColumnTile(ZPImage& image, HalfKernel kernel, int firstSample, int lanes, float* lines,
                      float* filtered) {
    for (int y = 0; y < image.height; ++y) {
        const Value* from = image.Row<Value>(y) + firstSample;
        float* to = lines + static_cast<std::ptrdiff_t>(y) * lanes;
        for (int k = 0; k < lanes; ++k) to[k] = static_cast<float>(from[k]);
    }
    FilterLine(lines, image.height, lanes, kernel, AbsentIn(image), filtered);
    for (int y = 0; y < image.height; ++y) {
        const float* from = filtered + static_cast<std::ptrdiff_t>(y) * lanes;
        Value* to = image.Row<Value>(y) + firstSample;
        for (int k = 0; k < lanes; ++k) to[k] = RoundClamped<Value>(from[k]);
    }
}

template <typename Value>
void FilterColumns(ZPImage& image, HalfKernel kernel, int firstColumn, int lastColumn) {
    constexpr int kWidestTile = 16;
    float lines[kLineBufferSamples];
    float filtered[kLineBufferSamples];
    const int widest = std::min(kWidestTile, kLineBufferSamples / image.height);
    const int end = (lastColumn + 1) * image.channels;
    for (int sample = firstColumn * image.channels; sample < end; sample += widest) {
        FilterColumnTile<Value>(image, kernel, sample, std::min(widest, end - sample), lines,
                                filtered);
    }
}

void CheckLine(int length, HalfKernel kernel) {
    if (length + 2 * static_cast<int>(kernel.size()) > kMaxLineLength) throw ZPErrBadArgument;
}

}  // namespace

void CheckFilterSize(const ZPImage& image, HalfKernel kernel) {
    CheckLine(image.width, kernel);
    CheckLine(image.height, kernel);
}

void FilterImage(ZPImage& dest, const ZPImage& source, HalfKernel kernel, FilterPass pass) {
    if (dest.channels < 1 || dest.channels > 4 || dest.width < 1 || dest.height < 1) return;
    WithPictureType(dest.pixelType, [&](auto zero) {
        using Value = decltype(zero);
        if (pass != FilterPass::kColumns) {
            CheckLine(dest.width, kernel);
            ParallelRows(dest.height, [&](int firstRow, int lastRow) {
                FilterRows<Value>(dest, source, kernel, firstRow, lastRow);
            });
        }
        if (pass != FilterPass::kRows) {
            CheckLine(dest.height, kernel);
            ParallelRows(dest.width, [&](int firstColumn, int lastColumn) {
                FilterColumns<Value>(dest, kernel, firstColumn, lastColumn);
            });
        }
    });
}

}  // namespace velorin
