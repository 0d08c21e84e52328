#pragma once

#include <bit>
#include <cstdint>

#include "image/float_rules.h"

namespace velorin {

// Halves are 16 bits wide, as IEEE 754 has them: sign, 5 bits of exponent, 10 of mantissa. A code
// goes to float and back unchanged but for negative zero, see FloatToHalf.

// Exponents of a half and of a float differ by this for the same value.
inline constexpr int kHalfExponentOffset = 112;

// Exact for every code; a NaN keeps its mantissa, in the upper bits.
inline float HalfToFloat(std::uint16_t half) {
    const std::uint32_t sign = static_cast<std::uint32_t>(half & 0x8000) << 16;
    int exponent = half >> 10 & 31;
    std::uint32_t mantissa = half & 0x3ff;
    if (exponent == 0) {
        if (mantissa == 0) return std::bit_cast<float>(sign);
        // Shifted up until the leading bit stands where the hidden bit of a float is.
        const int shift = std::countl_zero(mantissa) - 21;
        mantissa = mantissa << shift & 0x3ff;
        exponent = 1 - shift;
    } else if (exponent == 31) {
        return std::bit_cast<float>(sign | 0x7f800000 | mantissa << 13);
    }
    const std::uint32_t biased = static_cast<std::uint32_t>(exponent + kHalfExponentOffset);
    return std::bit_cast<float>(sign | biased << 23 | mantissa << 13);
}

// To the nearest half, halfway cases away from zero; too large a value becomes infinity. NaN stays
// NaN with the upper bits of its mantissa.
inline std::uint16_t FloatToHalf(float value) {
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(value);
    const std::uint32_t sign = bits >> 16 & 0x8000;
    std::uint32_t mantissa = bits & 0x7fffff;
    int exponent = static_cast<int>(bits >> 23 & 255) - kHalfExponentOffset;
    if (exponent == 255 - kHalfExponentOffset) {
        if (mantissa == 0) return static_cast<std::uint16_t>(sign | 0x7c00);
        const std::uint32_t kept = mantissa >> 13;
        return static_cast<std::uint16_t>(sign | 0x7c00 | (kept != 0 ? kept : 1));
    }
    if (exponent < 1) {
        // On purpose without its sign: what is too small for a half is 0, negative zero too.
        if (exponent < -10) return 0;
        mantissa = (mantissa | 0x800000) >> (1 - exponent);
        if (mantissa & 0x1000) mantissa += 0x2000;
        return static_cast<std::uint16_t>(sign | mantissa >> 13);
    }
    if (mantissa & 0x1000) {
        mantissa += 0x2000;
        if (mantissa & 0x800000) {
            mantissa = 0;
            ++exponent;
        }
    }
    if (exponent >= 31) return static_cast<std::uint16_t>(sign | 0x7c00);
    return static_cast<std::uint16_t>(static_cast<std::uint32_t>(exponent) << 10 | sign |
                                      mantissa >> 13);
}

}  // namespace velorin
