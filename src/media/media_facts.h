#pragma once

#include <string>
#include <utility>
#include <vector>

namespace velorin {

// The libraries that read and write clips, by name, each with the version that is loaded.
std::vector<std::pair<std::string, std::string>> MediaLibraries();

// How ITU-T H.273's number for primaries or a transfer is called; "unknown" for 2.
std::string PrimariesName(int number);
std::string TransferName(int number);

}  // namespace velorin
