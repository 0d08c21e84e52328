#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace velorin {

// 32 hexadecimal digits that differ for any two byte strings one meets: XXH128. No guard against
// somebody who looks for two alike.
std::string DigestOf(std::span<const std::byte> bytes);
std::string DigestOf(std::string_view text);

}  // namespace velorin
