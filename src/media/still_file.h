#pragma once

#include <OpenImageIO/imageio.h>

#include <string>

namespace velorin {

// Writes a picture into the file `target`, which gets its name when it is whole: see SafeFile.
// `pixels` are samples of `type`, interleaved and without gaps, the top line first; `layout` says
// what the file holds. Messages call the picture `named`. Throws MediaError.
void WriteStill(const std::string& target, bool overwrite, OIIO::ImageSpec layout,
                OIIO::TypeDesc type, const void* pixels, const std::string& named);

}  // namespace velorin
