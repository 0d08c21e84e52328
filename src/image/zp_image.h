#pragma once

#include <cstddef>
#include <cstdint>

#include "image/err.h"
#include "image/mem.h"
#include "image/pixel_type.h"

namespace velorin {

// The working image: a rectangle of pixels with interleaved channels of one type, over memory of
// its own or over a block that somebody else keeps.
//
// `Row` takes the logical row and knows the row order, so images of opposite order may be mixed
// freely. Sizes and bytes are 32-bit; a block may be larger than 2 GiB.
class ZPImage : public KQMem {
  public:
    // Wraps a block. With null `data` the image has no size and none of its other fields is set.
    // `bottomUp` 1: logical row 0 is the last row in memory. `rowBytes` is never negative.
    ZPImage(void* data, int width, int height, int rowBytes, int channels, int pixelType,
            int bottomUp);
    // The same over rows that follow each other without a gap.
    ZPImage(void* data, int width, int height, int channels, int pixelType, int bottomUp);
    // Allocates and owns; pixels are unset. Throws ZPErrNoMemory.
    ZPImage(int width, int height, int channels, int pixelType, int bottomUp);
    // The same; with `throwOnFailure` other than 1 a failure leaves `data` null, `ownsData` 0 and
    // its code in `error`, and no field after `ownsData` may be trusted.
    ZPImage(int throwOnFailure, int width, int height, int channels, int pixelType, int bottomUp);
    virtual ~ZPImage();

    ZPImage(const ZPImage&) = delete;
    ZPImage& operator=(const ZPImage&) = delete;

    // Points the object at a block without releasing what it had; `ownsData` becomes 0.
    void ResetOnto(void* block, int newWidth, int newHeight, int newRowBytes, int newChannels,
                   int newPixelType, int newBottomUp);

    // First value of logical row `y`.
    template <typename Value>
    Value* Row(int y) {
        return reinterpret_cast<Value*>(static_cast<std::byte*>(data) + RowOffset(y));
    }
    template <typename Value>
    const Value* Row(int y) const {
        return reinterpret_cast<const Value*>(static_cast<const std::byte*>(data) + RowOffset(y));
    }
    // Bytes of one row's pixels, without what follows them up to the next row.
    std::size_t RowPixelBytes() const { return static_cast<std::size_t>(width) * pixelBytes; }

    std::int32_t channels = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::uint32_t error = ZPErrNone;
    std::int32_t pixelType = ZPPixUChar;
    std::uint32_t bottomUp = 0;
    std::int32_t channelBytes = 0;
    std::int32_t pixelBytes = 0;
    std::int32_t rowBytes = 0;  // distance in bytes of adjacent rows in memory
    std::uint32_t ownsData = 0;
    void* data = nullptr;
    float whitePoint = 0.0f;
    std::int32_t alphaState = 3;  // stored, never read
    std::int32_t reservedWord = 0;
    std::int32_t lastRow = -1;
    std::int32_t lastColumn = -1;
    std::int32_t rowStep = 0;  // bytes from logical row y to row y + 1
    ZPReadChannel readChannel = nullptr;

  protected:
    ZPImage() = default;

  private:
    std::ptrdiff_t RowOffset(int y) const {
        return static_cast<std::ptrdiff_t>(bottomUp ? lastRow - y : y) * rowBytes;
    }
    void SetShape(int newWidth, int newHeight, int newChannels, int newPixelType, int newBottomUp);
    void Initialise(bool allocate, int throwOnFailure);
};

// True when either image is null or without data, or their sizes differ.
bool SizeDiffers(const ZPImage* first, const ZPImage* second);
// True when SizeDiffers is, or the channel counts or channel sizes differ.
bool ShapeDiffers(const ZPImage* first, const ZPImage* second);

}  // namespace velorin
