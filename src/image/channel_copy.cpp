#include <cstdint>
#include <cstdio>
#include <type_traits>
#include <utility>

#include "image/copy.h"
#include "image/parallel_rows.h"
#include "image/pixel_form.h"
#include "image/rounding.h"

namespace velorin {

namespace {

struct ChannelCopy {
    ZPImage& to;
    const ZPImage& from;
    int toChannel, fromChannel;
};

// Calls work(channels) with the count as a constant for the common layouts, one channel and four.
template <typename Work>
void WithStride(int channels, Work&& work) {
    if (channels == 1) return work(std::integral_constant<int, 1>());
    if (channels == 4) return work(std::integral_constant<int, 4>());
    work(channels);
}

template <typename To, typename From, typename ToStride, typename FromStride>
void CopyChannelRows(const ChannelCopy& job, ToStride toStride, FromStride fromStride) {
    ParallelRows(job.to.height, [&](int firstRow, int lastRow) {
        for (int y = firstRow; y <= lastRow; ++y) {
            To* out = job.to.Row<To>(y) + job.toChannel;
            const From* in = job.from.Row<From>(y) + job.fromChannel;
            for (int x = 0; x < job.to.width; ++x) {
                out[x * toStride] = PlainCast<To>(in[x * fromStride]);
            }
        }
    });
}

template <typename To>
void ClampFloatRows(ZPImage& to, const ZPImage& from, float low, float high, float k) {
    const To white = TruncateUnclamped<To>(k);
    ParallelRows(to.height, [&](int firstRow, int lastRow) {
        const int count = to.width * to.channels;
        for (int y = firstRow; y <= lastRow; ++y) {
            To* out = to.Row<To>(y);
            const float* in = from.Row<float>(y);
            for (int i = 0; i < count; ++i) {
                if (in[i] <= low) {
                    out[i] = 0;
                } else if (in[i] >= high) {
                    out[i] = white;
                } else {
                    out[i] = RoundUnclamped<To>(in[i] * k);
                }
            }
        }
    });
}

}  // namespace

void CopyCHannelIntoCHannel(ZPImage& destination, int destinationChannel, const ZPImage& source,
                            int sourceChannel) {
    if (SizeDiffers(&destination, &source)) {
        std::fputs("CopyCHannelIntoCHannel: incompatible images!\n", stderr);
        return;
    }
    const ChannelCopy job{destination, source, destinationChannel, sourceChannel};
    WithTypePair(destination.pixelType, source.pixelType, [&](auto toZero, auto fromZero) {
        WithStride(destination.channels, [&](auto toStride) {
            WithStride(source.channels, [&](auto fromStride) {
                CopyChannelRows<decltype(toZero), decltype(fromZero)>(job, toStride, fromStride);
            });
        });
    });
}

void ConvertFloatClamped(ZPImage& destination, const ZPImage& source, float low, float high) {
    if (SizeDiffers(&destination, &source)) return;
    float lowest = low * source.whitePoint;
    float highest = high * source.whitePoint;
    if (lowest > highest) std::swap(lowest, highest);
    if (destination.pixelType == ZPPixUShort) {
        const float k = destination.whitePoint / source.whitePoint;
        ClampFloatRows<std::uint16_t>(destination, source, lowest, highest, k);
    } else if (destination.pixelType == ZPPixUChar) {
        // On purpose not the destination's white point, unlike 16 bits.
        const float k = 255.0f / source.whitePoint;
        ClampFloatRows<std::uint8_t>(destination, source, lowest, highest, k);
    }
}

const ZPImage* ResolveImage(const KQImage* image) {
    if (!image || !image->internal) return nullptr;
    return image->internal->width != 0 && image->internal->height != 0 ? image->internal : nullptr;
}

ZPImage* ResolveImage(KQImage* image) {
    return const_cast<ZPImage*>(ResolveImage(static_cast<const KQImage*>(image)));
}

int CopyImage(KQImage* destination, const KQImage* source) {
    ZPImage* to = ResolveImage(destination);
    const ZPImage* from = ResolveImage(source);
    if (!to || !from) return ZPErrNone;
    if (to->pixelType != ZPPixFloat && from->pixelType == ZPPixFloat) {
        ConvertFloatClamped(*to, *from, 0.0f, 1.0f);
    } else {
        CopyConverted(*to, *from);
    }
    return ZPErrNone;
}

}  // namespace velorin
