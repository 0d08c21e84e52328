#pragma once

#include <cstdint>

#include "image/zp_image.h"

namespace velorin {

// A ZPImage that also knows which of its channels is which. Whole or empty, it never owns pixels.
class KQImageInternal : public ZPImage {
  public:
    KQImageInternal() = default;
    // Shares the block of `image`; the six words below stay 0 until a KQImage wraps it.
    explicit KQImageInternal(const ZPImage& image);

    std::int32_t hasAlpha = 0;
    std::int32_t hasColor = 0;
    std::int32_t redIndex = 0;
    std::int32_t greenIndex = 0;
    std::int32_t blueIndex = 0;
    std::int32_t alphaIndex = 0;
};

// The handle that the engine and its host pass around: owns or borrows a KQImageInternal and
// mirrors the fields that callers read most. Results are ZPErr values unless told otherwise.
//
// `rowDirection` has the opposite sense to ZPImage::bottomUp: 1 means that logical row 0 comes
// first in memory.
class KQImage : public KQMem {
  public:
    KQImage() = default;
    virtual ~KQImage();

    KQImage(const KQImage&) = delete;
    KQImage& operator=(const KQImage&) = delete;

    // Drops the internal image and makes an empty one. 1 and a null `internal` without memory.
    int CreateInternal();

    // Point the internal image at a block of that many channels; 5 when there is none.
    int InitSingleChannel(void* block, int newWidth, int newHeight, int newRowBytes,
                          int newRowDirection, int newPixelType);
    int InitTwoChannels(void* block, int newWidth, int newHeight, int newRowBytes,
                        int newRowDirection, int newPixelType);
    int InitThreeChannels(void* block, int newWidth, int newHeight, int newRowBytes,
                          int newRowDirection, int newPixelType);
    // The two flags count as set only when exactly 1.
    int InitFourChannels(void* block, int newWidth, int newHeight, int newRowBytes,
                         int newRowDirection, int newPixelType, int hasAlpha, int hasColor,
                         int redIndex, int greenIndex, int blueIndex, int alphaIndex);
    int InitRGBA(void* block, int newWidth, int newHeight, int newRowBytes, int newRowDirection,
                 int newPixelType);

    // Borrows `image` and gives it the channel order of its channel count. A count outside 1 to 4
    // leaves the mirrors as they were.
    int WrapInternal(KQImageInternal& image);

    // 1 when there is an internal image. `verbose` also dumps the image on the standard streams.
    int CheckValid(bool verbose) const;
    int GetChannels() const;  // not a ZPErr: the channel count, 0 without an internal image

    // The internal image with the channel order; null when empty.
    KQImageInternal* Internal() const { return static_cast<KQImageInternal*>(internal); }

    std::int32_t pixelBytes = 0;
    std::int32_t rowBytes = 0;
    std::int32_t rowStep = 0;
    void* data = nullptr;
    std::int32_t rowDirection = 0;
    std::int32_t lastRow = 0;
    std::int32_t lastColumn = 0;
    std::int32_t height = 0;
    std::int32_t width = 0;
    std::int32_t pixelType = 0;
    ZPImage* internal = nullptr;  // a KQImageInternal
    std::uint8_t ownsInternal = 0;

  private:
    struct ChannelOrder;
    int InitChannels(void* block, int newWidth, int newHeight, int newRowBytes, int newRowDirection,
                     int newPixelType, int newChannels, const ChannelOrder& order);
    void RefreshMirrors(int newRowDirection, int newPixelType);
    void DropInternal();
};

}  // namespace velorin
