#include "image/zp_image.h"

namespace velorin {

ZPImage::ZPImage(void* block, int newWidth, int newHeight, int newRowBytes, int newChannels,
                 int newPixelType, int newBottomUp) {
    ResetOnto(block, newWidth, newHeight, newRowBytes, newChannels, newPixelType, newBottomUp);
}

ZPImage::ZPImage(void* block, int newWidth, int newHeight, int newChannels, int newPixelType,
                 int newBottomUp) {
    ResetOnto(block, newWidth, newHeight, newWidth * ChannelBytes(newPixelType) * newChannels,
              newChannels, newPixelType, newBottomUp);
}

ZPImage::ZPImage(int newWidth, int newHeight, int newChannels, int newPixelType, int newBottomUp)
    : ZPImage(1, newWidth, newHeight, newChannels, newPixelType, newBottomUp) {}

ZPImage::ZPImage(int throwOnFailure, int newWidth, int newHeight, int newChannels, int newPixelType,
                 int newBottomUp) {
    SetShape(newWidth, newHeight, newChannels, newPixelType, newBottomUp);
    Initialise(true, throwOnFailure);
}

ZPImage::~ZPImage() {
    if (ownsData && data) KQFree(data);
}

void ZPImage::ResetOnto(void* block, int newWidth, int newHeight, int newRowBytes, int newChannels,
                        int newPixelType, int newBottomUp) {
    if (!block) {
        data = nullptr;
        ownsData = 0;
        width = height = 0;
        return;
    }
    data = block;
    SetShape(newWidth, newHeight, newChannels, newPixelType, newBottomUp);
    rowBytes = newRowBytes;
    Initialise(false, 0);
}

void ZPImage::SetShape(int newWidth, int newHeight, int newChannels, int newPixelType,
                       int newBottomUp) {
    width = newWidth;
    height = newHeight;
    channels = newChannels;
    pixelType = newPixelType;
    bottomUp = newBottomUp ? 1 : 0;
}

void ZPImage::Initialise(bool allocate, int throwOnFailure) {
    reservedWord = 0;
    alphaState = 3;
    error = ZPErrNone;
    channelBytes = ChannelBytes(pixelType);
    pixelBytes = channelBytes * channels;
    ownsData = 0;
    if (allocate) {
        rowBytes = width * pixelBytes;
        try {
            data = KQAllocOrThrow(static_cast<std::size_t>(rowBytes) * height);
        } catch (ZPErr failure) {
            data = nullptr;
            error = failure;
            if (throwOnFailure == 1) throw;
            return;
        }
        ownsData = 1;
    }
    lastRow = height - 1;
    lastColumn = width - 1;
    rowStep = bottomUp ? -rowBytes : rowBytes;
    LookUpWhitePoint(pixelType, whitePoint);
    readChannel = ChannelReader(pixelType);
}

bool SizeDiffers(const ZPImage* first, const ZPImage* second) {
    if (!first || !second) return true;
    if (first->width != second->width || first->height != second->height) return true;
    return !first->data || !second->data;
}

bool ShapeDiffers(const ZPImage* first, const ZPImage* second) {
    return SizeDiffers(first, second) || first->channels != second->channels ||
           first->channelBytes != second->channelBytes;
}

}  // namespace velorin
