#include "warp/zp_image2.h"

#include <algorithm>
#include <cstring>

#include "image/pixel_type.h"

namespace velorin {

namespace {

std::byte** AllocateTable(int entries) {
    const std::size_t size = sizeof(std::byte*) * static_cast<std::size_t>(entries);
    auto* table = static_cast<std::byte**>(KQAllocOrThrow(size));
    std::fill_n(table, entries, nullptr);
    return table;
}

// The largest block to be had of at most `count` rows, which becomes the number that it holds.
std::byte* AllocateBlock(int& count, int rowBytes) {
    for (; count > 0; --count) {
        const std::size_t size = static_cast<std::size_t>(count) * rowBytes;
        if (void* block = KQAlloc(size)) return static_cast<std::byte*>(block);
    }
    throw ZPErrNoMemory;
}

}  // namespace

ZPImage2::ZPImage2(int throwOnFailure, void* data, int newWidth, int newHeight, int newRowBytes,
                   int newChannels, int newPixelType, int newBottomUp) {
    if (!data) return;
    SetShape(newWidth, newHeight, newChannels, newPixelType, newBottomUp);
    rowBytes = newRowBytes;
    wrappedData = data;
    try {
        rows = AllocateTable(height);
    } catch (ZPErr failure) {
        error = failure;
        if (throwOnFailure == 1) throw;
        return;
    }
    for (int i = 0; i < height; ++i) {
        rows[i] = static_cast<std::byte*>(data) + static_cast<std::ptrdiff_t>(i) * rowBytes;
    }
}

ZPImage2::ZPImage2(int throwOnFailure, int newWidth, int newHeight, int newChannels,
                   int newPixelType, int newBottomUp) {
    SetShape(newWidth, newHeight, newChannels, newPixelType, newBottomUp);
    rowBytes = width * pixelBytes;
    try {
        AllocateRows();
    } catch (ZPErr failure) {
        Release();
        error = failure;
        if (throwOnFailure == 1) throw;
    }
}

ZPImage2::~ZPImage2() {
    Release();
}

void ZPImage2::SetShape(int newWidth, int newHeight, int newChannels, int newPixelType,
                        int newBottomUp) {
    channels = newChannels;
    width = newWidth;
    height = newHeight;
    pixelType = newPixelType;
    bottomUp = newBottomUp ? 1 : 0;
    channelBytes = ChannelBytes(pixelType);
    pixelBytes = channelBytes * channels;
    lastRow = height - 1;
    lastColumn = width - 1;
}

// From the last row backward: the last row stands first in its block.
void ZPImage2::AllocateRows() {
    ownsBlocks = 1;
    rows = AllocateTable(height);
    blocks = AllocateTable(height);
    int blockRows = height;
    for (int row = height - 1; row >= 0;) {
        blockRows = std::min(blockRows, row + 1);
        std::byte* block = AllocateBlock(blockRows, rowBytes);
        blocks[row] = block;
        for (int i = 0; i < blockRows; ++i, --row) {
            rows[row] = block + static_cast<std::ptrdiff_t>(i) * rowBytes;
        }
    }
}

void ZPImage2::Release() {
    if (blocks) std::for_each_n(blocks, height, [](std::byte* block) { KQFreeChecked(block); });
    KQFreeChecked(blocks);
    KQFreeChecked(rows);
    rows = blocks = nullptr;
}

void ClearImage(ZPImage2* image) {
    if (!image || image->width < 1 || !image->rows) return;
    const std::size_t bytes = static_cast<std::size_t>(image->width) * image->pixelBytes;
    for (int y = 0; y < image->height; ++y) std::memset(image->rows[y], 0, bytes);
}

}  // namespace velorin
