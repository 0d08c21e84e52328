#pragma once

#include "media/clip.h"

namespace velorin {

// Stored samples, interleaved without a gap between rows, the top line first.
struct StoredPixels {
    const std::byte* pixels = nullptr;
    int width = 0;
    int height = 0;
    int channels = 0;     // of a stored pixel
    int layout = 0;       // 1 gray, 2 gray and alpha, 3 RGB, 4 RGB and alpha
    const int* source{};  // which stored channel is which of the layout
};

// Writes the stored samples into `picture`, which has its shape already, with the top left one at
// (x, y). Values stay as they are; gray goes to three channels, a missing alpha is full.
void SpreadPixels(const StoredPixels& stored, int x, int y, Picture& picture);

// Sets every pixel to 0, with a full alpha if `fullAlpha`.
void ClearPicture(Picture& picture, bool fullAlpha);

// The smallest part of a float picture that holds `least` and every pixel that is not zero in one
// of the layout's channels.
Window FilledWindow(const Picture& picture, int layout, const Window& least);

// Copies a part of a picture into `part`.
void CutPicture(const Picture& picture, const Window& window, Picture& part);

// Takes the layout's channels out of a picture: gray is its red. `packed` is without gaps.
void PackPixels(const Picture& picture, int layout, std::vector<std::byte>& packed);

}  // namespace velorin
