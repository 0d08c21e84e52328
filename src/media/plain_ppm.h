#pragma once

#include <OpenImageIO/imageio.h>

#include <memory>
#include <string>

namespace velorin {

// PPM and PGM of bytes as nearly every program writes them. The library takes and gives these byte
// by byte, at ten times the cost of the frame's disk access; here they go in one piece.

bool IsPpmName(const std::string& name);

// Opens a picture as the library would. Null for a file that is no such picture, has comments in
// its header, another white than 255 or fewer samples than it should: the library knows these.
std::unique_ptr<OIIO::ImageInput> OpenPlainPpm(const std::string& name);

// What stands before the samples of a picture with 1 or 3 channels, in the library's words.
std::string PlainPpmHeader(const OIIO::ImageSpec& layout);

}  // namespace velorin
