#pragma once

#include <string_view>
#include <vector>

namespace velorin {

// The name that takes the fewest letters left out, put in, exchanged or swapped with their
// neighbour to make of `name`; the first of several. Empty where none comes near it.
std::string_view NearestName(std::string_view name, const std::vector<std::string_view>& names);

}  // namespace velorin
