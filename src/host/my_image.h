#pragma once

#include <cstdint>
#include <memory>

#include "image/kq_image.h"

namespace velorin {

// The pixel type of a host's format code: 24 and 25 are 8 bits, 48 and 64 are 16, 49 is float.
// False, and `pixelType` as it was, for any other code.
bool PixelTypeOfSparkFormat(int sparkFormat, int& pixelType);

// Bytes of a pixel of so many channels in a block of this format; 0 for an unknown format.
int BlockPixelBytes(int sparkFormat, int channels);

// Memory as a MyImage takes it over, not cleared. Null where there is none, for a negative side,
// for pixels of no bytes and for a row of more bytes than an int can tell.
std::unique_ptr<unsigned char[]> NewBlock(int width, int height, int pixelBytes);

// A KQImage that owns the raw block it stands on. `block` comes from new unsigned char[] and is
// released as such.
class MyImage : public KQImage {
  public:
    MyImage() = default;
    ~MyImage() override;

    // Takes over `newBlock` as an image of 1, 3 or 4 channels whose first logical row comes first
    // in memory. Answers 0; 1 without memory or with a null block; 5 for another channel count. An
    // unknown format answers 0 and leaves the image without pixels. The block is owned in every
    // case but the first; a block taken over earlier is not released.
    virtual int MyInit(unsigned char* newBlock, int newWidth, int newHeight, int newSparkFormat,
                       int newRowBytes, int newChannels);

    unsigned char* block = nullptr;
    std::int32_t blockWidth = 0;
    std::int32_t blockHeight = 0;
    std::int32_t sparkFormat = 0;
    std::int32_t blockRowBytes = 0;
    std::int32_t blockChannels = 0;
};

}  // namespace velorin
