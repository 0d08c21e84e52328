#pragma once

#include <cstddef>

namespace velorin {

// Between pictures of four channels, the top line first, and frames as the host holds them: three
// channels, the bottom line first, no gaps. The picture's channels are bytes in the formats 24 and
// 25, words from 0 to 65535 in 48 and 64, floats in 49. Of a word the host keeps the upper 12 bits,
// and has zeros below them; a float becomes the nearest half.

// Of a frame of the host's; 0 for a format that is not known.
int HostPixelBytes(int sparkFormat);

// Drops alpha.
void PackHostFrame(const std::byte* picture, int width, int height, int sparkFormat,
                   std::byte* frame);

// Sets alpha to white.
void UnpackHostFrame(const std::byte* frame, int width, int height, int sparkFormat,
                     std::byte* picture);

}  // namespace velorin
