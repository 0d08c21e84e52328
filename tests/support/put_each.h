#pragma once

#include "support/gap_image.h"

namespace velorin {

// Makes every value of an image rule(x, y, c), as its type's writer cuts it.
template <typename Rule>
void PutEach(ZPImage& image, const Rule& rule) {
    for (int y = 0; y < image.height; ++y) {
        for (int x = 0; x < image.width; ++x) {
            for (int c = 0; c < image.channels; ++c) PutValue(image, x, y, c, rule(x, y, c));
        }
    }
}

inline void PutAll(ZPImage& image, float value) {
    PutEach(image, [=](int, int, int) { return value; });
}

// Calls work(x, y) for every pixel of an image.
template <typename Work>
void ForEachPixel(const ZPImage& image, Work&& work) {
    for (int y = 0; y < image.height; ++y) {
        for (int x = 0; x < image.width; ++x) work(x, y);
    }
}

}  // namespace velorin
