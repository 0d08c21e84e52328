#pragma once

#include <string>
#include <utility>
#include <vector>

namespace velorin {

// The libraries that read and write clips, by name, each with the version that the program was
// built with. Loads none of them.
std::vector<std::pair<std::string, std::string>> MediaLibraries();

}  // namespace velorin
