#include "image/kq_image.h"

#include <cstdint>
#include <cstdio>

namespace velorin {

struct KQImage::ChannelOrder {
    int hasAlpha, hasColor, red, green, blue, alpha;
};

KQImageInternal::KQImageInternal(const ZPImage& image) {
    ResetOnto(image.data, image.width, image.height, image.rowBytes, image.channels,
              image.pixelType, image.bottomUp);
}

KQImage::~KQImage() {
    DropInternal();
}

void KQImage::DropInternal() {
    if (ownsInternal == 1) delete internal;
    internal = nullptr;
}

int KQImage::CreateInternal() {
    DropInternal();
    ownsInternal = 1;
    try {
        internal = new KQImageInternal;
    } catch (ZPErr) {
        return 1;
    }
    return ZPErrNone;
}

int KQImage::InitSingleChannel(void* block, int newWidth, int newHeight, int newRowBytes,
                               int newRowDirection, int newPixelType) {
    return InitChannels(block, newWidth, newHeight, newRowBytes, newRowDirection, newPixelType, 1,
                        {0, 1, 0, 0, 0, 0});
}

int KQImage::InitTwoChannels(void* block, int newWidth, int newHeight, int newRowBytes,
                             int newRowDirection, int newPixelType) {
    return InitChannels(block, newWidth, newHeight, newRowBytes, newRowDirection, newPixelType, 2,
                        {0, 1, 0, 1, 0, 0});
}

int KQImage::InitThreeChannels(void* block, int newWidth, int newHeight, int newRowBytes,
                               int newRowDirection, int newPixelType) {
    return InitChannels(block, newWidth, newHeight, newRowBytes, newRowDirection, newPixelType, 3,
                        {0, 1, 0, 1, 2, 0});
}

int KQImage::InitFourChannels(void* block, int newWidth, int newHeight, int newRowBytes,
                              int newRowDirection, int newPixelType, int hasAlpha, int hasColor,
                              int redIndex, int greenIndex, int blueIndex, int alphaIndex) {
    return InitChannels(
        block, newWidth, newHeight, newRowBytes, newRowDirection, newPixelType, 4,
        {hasAlpha == 1, hasColor == 1, redIndex, greenIndex, blueIndex, alphaIndex});
}

int KQImage::InitRGBA(void* block, int newWidth, int newHeight, int newRowBytes,
                      int newRowDirection, int newPixelType) {
    return InitFourChannels(block, newWidth, newHeight, newRowBytes, newRowDirection, newPixelType,
                            1, 1, 0, 1, 2, 3);
}

int KQImage::InitChannels(void* block, int newWidth, int newHeight, int newRowBytes,
                          int newRowDirection, int newPixelType, int newChannels,
                          const ChannelOrder& order) {
    if (!internal) return ZPErrBadArgument;
    KQImageInternal& image = *Internal();
    image.ResetOnto(block, newWidth, newHeight, newRowBytes, newChannels, newPixelType,
                    newRowDirection == 1 ? 0 : 1);
    image.hasAlpha = order.hasAlpha;
    image.hasColor = order.hasColor;
    image.redIndex = order.red;
    image.greenIndex = order.green;
    image.blueIndex = order.blue;
    image.alphaIndex = order.alpha;
    RefreshMirrors(newRowDirection, newPixelType);
    return ZPErrNone;
}

void KQImage::RefreshMirrors(int newRowDirection, int newPixelType) {
    if (!internal) throw ZPErrBadArgument;
    pixelBytes = internal->pixelBytes;
    rowBytes = internal->rowBytes;
    rowStep = internal->rowStep;
    data = internal->data;
    lastRow = internal->lastRow;
    lastColumn = internal->lastColumn;
    height = internal->height;
    width = internal->width;
    rowDirection = newRowDirection;
    pixelType = newPixelType;
}

int KQImage::WrapInternal(KQImageInternal& image) {
    if (&image != internal) DropInternal();
    internal = &image;
    ownsInternal = 0;
    const int direction = image.bottomUp ? 0 : 1;
    switch (image.channels) {
        case 1:
            return InitSingleChannel(image.data, image.width, image.height, image.rowBytes,
                                     direction, image.pixelType);
        case 2:
            return InitTwoChannels(image.data, image.width, image.height, image.rowBytes, direction,
                                   image.pixelType);
        case 3:
            return InitThreeChannels(image.data, image.width, image.height, image.rowBytes,
                                     direction, image.pixelType);
        case 4:
            return InitRGBA(image.data, image.width, image.height, image.rowBytes, direction,
                            image.pixelType);
        default:
            return ZPErrNone;
    }
}

int KQImage::GetChannels() const {
    return internal ? internal->channels : 0;
}

namespace {

template <typename Value, typename Printed>
void DumpPixel(const ZPImage& image, int x, int y, const char* format) {
    const Value* p = image.Row<Value>(y) + static_cast<std::ptrdiff_t>(x) * image.channels;
    std::fprintf(stderr, format, static_cast<Printed>(p[0]), static_cast<Printed>(p[1]),
                 static_cast<Printed>(p[2]), static_cast<Printed>(p[3]));
}

// On purpose without any test of bounds: the image must reach beyond (450, 450).
void DumpPixels(const ZPImage& image) {
    static constexpr int kPlaces[] = {50, 100, 450};
    static constexpr const char* kFloatFormats[] = {"rgba at 50 50 %f %f %f %f \n",
                                                    "rgba at 100 100 %f %f %f%f \n",
                                                    "rgba at 450 450 %f %f %f %f \n"};
    for (int i = 0; i < 3; ++i) {
        const int place = kPlaces[i];
        if (image.pixelType == ZPPixUChar) {
            DumpPixel<std::uint8_t, int>(image, place, place, "rgba %i %i %i %i \n");
        } else if (image.pixelType == ZPPixUShort) {
            DumpPixel<std::uint16_t, int>(image, place, place, "rgba %i %i %i %i \n");
        } else {
            DumpPixel<float, double>(image, place, place, kFloatFormats[i]);
        }
    }
}

}  // namespace

int KQImage::CheckValid(bool verbose) const {
    if (!verbose) return internal ? 1 : 0;
    if (!internal) {
        std::printf("No KQ Image \n");
        return 0;
    }
    std::printf("Types %i %i %i %i %i %i\n", 0, 1, 2, 0, 1, 2);
    const KQImageInternal& image = *Internal();
    std::printf("KQIMAGE W %i H %i RB %i PixType %i RI %i AI %i\n", image.width, image.height,
                image.rowBytes, image.pixelType, image.redIndex, image.alphaIndex);
    std::printf("ADDRESS: %x \n",
                static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(image.data)));
    if (image.pixelType < ZPPixUChar || image.pixelType > ZPPixFloat) {
        std::fprintf(stderr, "bad zpsource type %i \n", image.pixelType);
    } else {
        DumpPixels(image);
    }
    return 1;
}

}  // namespace velorin
