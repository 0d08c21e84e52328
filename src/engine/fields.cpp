#include "engine/fields.h"

#include <cstring>
#include <type_traits>

#include "image/parallel_rows.h"
#include "image/pixel_form.h"

namespace velorin {

namespace {

template <typename Value>
Value MeanOf(Value a, Value b) {
    if constexpr (std::is_floating_point_v<Value>) {
        return (a + b) * 0.5f;
    } else {
        return static_cast<Value>((a + b + 1) / 2);
    }
}

// Replaces every second row from `row` downwards, in the given columns. What is read stays.
template <typename Value>
void ReplaceRows(ZPImage& image, int row, int firstColumn, int lastColumn) {
    const int first = firstColumn * image.channels;
    const int end = (lastColumn + 1) * image.channels;
    for (; row >= 0; row -= 2) {
        const int up = row > 0 ? row - 1 : row + 1;
        const int down = row < image.lastRow ? row + 1 : row - 1;
        const Value* a = image.Row<Value>(up);
        const Value* b = image.Row<Value>(down);
        Value* out = image.Row<Value>(row);
        for (int i = first; i < end; ++i) out[i] = MeanOf(a[i], b[i]);
    }
}

}  // namespace

ExtractMode ExtractModeOf(int field, int inputFields) {
    // On purpose no odd number below 0: those count as first fields.
    const bool isSecond = field > 0 && field % 2 != 0;
    const bool lowerFirst = inputFields == 2;
    return isSecond == lowerFirst ? kReplaceOddRows : kReplaceEvenRows;
}

WeaveMode WeaveModeOf(int outputFields) {
    return outputFields == 1 ? kTakeOddRows : kTakeEvenRows;
}

void ExtractField(ZPImage& image, int mode) {
    if (mode == kReplaceNothing || image.height < 2) return;
    const int row = mode == kReplaceEvenRows ? image.lastRow : image.lastRow - 1;
    WithPictureType(image.pixelType, [&](auto zero) {
        ParallelRows(image.width, [&](int firstColumn, int lastColumn) {
            ReplaceRows<decltype(zero)>(image, row, firstColumn, lastColumn);
        });
    });
}

void WeaveFields(ZPImage& first, const ZPImage& second, int mode) {
    if (mode == kTakeNothing || ShapeDiffers(&first, &second)) return;
    if (first.pixelType != second.pixelType) return;
    const int row = mode == kTakeEvenRows ? first.lastRow : first.lastRow - 1;
    ParallelRows(first.width, [&](int firstColumn, int lastColumn) {
        const std::ptrdiff_t start = static_cast<std::ptrdiff_t>(firstColumn) * first.pixelBytes;
        const std::size_t bytes =
            static_cast<std::size_t>(lastColumn - firstColumn + 1) * first.pixelBytes;
        for (int y = row; y >= 0; y -= 2) {
            std::memcpy(first.Row<char>(y) + start, second.Row<char>(y) + start, bytes);
        }
    });
}

}  // namespace velorin
