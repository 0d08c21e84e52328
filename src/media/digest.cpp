#include "media/digest.h"

#include <openssl/sha.h>

#include <array>
#include <cstdint>

namespace velorin {

// By a library that knows the processor's own instructions for it: whole frames pass through here.
std::string DigestOf(std::span<const std::byte> bytes) {
    constexpr std::size_t kBytesTold = 16;
    std::array<std::uint8_t, SHA256_DIGEST_LENGTH> digest{};
    SHA256(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size(), digest.data());
    std::string text;
    for (std::size_t i = 0; i < kBytesTold; ++i) {
        constexpr char kDigits[] = "0123456789abcdef";
        text += kDigits[digest[i] / 16];
        text += kDigits[digest[i] % 16];
    }
    return text;
}

std::string DigestOf(std::string_view text) {
    return DigestOf(std::as_bytes(std::span(text.data(), text.size())));
}

}  // namespace velorin
