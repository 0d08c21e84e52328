#pragma once

#include <string>

namespace velorin {

// How ITU-T H.273's number for primaries, a transfer or a matrix is called; "unknown" for 2.
std::string PrimariesName(int number);
std::string TransferName(int number);
std::string MatrixName(int number);

}  // namespace velorin
