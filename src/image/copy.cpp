#include "image/copy.h"

#include <algorithm>
#include <cstring>

#include "image/parallel_rows.h"
#include "image/pixel_form.h"
#include "image/rounding.h"

namespace velorin {

namespace {

// A rectangle in two images: its corner in each, and its size.
struct RectPair {
    int toX, toY;
    int fromX, fromY;
    int width, height;
};

// Centres two sizes on each other along one axis.
struct Centring {
    Centring(int toSize, int fromSize)
        : size(std::min(toSize, fromSize)),
          toOffset((toSize - size) / 2),
          fromOffset((fromSize - size) / 2) {}
    int size, toOffset, fromOffset;
};

RectPair CentreImages(const ZPImage& to, const ZPImage& from) {
    const Centring across(to.width, from.width);
    const Centring down(to.height, from.height);
    return {across.toOffset, down.toOffset, across.fromOffset,
            down.fromOffset, across.size,   down.size};
}

bool CoversWhole(const RectPair& rect, const ZPImage& image) {
    return rect.toX == 0 && rect.toY == 0 && rect.fromX == 0 && rect.fromY == 0 &&
           image.width == rect.width && image.height == rect.height;
}

void CopyRowBytes(ZPImage& to, const ZPImage& from, std::size_t bytes) {
    ParallelRows(to.height, [&](int firstRow, int lastRow) {
        for (int y = firstRow; y <= lastRow; ++y) {
            std::memcpy(to.Row<char>(y), from.Row<char>(y), bytes);
        }
    });
}

void CopyRectBytes(ZPImage& to, const ZPImage& from, const RectPair& rect) {
    if (CoversWhole(rect, to) && CoversWhole(rect, from)) {
        CopyRowBytes(to, from, from.RowPixelBytes());
        return;
    }
    const std::size_t toStart = static_cast<std::size_t>(rect.toX) * to.pixelBytes;
    const std::size_t fromStart = static_cast<std::size_t>(rect.fromX) * from.pixelBytes;
    const std::size_t bytes = static_cast<std::size_t>(rect.width) * to.pixelBytes;
    for (int i = 0; i < rect.height; ++i) {
        std::memcpy(to.Row<char>(rect.toY + i) + toStart,
                    from.Row<char>(rect.fromY + i) + fromStart, bytes);
    }
}

// Passes every value of the rectangle through `convert`; both images are walked by `channels`.
template <typename To, typename From, typename Convert>
void ConvertRect(ZPImage& to, const ZPImage& from, const RectPair& rect, int channels,
                 const Convert& convert) {
    ParallelRows(rect.height, [&](int firstRow, int lastRow) {
        const int count = rect.width * channels;
        for (int i = firstRow; i <= lastRow; ++i) {
            To* out = to.Row<To>(rect.toY + i) + rect.toX * channels;
            const From* in = from.Row<From>(rect.fromY + i) + rect.fromX * channels;
            for (int j = 0; j < count; ++j) out[j] = convert(in[j]);
        }
    });
}

void ScaleRect(ZPImage& to, const ZPImage& from, const RectPair& rect) {
    const float k = to.whitePoint / from.whitePoint;
    WithTypePair(to.pixelType, from.pixelType, [&](auto toZero, auto fromZero) {
        using To = decltype(toZero);
        using From = decltype(fromZero);
        ConvertRect<To, From>(to, from, rect, from.channels, [k](From value) {
            return RoundUnclamped<To>(static_cast<float>(value) * k);
        });
    });
}

void CastRect(ZPImage& to, const ZPImage& from, const RectPair& rect) {
    WithTypePair(to.pixelType, from.pixelType, [&](auto toZero, auto fromZero) {
        using To = decltype(toZero);
        using From = decltype(fromZero);
        ConvertRect<To, From>(to, from, rect, from.channels,
                              [](From value) { return PlainCast<To>(value); });
    });
}

}  // namespace

void ClearImage(ZPImage* image) {
    if (!image || image->width < 1) return;
    ParallelRows(image->height, [image](int firstRow, int lastRow) {
        for (int y = firstRow; y <= lastRow; ++y) {
            std::memset(image->Row<char>(y), 0, image->RowPixelBytes());
        }
    });
}

void CopyExact(ZPImage* destination, const ZPImage* source) {
    if (ShapeDiffers(destination, source)) return;
    CopyRowBytes(*destination, *source, source->RowPixelBytes());
}

void CopyCentred(ZPImage* destination, ZPImage* source) {
    if (!destination || !source) return;
    if (!ShapeDiffers(destination, source)) {
        CopyExact(destination, source);
        return;
    }
    const RectPair rect = CentreImages(*destination, *source);
    CopyRegion(*destination, rect.toX, rect.toY, *source, rect.fromX, rect.fromY, rect.width,
               rect.height);
}

void CopyConverted(ZPImage& destination, const ZPImage& source) {
    if (!ShapeDiffers(&destination, &source) && destination.whitePoint == source.whitePoint) {
        CopyExact(&destination, &source);
        return;
    }
    const RectPair rect = CentreImages(destination, source);
    CopyRect(destination, rect.toX, rect.toY, source, rect.fromX, rect.fromY, rect.width,
             rect.height);
}

void CopyRect(ZPImage& destination, int dstX, int dstY, const ZPImage& source, int srcX, int srcY,
              int width, int height) {
    const RectPair rect{dstX, dstY, srcX, srcY, width, height};
    if (destination.pixelType == source.pixelType && destination.whitePoint == source.whitePoint) {
        CopyRectBytes(destination, source, rect);
    } else {
        ScaleRect(destination, source, rect);
    }
}

void CopyRegion(ZPImage& first, int dstX, int dstY, ZPImage& second, int srcX, int srcY, int width,
                int height) {
    if (first.pixelType == second.pixelType) {
        CopyRectBytes(first, second, {dstX, dstY, srcX, srcY, width, height});
        return;
    }
    // On purpose the other way round: with two pixel types the second image is the one written.
    CastRect(second, first, {srcX, srcY, dstX, dstY, width, height});
}

}  // namespace velorin
