#pragma once

#include <cstdint>

#include "image/zp_image.h"

namespace velorin {

// A pixel type and a channel count, as a kernel's template parameter.
template <typename T, int N>
struct PixelForm {
    using Value = T;
    static constexpr int kChannels = N;
};

// Calls work(Value()) for the type of a picture: 3 of them. False, and no call, for any other.
template <typename Work>
bool WithPictureType(int pixelType, Work&& work) {
    switch (pixelType) {
        case ZPPixUChar:
            work(std::uint8_t());
            return true;
        case ZPPixUShort:
            work(std::uint16_t());
            return true;
        case ZPPixFloat:
            work(float());
            return true;
        default:
            return false;
    }
}

// Calls work(Value(), Other()) for two types of pictures: 9 pairs.
template <typename Work>
bool WithTypePair(int pixelType, int otherType, Work&& work) {
    bool known = false;
    WithPictureType(pixelType, [&](auto value) {
        known = WithPictureType(otherType, [&](auto other) { work(value, other); });
    });
    return known;
}

// Calls work(PixelForm<Value, N>()) for the type and the 1 to 4 channels of `image`: 12 forms.
template <typename Work>
bool WithPictureForm(const ZPImage& image, Work&& work) {
    bool known = false;
    WithPictureType(image.pixelType, [&](auto value) {
        using Value = decltype(value);
        known = true;
        switch (image.channels) {
            case 1:
                return work(PixelForm<Value, 1>());
            case 2:
                return work(PixelForm<Value, 2>());
            case 3:
                return work(PixelForm<Value, 3>());
            case 4:
                return work(PixelForm<Value, 4>());
            default:
                known = false;
        }
    });
    return known;
}

}  // namespace velorin
