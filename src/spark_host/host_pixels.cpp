#include "spark_host/host_pixels.h"

#include <cstdint>

#include "image/half_float.h"

namespace velorin {

namespace {

struct Bytes {
    using Host = std::uint8_t;
    using Value = std::uint8_t;
    static constexpr Value kWhite = 255;
    static Host Pack(Value value) { return value; }
    static Value Unpack(Host value) { return value; }
};

struct Words {
    using Host = std::uint16_t;
    using Value = std::uint16_t;
    static constexpr Value kWhite = 65535;
    static Host Pack(Value value) { return value & 0xfff0; }
    static Value Unpack(Host value) { return value; }
};

struct Halves {
    using Host = std::uint16_t;
    using Value = float;
    static constexpr Value kWhite = 1.0f;
    static Host Pack(Value value) { return FloatToHalf(value); }
    static Value Unpack(Host value) { return HalfToFloat(value); }
};

template <typename Work>
void WithChannel(int sparkFormat, Work&& work) {
    if (sparkFormat == 24 || sparkFormat == 25) return work(Bytes());
    if (sparkFormat == 48 || sparkFormat == 64) return work(Words());
    if (sparkFormat == 49) return work(Halves());
}

template <typename Channel>
void PackRows(const std::byte* picture, int width, int height, std::byte* frame) {
    auto* out = reinterpret_cast<typename Channel::Host*>(frame);
    for (int y = height - 1; y >= 0; --y) {
        const auto* in = reinterpret_cast<const typename Channel::Value*>(picture) +
                         static_cast<std::ptrdiff_t>(y) * width * 4;
        for (int x = 0; x < width; ++x, in += 4, out += 3) {
            for (int c = 0; c < 3; ++c) out[c] = Channel::Pack(in[c]);
        }
    }
}

template <typename Channel>
void UnpackRows(const std::byte* frame, int width, int height, std::byte* picture) {
    const auto* in = reinterpret_cast<const typename Channel::Host*>(frame);
    for (int y = height - 1; y >= 0; --y) {
        auto* out = reinterpret_cast<typename Channel::Value*>(picture) +
                    static_cast<std::ptrdiff_t>(y) * width * 4;
        for (int x = 0; x < width; ++x, in += 3, out += 4) {
            for (int c = 0; c < 3; ++c) out[c] = Channel::Unpack(in[c]);
            out[3] = Channel::kWhite;
        }
    }
}

}  // namespace

int HostPixelBytes(int sparkFormat) {
    int bytes = 0;
    WithChannel(sparkFormat, [&](auto channel) {
        bytes = 3 * static_cast<int>(sizeof(typename decltype(channel)::Host));
    });
    return bytes;
}

void PackHostFrame(const std::byte* picture, int width, int height, int sparkFormat,
                   std::byte* frame) {
    WithChannel(sparkFormat,
                [&](auto channel) { PackRows<decltype(channel)>(picture, width, height, frame); });
}

void UnpackHostFrame(const std::byte* frame, int width, int height, int sparkFormat,
                     std::byte* picture) {
    WithChannel(sparkFormat, [&](auto channel) {
        UnpackRows<decltype(channel)>(frame, width, height, picture);
    });
}

}  // namespace velorin
