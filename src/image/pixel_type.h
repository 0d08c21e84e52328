#pragma once

#include <cstdint>

namespace velorin {

// What one channel of a pixel is. The first three hold pictures: 0 is black, the white point white.
enum ZPPixelType {
    ZPPixUChar = 0,   // 0 to 255
    ZPPixUShort = 1,  // 0 to 65535
    ZPPixFloat = 2,   // 0.0 to 1.0, and what lies beyond is kept
    ZPPixChar = 3,
    ZPPixShort = 4,
    ZPPixFixedShort = 5,
    ZPPixFixedUShort = 6,
    ZPPixDouble = 7,
    ZPPixLong = 8,
};

// The scalar reader and writer of a type, for the few operations that go value by value.
using ZPReadChannel = float (*)(const void* channel);
using ZPWriteChannel = void (*)(void* channel, float value);

// Bytes of one channel; 0 for a value above ZPPixLong or below 0.
int ChannelBytes(int pixelType);
// 255, 65535 or 1 for the picture types; any other leaves `whitePoint` as it was.
void LookUpWhitePoint(int pixelType, float& whitePoint);
// Null for a value above ZPPixLong or below 0.
ZPReadChannel ChannelReader(int pixelType);
ZPWriteChannel ChannelWriter(int pixelType);

// The picture type that a C++ type stands for, and its white point.
template <typename Value>
struct PictureType;
template <>
struct PictureType<std::uint8_t> {
    static constexpr int kPixelType = ZPPixUChar;
    static constexpr float kWhite = 255.0f;
};
template <>
struct PictureType<std::uint16_t> {
    static constexpr int kPixelType = ZPPixUShort;
    static constexpr float kWhite = 65535.0f;
};
template <>
struct PictureType<float> {
    static constexpr int kPixelType = ZPPixFloat;
    static constexpr float kWhite = 1.0f;
};

}  // namespace velorin
