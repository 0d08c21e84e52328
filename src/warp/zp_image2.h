#pragma once

#include <cstddef>
#include <cstdint>

#include "image/err.h"
#include "image/mem.h"

namespace velorin {

// The image inside the forward warp: as ZPImage, but reached through a table of row pointers, so
// that its rows need not lie in one block. An image of its own can so be had where no single piece
// of memory is large enough.
class ZPImage2 : public KQMem {
  public:
    // Wraps a block that somebody else keeps. Null `data` gives an image without size.
    ZPImage2(int throwOnFailure, void* data, int newWidth, int newHeight, int newRowBytes,
             int newChannels, int newPixelType, int newBottomUp);
    // Allocates and owns, without gaps between pixels; unset. A failure leaves its ZPErr in `error`
    // and no memory behind, and is thrown as well with `throwOnFailure` 1; both forms.
    ZPImage2(int throwOnFailure, int newWidth, int newHeight, int newChannels, int newPixelType,
             int newBottomUp);
    virtual ~ZPImage2();

    ZPImage2(const ZPImage2&) = delete;
    ZPImage2& operator=(const ZPImage2&) = delete;

    // First value of logical row `y`.
    template <typename Value>
    Value* Row(int y) {
        return reinterpret_cast<Value*>(rows[bottomUp ? lastRow - y : y]);
    }

    std::int32_t channels = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::uint32_t error = ZPErrNone;
    std::int32_t pixelType = 0;
    std::uint32_t bottomUp = 0;
    std::int32_t channelBytes = 0;
    std::int32_t pixelBytes = 0;
    std::int32_t rowBytes = 0;
    std::uint32_t ownsBlocks = 0;
    std::int32_t lastRow = -1;
    std::int32_t lastColumn = -1;
    std::byte** rows = nullptr;    // one a row, in memory order
    std::byte** blocks = nullptr;  // one a row: the block that starts there, or null
    void* wrappedData = nullptr;

  private:
    void SetShape(int newWidth, int newHeight, int newChannels, int newPixelType, int newBottomUp);
    void AllocateRows();
    void Release();
};

// Zeroes the pixels. Null, or an image without size: does nothing.
void ClearImage(ZPImage2* image);

}  // namespace velorin
