#pragma once

#include <cstdint>

namespace velorin {

// How many faults the decoders of movies have reported so far. Some that they mend as well as they
// can, a wrong checksum in FFV1 for one, are told in no other way.
std::int64_t FaultsOfDecoders();

}  // namespace velorin
