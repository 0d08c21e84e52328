#include "host/my_image.h"

#include <climits>
#include <cstddef>
#include <new>

#include "image/pixel_type.h"

namespace velorin {

bool PixelTypeOfSparkFormat(int sparkFormat, int& pixelType) {
    switch (sparkFormat) {
        case 24:
        case 25:
            pixelType = ZPPixUChar;
            return true;
        case 48:
        case 64:
            pixelType = ZPPixUShort;
            return true;
        case 49:
            pixelType = ZPPixFloat;
            return true;
        default:
            return false;
    }
}

int BlockPixelBytes(int sparkFormat, int channels) {
    int type = ZPPixUChar;
    return PixelTypeOfSparkFormat(sparkFormat, type) ? ChannelBytes(type) * channels : 0;
}

std::unique_ptr<unsigned char[]> NewBlock(int width, int height, int pixelBytes) {
    if (width < 0 || height < 0 || pixelBytes < 1) return nullptr;
    if (width > INT_MAX / pixelBytes) return nullptr;
    const std::size_t bytes = static_cast<std::size_t>(width) * height * pixelBytes;
    return std::unique_ptr<unsigned char[]>(new (std::nothrow) unsigned char[bytes]);
}

MyImage::~MyImage() {
    delete[] block;
}

int MyImage::MyInit(unsigned char* newBlock, int newWidth, int newHeight, int newSparkFormat,
                    int newRowBytes, int newChannels) {
    if (const int failure = CreateInternal()) return failure;
    block = newBlock;
    blockWidth = newWidth;
    blockHeight = newHeight;
    sparkFormat = newSparkFormat;
    blockRowBytes = newRowBytes;
    blockChannels = newChannels;
    if (!block) return ZPErrNoMemory;
    if (newChannels != 1 && newChannels != 3 && newChannels != 4) return ZPErrBadArgument;
    int type = ZPPixUChar;
    // On purpose a success: such an image simply has no pixels.
    if (!PixelTypeOfSparkFormat(newSparkFormat, type)) return ZPErrNone;
    switch (newChannels) {
        case 1:
            return InitSingleChannel(block, newWidth, newHeight, newRowBytes, 1, type);
        case 3:
            return InitThreeChannels(block, newWidth, newHeight, newRowBytes, 1, type);
        default:
            return InitRGBA(block, newWidth, newHeight, newRowBytes, 1, type);
    }
}

}  // namespace velorin
