#pragma once

#include <OpenImageIO/imageio.h>

#include <functional>
#include <string>

namespace velorin {

// Writes a picture into the file `target`, which gets its name when it is whole: see SafeFile.
// `pixels` are samples of `type`, interleaved and without gaps, the top line first; `layout` says
// what the file holds. Messages call the picture `named`. `whenWhole` is called before the file
// gets its name, unless it is null. Throws MediaError, and what that throws.
void WriteStill(const std::string& target, bool overwrite, OIIO::ImageSpec layout,
                OIIO::TypeDesc type, const void* pixels, const std::string& named,
                const std::function<void()>& whenWhole = nullptr);

}  // namespace velorin
