#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace velorin {

// 32 hexadecimal digits that differ for any two byte strings one meets: the first half of SHA-256.
std::string DigestOf(std::span<const std::byte> bytes);
std::string DigestOf(std::string_view text);

}  // namespace velorin
