#include "image/rounding.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/noise.h"

namespace velorin {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

TEST(Rounding, TruncationOutOfRangeIsTheMostNegativeInt) {
    EXPECT_EQ(Truncate(-1.99f), -1);
    EXPECT_EQ(Truncate(2147483520.0f), 2147483520);
    EXPECT_EQ(Truncate(-2147483648.0f), INT32_MIN);
    EXPECT_EQ(Truncate(2147483647.9), 2147483647);
    EXPECT_EQ(Truncate(-2147483648.9), INT32_MIN);
    for (float wild : {2147483648.0f, 1e20f, -1e20f, kInfinity, -kInfinity, kNan}) {
        EXPECT_EQ(Truncate(wild), INT32_MIN);
        EXPECT_EQ(Truncate(static_cast<double>(wild)), INT32_MIN);
        EXPECT_EQ(TruncateUnclamped<std::uint16_t>(wild), 0);
    }
}

TEST(Rounding, UnclampedKeepsLowBits) {
    EXPECT_EQ(TruncateUnclamped<std::uint8_t>(300.7f), 44);
    EXPECT_EQ(RoundUnclamped<std::uint8_t>(255.49f), 255);
    EXPECT_EQ(RoundUnclamped<std::uint8_t>(255.5f), 0);
    EXPECT_EQ(RoundUnclamped<std::uint8_t>(-1.5f), 255);
    EXPECT_EQ(RoundUnclamped<std::uint16_t>(70000.0f), 4464);
    EXPECT_EQ(RoundUnclamped<float>(1.75f), 1.75f);
    EXPECT_EQ(PlainCast<std::uint8_t>(std::uint16_t{0x1234}), 0x34);
    EXPECT_EQ(PlainCast<std::uint16_t>(-2.5f), 65534);
    EXPECT_EQ(PlainCast<float>(std::uint16_t{40000}), 40000.0f);
}

TEST(Rounding, TheTypeOfTheSumDecides) {
    const float belowHalf = std::nextafter(0.5f, 0.0f);
    EXPECT_EQ(RoundUnclamped<std::uint8_t>(belowHalf), 1);
    EXPECT_EQ(RoundUnclamped<std::uint8_t>(static_cast<double>(belowHalf)), 0);
    EXPECT_EQ(RoundInside<std::uint8_t>(belowHalf), 1);
    EXPECT_EQ(RoundInside<std::uint8_t>(static_cast<double>(belowHalf)), 0);
    EXPECT_EQ(RoundClamped<std::uint8_t>(belowHalf), 1);
}

TEST(Rounding, ClampedStaysWithinWhite) {
    EXPECT_EQ(RoundClamped<std::uint8_t>(254.5f), 255);
    EXPECT_EQ(RoundClamped<std::uint8_t>(254.49f), 254);
    EXPECT_EQ(RoundClamped<std::uint8_t>(-0.6f), 0);
    EXPECT_EQ(RoundClamped<std::uint8_t>(kInfinity), 255);
    EXPECT_EQ(RoundClamped<std::uint16_t>(1e9f), 65535);
    EXPECT_EQ(RoundClamped<std::uint16_t>(-kInfinity), 0);
    EXPECT_EQ(RoundClamped<std::uint16_t>(kNan), 0);
    EXPECT_SAME_BITS(RoundClamped<float>(-7.5f), -7.5f);
    EXPECT_EQ(RoundToRange<std::uint16_t>(4095.9f, 4095.0f), 4095);
    EXPECT_EQ(RoundToRange<std::uint16_t>(4094.5f, 4095.0f), 4095);
    EXPECT_EQ(RoundToRange<std::uint16_t>(-3.0f, 4095.0f), 0);
    EXPECT_EQ(RoundToRange<std::uint16_t>(kNan, 4095.0f), 0);
}

}  // namespace
}  // namespace velorin
