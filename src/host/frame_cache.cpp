#include "host/frame_cache.h"

#include <cstdio>
#include <utility>

#include "image/copy.h"

namespace velorin {

namespace {

bool Fits(const MyImage& image, int width, int height, int pixelType, int rowBytes, int channels) {
    return image.width == width && image.height == height && image.pixelType == pixelType &&
           image.rowBytes == rowBytes && image.GetChannels() == channels;
}

bool FitsEachOther(const MyImage& a, const MyImage& b) {
    return Fits(a, b.width, b.height, b.pixelType, b.rowBytes, b.GetChannels());
}

// An image of the form of `image`; null without memory for it.
std::unique_ptr<MyImage> NewLike(const MyImage& image) {
    try {
        auto block = NewBlock(image.width, image.height, image.pixelBytes);
        auto made = std::make_unique<MyImage>();
        const int failure = made->MyInit(block.get(), image.width, image.height, image.sparkFormat,
                                         image.rowBytes, image.GetChannels());
        if (made->block) block.release();
        return failure == ZPErrNone ? std::move(made) : nullptr;
    } catch (ZPErr) {
        return nullptr;
    }
}

}  // namespace

bool FrameCache::getCacheState(int frame, int width, int height, int sparkFormat, int rowBytes,
                               int channels) {
    int pixelType = ZPPixUChar;
    if (!PixelTypeOfSparkFormat(sparkFormat, pixelType)) return false;
    for (Entry& entry : entries) {
        if (!Holds(entry, frame)) continue;
        if (Fits(*entry.image, width, height, pixelType, rowBytes, channels)) return true;
        entry = Entry();
    }
    return false;
}

void FrameCache::setCache(const MyImage& image, int frame) {
    Entry& entry = entries[nextEntry];
    nextEntry = 1 - nextEntry;
    std::unique_ptr<MyImage> copy = std::move(entry.image);
    if (copy && !FitsEachOther(*copy, image)) copy.reset();
    if (!copy) copy = NewLike(image);
    if (!copy) return;
    CopyImage(copy.get(), &image);
    entry = {frame, std::move(copy)};
}

void FrameCache::getCache(MyImage& image, int frame) const {
    for (const Entry& entry : entries) {
        if (!Holds(entry, frame)) continue;
        CopyImage(&image, entry.image.get());
        return;
    }
    std::fprintf(stderr, "Invalid Cache %i\n", frame);
}

void FrameCache::CleanCache() {
    entries = {};
    nextEntry = 0;
}

}  // namespace velorin
