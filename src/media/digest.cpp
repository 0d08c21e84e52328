#include "media/digest.h"

extern "C" {
#include <libavutil/mem.h>
#include <libavutil/sha.h>
}

#include <array>
#include <cstdint>
#include <memory>
#include <new>

namespace velorin {

std::string DigestOf(std::span<const std::byte> bytes) {
    constexpr int kBits = 256;
    constexpr std::size_t kBytesTold = 16;
    const auto release = [](AVSHA* sha) { av_free(sha); };
    const std::unique_ptr<AVSHA, decltype(release)> sha(av_sha_alloc(), release);
    if (!sha) throw std::bad_alloc();
    std::array<std::uint8_t, kBits / 8> digest{};
    av_sha_init(sha.get(), kBits);
    av_sha_update(sha.get(), reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    av_sha_final(sha.get(), digest.data());
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
