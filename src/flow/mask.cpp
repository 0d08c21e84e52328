#include "flow/mask.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "image/copy.h"
#include "image/parallel_rows.h"
#include "image/rounding.h"

namespace velorin {

namespace {

// One axis of a rectangle in an image: the samples `begin` up to `end` are inside; those before
// take the value of `lowEdge`, those after that of `highEdge`. An edge may have been rounded
// outward and then keeps its own. Where a limit is not a number, nothing is outside on its side.
struct AxisLimits {
    AxisLimits(float one, float other, int newSize)
        : low(one), high(other), size(newSize), end(newSize) {
        if (low > high) std::swap(low, high);
        while (begin < size && static_cast<float>(begin) < low) ++begin;
        while (end > begin && static_cast<float>(end - 1) > high) --end;
        lowEdge = std::clamp(Truncate(low + 0.5f), 0, size - 1);
        highEdge = std::clamp(Truncate(high + 0.5f), 0, size - 1);
    }
    bool OutsideImage() const { return high < 0.0f || low > static_cast<float>(size); }
    // Calls copy(to, from) for every sample outside.
    template <typename Copy>
    void ForEachOutside(const Copy& copy) const {
        for (int i = 0; i < begin; ++i) copy(i, lowEdge);
        for (int i = end; i < size; ++i) copy(i, highEdge);
    }

    float low, high;
    int size;
    int begin = 0, end;
    int lowEdge, highEdge;
};

void CopyPixels(const ZPImage& image, char* to, const char* from, int count, int keptBytes) {
    if (to == from) return;
    const std::size_t size = image.pixelBytes;
    if (keptBytes == 0) {
        std::memcpy(to, from, count * size);
        return;
    }
    for (int i = 0; i < count; ++i) {
        std::memcpy(to + i * size, from + i * size, size - keptBytes);
    }
}

bool IsMask(const ZPImage* image) {
    return image && image->data && image->pixelType == ZPPixUChar && image->channels == 1;
}

// Calls work(copy) with an image of the mask's size; answers 1 without memory for it.
template <typename Work>
int WithCopy(ZPImage* mask, Work&& work) {
    if (!IsMask(mask)) return 0;
    ZPImage copy(0, mask->width, mask->height, 1, ZPPixUChar, 0);
    if (copy.error != ZPErrNone) return 1;
    work(copy);
    return 0;
}

// pixel = rule(pixel, sum) for all pixels but the outer columns and `reach` outer rows; the sum is
// of the mask as it was: three pixels each `reach` rows above and below, and those to both sides.
template <typename Rule>
void ApplyToNeighbours(ZPImage& mask, ZPImage& copy, int reach, Rule rule) {
    CopyExact(&copy, &mask);
    const int rows = mask.height - 2 * reach;
    if (rows < 1) return;
    ParallelRows(rows, [&](int firstRow, int lastRow) {
        for (int y = firstRow + reach; y <= lastRow + reach; ++y) {
            const std::uint8_t* above = copy.Row<std::uint8_t>(y - reach);
            const std::uint8_t* here = copy.Row<std::uint8_t>(y);
            const std::uint8_t* below = copy.Row<std::uint8_t>(y + reach);
            std::uint8_t* pixel = mask.Row<std::uint8_t>(y);
            for (int x = 1; x < mask.lastColumn; ++x) {
                const int sum = above[x - 1] + above[x] + above[x + 1] + here[x - 1] + here[x + 1] +
                                below[x - 1] + below[x] + below[x + 1];
                pixel[x] = rule(here[x], sum);
            }
        }
    });
}

void GrowOnce(ZPImage& mask, ZPImage& copy, int threshold, int value) {
    const auto grown = static_cast<std::uint8_t>(value);
    ApplyToNeighbours(mask, copy, 1, [=](std::uint8_t pixel, int sum) {
        return pixel == 0 && sum > threshold ? grown : pixel;
    });
}

void ExtendBorderOfMask(ZPImage& mask) {
    ExtendBorder(mask, 1, 1.0f, 1.0f, static_cast<float>(mask.width - 2),
                 static_cast<float>(mask.height - 2));
}

// Half of it, to the nearest; halves go up.
int Halved(int value) {
    return TruncateInside(static_cast<float>(value) * 0.5f + 0.5f);
}

}  // namespace

void ExtendBorder(ZPImage& image, int keepLastChannel, float x0, float y0, float x1, float y1) {
    if (image.width < 1 || image.height < 1) return;
    const AxisLimits columns(x0, x1, image.width);
    const AxisLimits rows(y0, y1, image.height);
    if (columns.OutsideImage() || rows.OutsideImage()) return ClearImage(&image);
    const int keptBytes = keepLastChannel && image.channels == 4 ? image.channelBytes : 0;
    rows.ForEachOutside([&](int to, int from) {
        CopyPixels(image, image.Row<char>(to), image.Row<char>(from), image.width, keptBytes);
    });
    const std::size_t pixelBytes = image.pixelBytes;
    ParallelRows(image.height, [&](int firstRow, int lastRow) {
        for (int y = firstRow; y <= lastRow; ++y) {
            char* row = image.Row<char>(y);
            columns.ForEachOutside([&](int to, int from) {
                CopyPixels(image, row + to * pixelBytes, row + from * pixelBytes, 1, keptBytes);
            });
        }
    });
}

int GrowMask(ZPImage* mask, int threshold, int value) {
    return WithCopy(mask, [&](ZPImage& copy) { GrowOnce(*mask, copy, threshold, value); });
}

int GrowMaskRamp(ZPImage* mask, int steps) {
    return WithCopy(mask, [&](ZPImage& copy) {
        int threshold = 254;
        int value = 128;
        for (int i = 0; i < std::min(steps, 7); ++i) {
            GrowOnce(*mask, copy, threshold, value);
            ExtendBorderOfMask(*mask);
            threshold = Halved(threshold);
            value = Halved(value);
        }
    });
}

int GrowMaskHard(ZPImage* mask, int steps) {
    return WithCopy(mask, [&](ZPImage& copy) {
        for (int i = 0; i < steps; ++i) {
            GrowOnce(*mask, copy, 254, 255);
            ExtendBorderOfMask(*mask);
        }
    });
}

int ShrinkMaskByRows(ZPImage* mask, int steps) {
    return WithCopy(mask, [&](ZPImage& copy) {
        int threshold = 254;
        // No sum is above 8 * 255: the ninth step clears what the rule reaches, further ones
        // nothing.
        for (int i = 0; i < std::min(steps, 9); ++i) {
            ApplyToNeighbours(*mask, copy, 2, [=](std::uint8_t pixel, int sum) {
                return sum < threshold ? std::uint8_t{0} : pixel;
            });
            threshold += 255;
        }
    });
}

int ThickenRows(ZPImage* mask) {
    return WithCopy(mask, [&](ZPImage& copy) {
        CopyExact(&copy, mask);
        for (int y = 1; y < mask->lastRow; ++y) {
            const std::uint8_t* above = copy.Row<std::uint8_t>(y - 1);
            const std::uint8_t* below = copy.Row<std::uint8_t>(y + 1);
            std::uint8_t* pixel = mask->Row<std::uint8_t>(y);
            for (int x = 0; x < mask->width; ++x) {
                if (above[x] == 255 || below[x] == 255) pixel[x] = 255;
            }
        }
    });
}

}  // namespace velorin
