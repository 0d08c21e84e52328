#include "image/pixel_type.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "support/noise.h"

namespace velorin {
namespace {

template <typename Stored>
float ReadBack(int pixelType, Stored stored) {
    return ChannelReader(pixelType)(&stored);
}

template <typename Stored>
Stored Written(int pixelType, float value) {
    Stored stored{};
    ChannelWriter(pixelType)(&stored, value);
    return stored;
}

TEST(PixelType, ReadersCarryTheNumber) {
    EXPECT_EQ(ReadBack<std::uint8_t>(ZPPixUChar, 200), 200.0f);
    EXPECT_EQ(ReadBack<std::uint16_t>(ZPPixUShort, 40000), 40000.0f);
    EXPECT_SAME_BITS(ReadBack<float>(ZPPixFloat, -0.0f), -0.0f);
    EXPECT_EQ(ReadBack<std::int8_t>(ZPPixChar, -56), -56.0f);
    EXPECT_EQ(ReadBack<std::int16_t>(ZPPixShort, -25536), -25536.0f);
    EXPECT_EQ(ReadBack<std::int16_t>(ZPPixFixedShort, -16384), -16384 * 1.5258789e-5f);
    EXPECT_EQ(ReadBack<std::uint16_t>(ZPPixFixedUShort, 49152), 49152 * 1.5258789e-5f);
    EXPECT_EQ(ReadBack<double>(ZPPixDouble, 0.1), 0.1f);
    EXPECT_EQ(ReadBack<std::int64_t>(ZPPixLong, -(1LL << 40)), -1099511627776.0f);
}

TEST(PixelType, WritersTruncateAndKeepLowBits) {
    EXPECT_EQ(Written<std::uint8_t>(ZPPixUChar, 254.99f), 254);
    EXPECT_EQ(Written<std::uint8_t>(ZPPixUChar, 258.5f), 2);
    EXPECT_EQ(Written<std::uint8_t>(ZPPixUChar, -1.5f), 255);
    EXPECT_EQ(Written<std::uint16_t>(ZPPixUShort, 65537.9f), 1);
    EXPECT_EQ(Written<float>(ZPPixFloat, 1e-41f), 1e-41f);
    EXPECT_EQ(Written<std::int8_t>(ZPPixChar, -3.9f), -3);
    EXPECT_EQ(Written<std::int16_t>(ZPPixShort, 32768.0f), -32768);
    EXPECT_EQ(Written<std::uint16_t>(ZPPixFixedUShort, 0.75f), 49152);
    EXPECT_EQ(Written<double>(ZPPixDouble, 0.1f), static_cast<double>(0.1f));
    EXPECT_EQ(Written<std::int64_t>(ZPPixLong, -1099511627776.0f), -(1LL << 40));
}

TEST(PixelType, UnevenRowsStayUneven) {
    // The writer of signed fixed point multiplies by the reader's factor, so 1.0 is lost.
    EXPECT_EQ(Written<std::int16_t>(ZPPixFixedShort, 1.0f), 0);
    EXPECT_EQ(Written<std::int16_t>(ZPPixFixedShort, 200000.0f), 3);
    // A long counts for 4 bytes and moves 8.
    EXPECT_EQ(ChannelBytes(ZPPixLong), 4);
    EXPECT_EQ(Written<std::int64_t>(ZPPixLong, 4294967296.0f), 1LL << 32);
}

}  // namespace
}  // namespace velorin
