#pragma once

#include <string>

namespace velorin {

// Whether a still lacks what its format, by OpenImageIO's name, puts at the end of a whole file.
// Not every format has such a mark: a file of another one is never cut short by this.
bool IsCutShort(const std::string& fileName, const std::string& format);

}  // namespace velorin
