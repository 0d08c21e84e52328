#include "media/pixel_transfer.h"

#include <algorithm>
#include <cstring>

namespace velorin {
namespace {

template <typename Value>
constexpr Value FullAlpha() {
    return static_cast<Value>(PictureType<Value>::kWhite);
}

// Copies pixels of `from` samples over those of `to` samples, with one load and one store each:
// what a store leaves in the next pixel, the next store replaces. The last pixel is left to the
// caller, since what lies behind it may be no one's.
template <int from, int to, typename Value>
void CopyButLast(const Value* in, std::size_t pixels, Value* out) {
    for (std::size_t i = 0; i + 1 < pixels; ++i, in += from, out += to) {
        std::memcpy(out, in, 4 * sizeof(Value));
        if constexpr (to == 4) out[3] = FullAlpha<Value>();
    }
}

// The colours of pixels that store these alone.
template <typename Value>
void SpreadColours(const StoredPixels& stored, int x, int y, Picture& picture) {
    const auto* in = reinterpret_cast<const Value*>(stored.pixels);
    for (int row = 0; row < stored.height; ++row, in += 3 * stored.width) {
        const std::size_t first = static_cast<std::size_t>(y + row) * picture.width + x;
        auto* out = reinterpret_cast<Value*>(picture.pixels.data()) + first * 4;
        CopyButLast<3, 4>(in, stored.width, out);
        const std::size_t last = stored.width - 1;
        std::copy_n(in + 3 * last, 3, out + 4 * last);
        out[4 * last + 3] = FullAlpha<Value>();
    }
}

template <typename Value>
void Spread(const StoredPixels& stored, int x, int y, Picture& picture) {
    const bool ordered = stored.source[0] == 0 && stored.source[1] == 1 && stored.source[2] == 2;
    if (stored.layout == 3 && stored.channels == 3 && ordered) {
        return SpreadColours<Value>(stored, x, y, picture);
    }
    const bool gray = stored.layout <= 2;
    const bool alpha = stored.layout % 2 == 0;
    const int* source = stored.source;
    const int order[4] = {source[0], source[gray ? 0 : 1], source[gray ? 0 : 2],
                          alpha ? source[gray ? 1 : 3] : 0};
    const auto* in = reinterpret_cast<const Value*>(stored.pixels);
    for (int row = 0; row < stored.height; ++row) {
        const std::size_t first = static_cast<std::size_t>(y + row) * picture.width + x;
        auto* out = reinterpret_cast<Value*>(picture.pixels.data()) + first * 4;
        for (int i = 0; i < stored.width; ++i, in += stored.channels, out += 4) {
            for (int c = 0; c < 3; ++c) out[c] = in[order[c]];
            out[3] = alpha ? in[order[3]] : FullAlpha<Value>();
        }
    }
}

template <typename Value>
void Clear(Picture& picture, Value alpha) {
    auto* out = reinterpret_cast<Value*>(picture.pixels.data());
    auto* end = out + picture.pixels.size() / sizeof(Value);
    for (; out != end; out += 4) {
        out[0] = out[1] = out[2] = 0;
        out[3] = alpha;
    }
}

template <typename Value>
void Pack(const Picture& picture, int layout, std::vector<std::byte>& packed) {
    const std::size_t pixels = static_cast<std::size_t>(picture.width) * picture.height;
    packed.resize(pixels * layout * sizeof(Value));
    const auto* in = reinterpret_cast<const Value*>(picture.pixels.data());
    auto* out = reinterpret_cast<Value*>(packed.data());
    if (layout == 3 && pixels > 0) {
        CopyButLast<4, 3>(in, pixels, out);
        std::copy_n(in + 4 * (pixels - 1), 3, out + 3 * (pixels - 1));
        return;
    }
    const int last = layout == 2 ? 3 : layout - 1;
    const int colours = layout <= 2 ? 1 : 3;
    for (std::size_t i = 0; i < pixels; ++i, in += 4, out += layout) {
        for (int c = 0; c < colours; ++c) out[c] = in[c];
        out[layout - 1] = in[last];
    }
}

// Calls body with a value of the picture's sample type.
template <typename Body>
void WithSampleType(int pixelType, Body&& body) {
    if (pixelType == ZPPixUChar) {
        body(std::uint8_t{});
    } else if (pixelType == ZPPixUShort) {
        body(std::uint16_t{});
    } else {
        body(float{});
    }
}

}  // namespace

void SpreadPixels(const StoredPixels& stored, int x, int y, Picture& picture) {
    WithSampleType(picture.pixelType,
                   [&](auto value) { Spread<decltype(value)>(stored, x, y, picture); });
}

void ClearPicture(Picture& picture, bool fullAlpha) {
    WithSampleType(picture.pixelType, [&](auto value) {
        using Value = decltype(value);
        Clear<Value>(picture, fullAlpha ? FullAlpha<Value>() : Value{});
    });
}

Window FilledWindow(const Picture& picture, int layout, const Window& least) {
    const int colours = layout <= 2 ? 1 : 3;
    const bool alpha = layout % 2 == 0;
    const auto* pixel = reinterpret_cast<const float*>(picture.pixels.data());
    int left = least.x;
    int right = least.x + least.width - 1;
    int top = least.y;
    int bottom = least.y + least.height - 1;
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x, pixel += 4) {
            const bool zero =
                std::all_of(pixel, pixel + colours, [](float v) { return v == 0.0f; });
            if (zero && !(alpha && pixel[3] != 0.0f)) continue;
            left = std::min(left, x);
            right = std::max(right, x);
            top = std::min(top, y);
            bottom = std::max(bottom, y);
        }
    }
    return {left, top, right - left + 1, bottom - top + 1};
}

void CutPicture(const Picture& picture, const Window& window, Picture& part) {
    part.SetShape(window.width, window.height, picture.pixelType, picture.channels);
    const std::size_t pixelBytes = static_cast<std::size_t>(picture.RowBytes()) / picture.width;
    const std::byte* in = picture.pixels.data() +
                          window.y * static_cast<std::size_t>(picture.RowBytes()) +
                          window.x * pixelBytes;
    std::byte* out = part.pixels.data();
    for (int y = 0; y < window.height; ++y, in += picture.RowBytes(), out += part.RowBytes()) {
        std::copy_n(in, part.RowBytes(), out);
    }
}

void PackPixels(const Picture& picture, int layout, std::vector<std::byte>& packed) {
    WithSampleType(picture.pixelType,
                   [&](auto value) { Pack<decltype(value)>(picture, layout, packed); });
}

}  // namespace velorin
