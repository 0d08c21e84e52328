#include "filter/resample.h"

#include <algorithm>
#include <cstddef>
#include <type_traits>

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

// Columns that are resampled together: their places are found once for all rows of a job.
constexpr int kTileColumns = 256;

// Where the samples of a column's first channel are in a row of the source.
struct ColumnPlace {
    int left, right;
    float weight;
};

struct ColumnTile {
    ColumnTile(const ZPImage& dest, const ZPImage& source, int firstColumn)
        : first(firstColumn), count(std::min(kTileColumns, dest.width - firstColumn)) {
        const float scale = ScaleOf(source.width, dest.width);
        for (int i = 0; i < count; ++i) {
            const AxisSample column =
                LocateOrFirst(static_cast<float>(first + i) * scale, source.lastColumn);
            places[i] = {column.index * source.channels,
                         After(column.index, source.lastColumn) * source.channels, column.weight};
        }
    }

    int first, count;
    ColumnPlace places[kTileColumns];
};

// `channels` is a constant where there is one channel.
template <typename Dest, typename Source, typename Channels>
void ResampleTileRow(ZPImage& dest, const ZPImage& source, const ColumnTile& tile, int y,
                     Channels channels) {
    const AxisSample row =
        LocateOrFirst(static_cast<float>(y) * ScaleOf(source.height, dest.height), source.lastRow);
    const Source* top = source.Row<Source>(row.index);
    const Source* bottom = source.Row<Source>(After(row.index, source.lastRow));
    // Of equal white points exactly 1.0, which changes no value.
    const float k =
        dest.whitePoint == source.whitePoint ? 1.0f : dest.whitePoint / source.whitePoint;
    Dest* out = dest.Row<Dest>(y) + static_cast<std::ptrdiff_t>(tile.first) * channels;
    for (int i = 0; i < tile.count; ++i, out += channels) {
        const ColumnPlace place = tile.places[i];
        for (int c = 0; c < channels; ++c) {
            const float value = MixSquare(
                static_cast<float>(top[place.left + c]), static_cast<float>(top[place.right + c]),
                static_cast<float>(bottom[place.left + c]),
                static_cast<float>(bottom[place.right + c]), place.weight, row.weight);
            out[c] = RoundUnclamped<Dest>(value * k);
        }
    }
}

template <typename Dest, typename Source>
void ResampleRows(ZPImage& dest, const ZPImage& source, int firstRow, int lastRow) {
    for (int x = 0; x < dest.width; x += kTileColumns) {
        const ColumnTile tile(dest, source, x);
        for (int y = firstRow; y <= lastRow; ++y) {
            if (dest.channels == 1) {
                ResampleTileRow<Dest, Source>(dest, source, tile, y,
                                              std::integral_constant<int, 1>());
            } else {
                ResampleTileRow<Dest, Source>(dest, source, tile, y, dest.channels);
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
