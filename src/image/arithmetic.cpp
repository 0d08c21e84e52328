#include "image/arithmetic.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "image/composite.h"
#include "image/copy.h"
#include "image/parallel_rows.h"
#include "image/pixel_form.h"
#include "image/rounding.h"

namespace velorin {

namespace {

template <typename Value>
Value FractionOfWhite(float fraction, float whitePoint) {
    if constexpr (std::is_floating_point_v<Value>) {
        return fraction * whitePoint;
    } else if constexpr (std::is_same_v<Value, std::uint8_t>) {
        return RoundUnclamped<Value>(static_cast<double>(fraction) * 255.0);
    } else {
        // On purpose 0.499: a fraction that lands on a half goes down in 16 bits and up in 8.
        return TruncateUnclamped<Value>(static_cast<double>(fraction) * 65535.0 + 0.499);
    }
}

// Replaces every value of the image's rows by change(value), `count` values a row.
template <typename Value, typename Change>
void ChangeValues(ZPImage& image, int count, const Change& change) {
    ParallelRows(image.height, [&](int firstRow, int lastRow) {
        for (int y = firstRow; y <= lastRow; ++y) {
            Value* row = image.Row<Value>(y);
            for (int i = 0; i < count; ++i) row[i] = change(row[i]);
        }
    });
}

template <typename Value, typename Combine>
void CombineRow(ZPImage& to, const ZPImage& from, int y, const Combine& combine) {
    Value* out = to.Row<Value>(y);
    const Value* in = from.Row<Value>(y);
    for (int i = 0; i < to.width * to.channels; ++i) out[i] = combine(out[i], in[i]);
}

// The way of any two types, value by value.
template <typename Combine>
void CombineByAccessors(ZPImage& to, const ZPImage& from, const Combine& combine) {
    const ZPWriteChannel write = ChannelWriter(to.pixelType);
    for (int y = 0; y < to.height; ++y) {
        char* out = to.Row<char>(y);
        const char* in = from.Row<char>(y);
        for (int x = 0; x < to.width; ++x, out += to.pixelBytes, in += from.pixelBytes) {
            for (int c = 0; c < to.channels; ++c) {
                char* value = out + c * to.channelBytes;
                const float other = from.readChannel(in + c * from.channelBytes);
                write(value, combine(to.readChannel(value), other));
            }
        }
    }
}

template <typename Value>
void ReadValues(const ZPImage& image, int x, int y, float* values) {
    const char* pixel = image.Row<char>(y) + static_cast<std::ptrdiff_t>(x) * image.pixelBytes;
    for (int c = 0; c < image.channels; ++c) {
        Value value;
        std::memcpy(&value, pixel + c * sizeof value, sizeof value);
        values[c] = static_cast<float>(value);
    }
}

}  // namespace

void FillColor(ZPImage& image, float r, float g, float b, float a) {
    const float fractions[] = {r, g, b, a};
    WithPictureForm(image, [&](auto form) {
        using Value = typename decltype(form)::Value;
        constexpr int kChannels = decltype(form)::kChannels;
        Value color[kChannels];
        for (int c = 0; c < kChannels; ++c) {
            color[c] = FractionOfWhite<Value>(fractions[c], image.whitePoint);
        }
        for (int y = 0; y < image.height; ++y) {
            Value* pixel = image.Row<Value>(y);
            for (int x = 0; x < image.width; ++x, pixel += kChannels) {
                for (int c = 0; c < kChannels; ++c) pixel[c] = color[c];
            }
        }
    });
}

void FillPixel(ZPImage& image, const void* pixel) {
    ParallelRows(image.height, [&](int firstRow, int lastRow) {
        char* filled = image.Row<char>(firstRow);
        for (int x = 0; x < image.width; ++x) {
            std::memcpy(filled + static_cast<std::ptrdiff_t>(x) * image.pixelBytes, pixel,
                        image.pixelBytes);
        }
        for (int y = firstRow + 1; y <= lastRow; ++y) {
            std::memcpy(image.Row<char>(y), filled, image.RowPixelBytes());
        }
    });
}

void ScaleValues(ZPImage& image, float factor) {
    if (std::fabs(factor - 1.0f) < 0.000001f) return;
    WithPictureType(image.pixelType, [&](auto zero) {
        using Value = decltype(zero);
        // On purpose truncated: an 8-bit 3 times 0.5 is 1, not 2.
        ChangeValues<Value>(image, image.width * image.channels, [factor](Value value) {
            return TruncateUnclamped<Value>(static_cast<float>(value) * factor);
        });
    });
}

void MaxInto(ZPImage& destination, const ZPImage& source) {
    const auto larger = [](auto ours, auto theirs) { return theirs > ours ? theirs : ours; };
    const bool alike = destination.pixelType == source.pixelType;
    const bool direct = alike && destination.channels == 1 && source.channels == 1 &&
                        WithPictureType(destination.pixelType, [&](auto zero) {
                            for (int y = 0; y < destination.height; ++y) {
                                CombineRow<decltype(zero)>(destination, source, y, larger);
                            }
                        });
    if (!direct) CombineByAccessors(destination, source, larger);
}

void SubtractInto(ZPImage& destination, const ZPImage& source) {
    const auto difference = [](float ours, float theirs) { return ours - theirs; };
    const bool floats = destination.pixelType == ZPPixFloat && source.pixelType == ZPPixFloat;
    const bool direct = floats && destination.channels == source.channels &&
                        (source.channels == 1 || source.channels == 2);
    if (!direct) {
        CombineByAccessors(destination, source, difference);
        return;
    }
    ParallelRows(destination.height, [&](int firstRow, int lastRow) {
        for (int y = firstRow; y <= lastRow; ++y) {
            CombineRow<float>(destination, source, y, difference);
        }
    });
}

void InvertBytes(ZPImage& image) {
    for (int y = 0; y < image.height; ++y) {
        auto* row = image.Row<std::uint8_t>(y);
        for (int x = 0; x < image.width; ++x) row[x] = static_cast<std::uint8_t>(~row[x]);
    }
}

void InvertImage(ZPImage& image) {
    WithPictureType(image.pixelType, [&](auto zero) {
        using Value = decltype(zero);
        // On purpose `width` values and not `width` times `channels`.
        ChangeValues<Value>(image, image.width, [](Value value) {
            if constexpr (std::is_floating_point_v<Value>) {
                return 1.0f - value;
            } else {
                return static_cast<Value>(~value);
            }
        });
    });
}

void ReadPixel(const ZPImage& image, int x, int y, float* values) {
    if (image.pixelType == ZPPixUChar) {
        ReadValues<std::uint8_t>(image, x, y, values);
    } else if (image.pixelType == ZPPixUShort || image.pixelType == ZPPixFloat) {
        // On purpose float images too: their first bytes come out as 16-bit words.
        ReadValues<std::uint16_t>(image, x, y, values);
    }
}

void WritePixel(ZPImage& image, int x, int y, const float* values) {
    char* pixel = image.Row<char>(y) + static_cast<std::ptrdiff_t>(x) * image.pixelBytes;
    if (image.pixelType == ZPPixFloat) {
        std::memcpy(pixel, values, image.pixelBytes);
        return;
    }
    const ZPWriteChannel write = ChannelWriter(image.pixelType);
    for (int c = 0; c < image.channels; ++c) write(pixel + c * image.channelBytes, values[c]);
}

int ScaleForHostDepth(KQImage* image, float scale) {
    if (!image) return ZPErrBadArgument;
    ZPImage* pixels = ResolveImage(image);
    if (!pixels || pixels->pixelType != ZPPixUShort) return ZPErrNone;
    if (pixels->channels != 4) return ScaleClamped(image, scale, 65535.0f);
    if (scale == 0.0f) {
        FillColor(*pixels, 0.0f, 0.0f, 0.0f, 1.0f);
        return ZPErrNone;
    }
    ChangeValues<std::uint16_t>(*pixels, pixels->width * 4, [scale](std::uint16_t value) {
        return RoundUnclamped<std::uint16_t>(static_cast<double>(value * scale));
    });
    return ZPErrNone;
}

int ScaleClamped(KQImage* image, float scale, float maximum) {
    if (!image) return ZPErrBadArgument;
    ZPImage* pixels = ResolveImage(image);
    if (!pixels || pixels->pixelType != ZPPixUShort) return ZPErrNone;
    if (scale == 0.0f) {
        FillColor(*pixels, 0.0f, 0.0f, 0.0f, 0.0f);
        return ZPErrNone;
    }
    // On purpose not multiplied again afterwards: the host takes straight colour.
    if (pixels->channels == 4) Unpremultiply(*pixels);
    const int count = pixels->width * pixels->channels;
    ChangeValues<std::uint16_t>(*pixels, count, [scale, maximum](std::uint16_t value) {
        return RoundToRange<std::uint16_t>(value * scale, maximum);
    });
    return ZPErrNone;
}

}  // namespace velorin
