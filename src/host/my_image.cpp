#include "host/my_image.h"

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
