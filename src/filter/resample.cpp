#include "filter/resample.h"

#include <algorithm>

#include "image/bilinear.h"
#include "image/parallel_rows.h"
#include "image/pixel_form.h"

namespace velorin {

namespace {

float ScaleOf(int sourceSide, int destSide) {
    if (destSide < 2) return 0.0f;
    return static_cast<float>(sourceSide - 1) / static_cast<float>(destSide - 1);
}

// The neighbour after a sample, or the sample itself in an image of one row or column.
int After(int index, int last) {
    return std::min(index + 1, last);
}

AxisSample LocateOrFirst(float position, int last) {
    return last < 1 ? AxisSample{0, 0.0f} : LocateSample(position, last);
}

template <typename Dest, typename Source>
void ResampleRows(ZPImage& dest, const ZPImage& source, int firstRow, int lastRow) {
    const int channels = dest.channels;
    const float scaleX = ScaleOf(source.width, dest.width);
    const float scaleY = ScaleOf(source.height, dest.height);
    const bool sameWhite = dest.whitePoint == source.whitePoint;
    const float k = dest.whitePoint / source.whitePoint;
    for (int y = firstRow; y <= lastRow; ++y) {
        const AxisSample row = LocateOrFirst(static_cast<float>(y) * scaleY, source.lastRow);
        const Source* top = source.Row<Source>(row.index);
        const Source* bottom = source.Row<Source>(After(row.index, source.lastRow));
        Dest* out = dest.Row<Dest>(y);
        for (int x = 0; x < dest.width; ++x) {
            const AxisSample column =
                LocateOrFirst(static_cast<float>(x) * scaleX, source.lastColumn);
            const int left = column.index * channels;
            const int right = After(column.index, source.lastColumn) * channels;
            for (int c = 0; c < channels; ++c) {
                const float value =
                    MixSquare(static_cast<float>(top[left + c]), static_cast<float>(top[right + c]),
                              static_cast<float>(bottom[left + c]),
                              static_cast<float>(bottom[right + c]), column.weight, row.weight);
                *out++ = RoundUnclamped<Dest>(sameWhite ? value : value * k);
            }
        }
    }
}

}  // namespace

void Resample(ZPImage& dest, const ZPImage& source) {
    if (dest.channels != source.channels) throw ZPErrBadArgument;
    const bool known = WithTypePair(dest.pixelType, source.pixelType, [&](auto to, auto from) {
        ParallelRows(dest.height, [&](int firstRow, int lastRow) {
            ResampleRows<decltype(to), decltype(from)>(dest, source, firstRow, lastRow);
        });
    });
    if (!known) throw ZPErrBadArgument;
}

}  // namespace velorin
