#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "image/pixel_form.h"
#include "support/as_plain.h"

namespace velorin {

inline constexpr std::uint64_t kEmptySum = 14695981039346656037u;

// FNV-1a over all samples of a picture, row by row, going on from `sum`: whatever changes a pixel
// changes it. One NaN is as good as another.
inline std::uint64_t Checksum(const ZPImage& image, std::uint64_t sum = kEmptySum) {
    WithPictureType(image.pixelType, [&](auto zero) {
        using Value = decltype(zero);
        for (int y = 0; y < image.height; ++y) {
            const Value* row = image.Row<Value>(y);
            for (int i = 0; i < image.width * image.channels; ++i) {
                const bool isNumber = !std::isnan(static_cast<float>(row[i]));
                const Value value = isNumber ? row[i] : std::numeric_limits<Value>::quiet_NaN();
                std::uint8_t bytes[sizeof value];
                std::memcpy(bytes, &value, sizeof value);
                for (std::uint8_t byte : bytes) sum = (sum ^ byte) * 1099511628211u;
            }
        }
    });
    return sum;
}

// The sum of what work(to, from) makes of `to`, both noise, going on from `sum`. Expects the same
// bits in all row orders and with all thread counts, and nothing written between rows.
template <typename Work>
std::uint64_t ChecksumOfNoise(const Shape& to, const Shape& from, const Work& work,
                              std::uint64_t sum = kEmptySum) {
    ExpectAsPlain(to, from, work, [&](ZPImage& first, ZPImage& second) {
        work(first, second);
        sum = Checksum(first, sum);
    });
    return sum;
}

}  // namespace velorin
