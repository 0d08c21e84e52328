#pragma once

#include <string>
#include <utility>
#include <vector>

namespace velorin {

// The libraries that read and write clips, by name, each with the version that is loaded.
std::vector<std::pair<std::string, std::string>> MediaLibraries();

// How ITU-T H.273's number for primaries, a transfer or a matrix is called; "unknown" for 2.
std::string PrimariesName(int number);
std::string TransferName(int number);
std::string MatrixName(int number);

}  // namespace velorin
