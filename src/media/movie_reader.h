#pragma once

#include <memory>
#include <string>

#include "media/clip.h"

namespace velorin {

// Opens a movie and finds out, without decoding it where its packets tell, which pictures it shows
// and when. Frames come by exact number: also from long groups of pictures, with pictures stored
// out of order, and at a variable rate.
//
// Pictures of 8 bits a sample come as 8-bit RGB, deeper ones as 16-bit RGB over 0 to 65535. Y'CbCr
// is converted with the stream's own matrix and range; where it names no matrix, with that of
// ITU-R BT.709 from 720 lines on and that of BT.601 below. A rotation by quarter turns is applied.
//
// Throws MediaError of kind kInput.
std::unique_ptr<ClipReader> OpenMovie(const std::string& name);

}  // namespace velorin
