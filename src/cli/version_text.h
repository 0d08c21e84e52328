#pragma once

#include <string>

namespace velorin {

// The program's name and version on the first line; then what it was built with and for, the
// libraries in use and the formats that it writes.
std::string VersionText();

}  // namespace velorin
