#include "image/half_float.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/noise.h"

namespace velorin {
namespace {

float ValueOf(int code) {
    const int exponent = code >> 10 & 31;
    const auto mantissa = static_cast<float>(code & 1023);
    const float size =
        exponent == 0 ? std::ldexp(mantissa, -24) : std::ldexp(1024.0f + mantissa, exponent - 25);
    return code & 0x8000 ? -size : size;
}

TEST(HalfFloat, EveryCodeHasItsValueAndComesBack) {
    for (int code = 0; code < 65536; ++code) {
        SCOPED_TRACE(code);
        const auto half = static_cast<std::uint16_t>(code);
        const float value = HalfToFloat(half);
        if ((code & 0x7c00) == 0x7c00) {
            EXPECT_EQ(std::bit_cast<std::uint32_t>(value),
                      static_cast<std::uint32_t>((code & 0x8000) << 16 | 0x7f800000 |
                                                 (code & 1023) << 13));
        } else {
            EXPECT_SAME_BITS(value, ValueOf(code));
        }
        // On purpose without its sign.
        EXPECT_EQ(FloatToHalf(value), code == 0x8000 ? 0 : code);
    }
}

TEST(HalfFloat, RoundsAwayFromZeroAndKeepsNaN) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    struct Case {
        float value;
        int code;
    };
    const Case cases[] = {
        {1.0f, 0x3c00},
        {0x1.002p0f, 0x3c01},     // halfway, up
        {0x1.006p0f, 0x3c02},     // and up from an odd code
        {0x1.001ffep0f, 0x3c00},  // just below halfway
        {-0x1.ffep0f, 0xc000},    // the carry goes on into the exponent
        {65504.0f, 0x7bff},
        {0x1.ffdffep15f, 0x7bff},
        {65520.0f, 0x7c00},
        {-1e30f, 0xfc00},
        {kInfinity, 0x7c00},
        {-kInfinity, 0xfc00},
        {0x1p-14f, 0x0400},
        {0x1.ff8p-15f, 0x03ff},  // the largest without a hidden bit
        {0x1.ffcp-15f, 0x0400},
        {-0x1p-24f, 0x8001},
        {0x1p-25f, 0x0001},  // the least that is not lost
        {0x1.fffffep-26f, 0},
        {1e-10f, 0},
        {-1e-10f, 0},
        {std::bit_cast<float>(0x7f800001u), 0x7c01},
        {std::bit_cast<float>(0xff801fffu), 0xfc01},
        {std::bit_cast<float>(0x7fc00000u), 0x7e00},
    };
    for (const Case& c : cases) EXPECT_EQ(FloatToHalf(c.value), c.code) << c.value;
}

}  // namespace
}  // namespace velorin
