#include "image/pixel_type.h"

#include <cstring>

#include "image/rounding.h"

namespace velorin {

namespace {

constexpr float kFixedStep = 1.5258789e-5f;

template <typename Stored>
Stored Load(const void* channel) {
    Stored stored;
    std::memcpy(&stored, channel, sizeof stored);
    return stored;
}

template <typename Stored>
void Store(void* channel, Stored stored) {
    std::memcpy(channel, &stored, sizeof stored);
}

template <typename Stored>
float ReadPlain(const void* channel) {
    return static_cast<float>(Load<Stored>(channel));
}

template <typename Stored>
void WriteTruncated(void* channel, float value) {
    Store(channel, TruncateUnclamped<Stored>(value));
}

float ReadFixedShort(const void* channel) {
    return ReadPlain<std::int16_t>(channel) * kFixedStep;
}

float ReadFixedUShort(const void* channel) {
    return ReadPlain<std::uint16_t>(channel) * kFixedStep;
}

// On purpose the reader's own factor and not its inverse, unlike the unsigned writer below.
void WriteFixedShort(void* channel, float value) {
    WriteTruncated<std::int16_t>(channel, value * kFixedStep);
}

void WriteFixedUShort(void* channel, float value) {
    WriteTruncated<std::uint16_t>(channel, value * 65536.0f);
}

void WriteLong(void* channel, float value) {
    const bool fits = value >= -9223372036854775808.0f && value < 9223372036854775808.0f;
    Store(channel, fits ? static_cast<std::int64_t>(value) : INT64_MIN);
}

struct TypeRow {
    int channelBytes;
    ZPReadChannel read;
    ZPWriteChannel write;
};

constexpr TypeRow kTypes[] = {
    {1, ReadPlain<std::uint8_t>, WriteTruncated<std::uint8_t>},
    {2, ReadPlain<std::uint16_t>, WriteTruncated<std::uint16_t>},
    {4, ReadPlain<float>, WriteTruncated<float>},
    {1, ReadPlain<std::int8_t>, WriteTruncated<std::int8_t>},
    {2, ReadPlain<std::int16_t>, WriteTruncated<std::int16_t>},
    {2, ReadFixedShort, WriteFixedShort},
    {2, ReadFixedUShort, WriteFixedUShort},
    {8, ReadPlain<double>, WriteTruncated<double>},
    // On purpose sized 4 although its reader and writer move 8 bytes.
    {4, ReadPlain<std::int64_t>, WriteLong},
};

bool Known(int pixelType) {
    return pixelType >= ZPPixUChar && pixelType <= ZPPixLong;
}

}  // namespace

int ChannelBytes(int pixelType) {
    return Known(pixelType) ? kTypes[pixelType].channelBytes : 0;
}

void LookUpWhitePoint(int pixelType, float& whitePoint) {
    switch (pixelType) {
        case ZPPixUChar:
            whitePoint = PictureType<std::uint8_t>::kWhite;
            break;
        case ZPPixUShort:
            whitePoint = PictureType<std::uint16_t>::kWhite;
            break;
        case ZPPixFloat:
            whitePoint = PictureType<float>::kWhite;
            break;
        default:
            break;
    }
}

ZPReadChannel ChannelReader(int pixelType) {
    return Known(pixelType) ? kTypes[pixelType].read : nullptr;
}

ZPWriteChannel ChannelWriter(int pixelType) {
    return Known(pixelType) ? kTypes[pixelType].write : nullptr;
}

}  // namespace velorin
