#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "image/zp_image.h"

namespace velorin {

// An image in a block with room before, between and after its rows, so that a write that strays
// from its pixels shows.
class GapImage {
  public:
    GapImage(int width, int height, int channels, int pixelType, int bottomUp)
        : GapImage(width, height, channels, pixelType, bottomUp,
                   (width * channels * ChannelBytes(pixelType) + 2 * kGap - 1) / kGap * kGap) {}

    ZPImage& operator*() { return image; }
    ZPImage* operator->() { return &image; }

    bool GapsUntouched() const {
        const std::uint8_t* const end = block.data() + block.size();
        const std::uint8_t* gap = block.data();
        for (int i = 0; i < image.height; ++i) {
            // In memory order.
            const auto* row = image.Row<std::uint8_t>(image.bottomUp ? image.lastRow - i : i);
            if (std::count(gap, row, kFill) != row - gap) return false;
            gap = row + image.RowPixelBytes();
        }
        return std::count(gap, end, kFill) == end - gap;
    }

  private:
    static constexpr int kGap = 8;
    static constexpr std::uint8_t kFill = 0xA5;

    GapImage(int width, int height, int channels, int pixelType, int bottomUp, int rowBytes)
        : block(static_cast<std::size_t>(rowBytes) * height + 2 * kGap, kFill),
          image(block.data() + kGap, width, height, rowBytes, channels, pixelType, bottomUp) {}

    std::vector<std::uint8_t> block;
    ZPImage image;
};

// One value of an image of any type, and its address.
inline char* ChannelAt(const ZPImage& image, int x, int y, int c) {
    const char* row = image.Row<char>(y);
    return const_cast<char*>(row) + x * image.pixelBytes + c * image.channelBytes;
}
inline float ValueAt(const ZPImage& image, int x, int y, int c) {
    return image.readChannel(ChannelAt(image, x, y, c));
}
inline void PutValue(ZPImage& image, int x, int y, int c, float value) {
    ChannelWriter(image.pixelType)(ChannelAt(image, x, y, c), value);
}

// Copies the pixels of an image of the same shape.
inline void CopyPixels(ZPImage& to, const ZPImage& from) {
    for (int y = 0; y < from.height; ++y) {
        std::copy_n(from.Row<char>(y), from.RowPixelBytes(), to.Row<char>(y));
    }
}

// A tight copy of an image, to compare with later.
class Snapshot {
  public:
    explicit Snapshot(const ZPImage& source)
        : image(source.width, source.height, source.channels, source.pixelType, 0) {
        CopyPixels(image, source);
    }
    ZPImage& operator*() { return image; }
    ZPImage* operator->() { return &image; }

  private:
    ZPImage image;
};

// Calls work(bottomUpA, bottomUpB) with the four pairs of row orders.
template <typename Work>
void ForEachRowOrderPair(Work&& work) {
    for (int pair = 0; pair < 4; ++pair) {
        SCOPED_TRACE("row orders " + std::to_string(pair & 1) + " and " +
                     std::to_string(pair >> 1));
        work(pair & 1, pair >> 1);
    }
}

}  // namespace velorin
