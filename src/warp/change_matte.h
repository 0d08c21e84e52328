#pragma once

#include "image/zp_image.h"

namespace velorin {

// Marks where two pictures differ: 255 where the absolute differences of the first three channels
// add up to `threshold` cubed times 3 whites or more, 0 elsewhere. Alpha is not compared.
//
//   matte    one channel of bytes
//   first    3 or 4 channels; its white point counts
//   rowMode  1: all rows; any other: every second row from the last one, or from the one before it
//            with 3. The rows between are 0
//
// Answers 0. Images that differ in size or form leave the matte zero.
int ZPChangeMatte(ZPImage& matte, const ZPImage& first, const ZPImage& second, float threshold,
                  int rowMode);

// Keeps `target` where the matte is 255, takes `other` where it is 0, and mixes between. Of
// pictures that do not both have four channels the first three take part, and a fourth stays.
//
//   matte  one channel of bytes
//
// Does nothing where size or pixel type differ, or one picture has fewer than three channels.
void ZPMatteMix(ZPImage& target, const ZPImage& other, const ZPImage& matte);

}  // namespace velorin
