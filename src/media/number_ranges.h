#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace velorin {

// "7, 9-12 and 40 more" for ascending numbers; `mostNamed` ranges are named.
std::string NumberRanges(const std::vector<std::int64_t>& numbers, std::size_t mostNamed = 8);

}  // namespace velorin
