#include "media/digest.h"

#include <xxhash.h>

namespace velorin {

// Whole frames pass through here: one that keeps up with the memory, not one for secrets.
std::string DigestOf(std::span<const std::byte> bytes) {
    XXH128_canonical_t digest;
    XXH128_canonicalFromHash(&digest, XXH3_128bits(bytes.data(), bytes.size()));
    std::string text;
    for (const unsigned char byte : digest.digest) {
        constexpr char kDigits[] = "0123456789abcdef";
        text += kDigits[byte / 16];
        text += kDigits[byte % 16];
    }
    return text;
}

std::string DigestOf(std::string_view text) {
    return DigestOf(std::as_bytes(std::span(text.data(), text.size())));
}

}  // namespace velorin
