#include "host/pack.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <type_traits>

#include "host/my_image.h"
#include "image/half_float.h"
#include "image/pixel_type.h"

namespace velorin {

namespace {

// How a channel looks in the host's buffer and in the engine's block, and the way from one to the
// other. `old` is the host's channel as it was.

struct ByteChannel {
    using Host = std::uint8_t;
    using Block = std::uint8_t;
    static constexpr Block kWhite = 255;
    static Block Unpack(Host value) { return value; }
    static Host Pack(Block value, Host /*old*/) { return value; }
};

struct TwelveBitChannel {
    using Host = std::uint16_t;
    using Block = std::uint16_t;
    static constexpr Block kWhite = 4095;
    static Block Unpack(Host value) { return static_cast<Block>(value >> 4); }
    static Host Pack(Block value, Host old) { return static_cast<Host>((old & 15) | value * 16); }
};

struct HalfChannel {
    using Host = std::uint16_t;
    using Block = float;
    static constexpr Block kWhite = 1.0f;
    static Block Unpack(Host value) { return HalfToFloat(value); }
    static Host Pack(Block value, Host /*old*/) { return FloatToHalf(value); }
};

// Calls work(channel) with the channel of the format; nothing where it is not known.
template <typename Work>
void WithChannel(int sparkFormat, Work&& work) {
    int type = 0;
    if (!PixelTypeOfSparkFormat(sparkFormat, type)) return;
    if (type == ZPPixUChar) return work(ByteChannel());
    if (type == ZPPixUShort) return work(TwelveBitChannel());
    work(HalfChannel());
}

// What a worker needs: the fork hands on one pointer.
struct CombineJob {
    int sparkFormat;
    void* block;
    std::int64_t blockBytes;
    const void* host;
    const void* extra = nullptr;
    int argument = 0;
    int channel = 0;
};

struct UnCombineJob {
    int sparkFormat;
    const void* block;
    std::int64_t blockBytes;
    void* colour;
    void* alpha;
};

struct Share {
    long long first = 0;
    long long count = 0;
};

Share ShareOfThisThread() {
    Share share;
    sparkMpInfo(&share.first, &share.count);
    return share;
}

// What of a share lies in the block: the host shares out a frame of its own measure.
Share Within(Share share, std::int64_t blockBytes, int pixelBytes) {
    const long long pixels = blockBytes / pixelBytes;
    const long long first = std::clamp(share.first, 0LL, pixels);
    return {first, std::clamp(share.first + share.count, first, pixels) - first};
}

template <typename Channel>
void CombineFour(const CombineJob& job, Share whole) {
    const Share share = Within(whole, job.blockBytes, 4 * sizeof(typename Channel::Block));
    auto* out = static_cast<typename Channel::Block*>(job.block) + share.first * 4;
    const auto* in = static_cast<const typename Channel::Host*>(job.host) + share.first * 3;
    for (long long i = 0; i < share.count; ++i, out += 4, in += 3) {
        for (int c = 0; c < 3; ++c) out[c] = Channel::Unpack(in[c]);
        out[3] = Channel::kWhite;
    }
}

template <typename Channel>
void WhitenFour(const CombineJob& job, Share whole) {
    const Share share = Within(whole, job.blockBytes, 4 * sizeof(typename Channel::Block));
    auto* out = static_cast<typename Channel::Block*>(job.block) + share.first * 4;
    if (share.count > 0) std::fill_n(out, share.count * 4, Channel::kWhite);
}

template <typename Channel>
void CombineOne(const CombineJob& job, Share whole) {
    const Share share = Within(whole, job.blockBytes, sizeof(typename Channel::Block));
    auto* out = static_cast<typename Channel::Block*>(job.block) + share.first;
    const auto* in = static_cast<const typename Channel::Host*>(job.host) + share.first * 3;
    for (long long i = 0; i < share.count; ++i) out[i] = Channel::Unpack(in[i * 3 + job.channel]);
}

template <typename Channel>
void UnCombineFour(const UnCombineJob& job, Share whole) {
    using Host = typename Channel::Host;
    const Share share = Within(whole, job.blockBytes, 4 * sizeof(typename Channel::Block));
    const auto* in = static_cast<const typename Channel::Block*>(job.block) + share.first * 4;
    auto* colour = static_cast<Host*>(job.colour) + share.first * 3;
    auto* alpha = static_cast<Host*>(job.alpha) + share.first * 3;
    for (long long i = 0; i < share.count; ++i, in += 4, colour += 3, alpha += 3) {
        for (int c = 0; c < 3; ++c) colour[c] = Channel::Pack(in[c], colour[c]);
        for (int c = 0; c < 3; ++c) alpha[c] = Channel::Pack(in[3], alpha[c]);
    }
}

void sparkCombine4Buffers_mp(void* pointer) {
    const auto& job = *static_cast<const CombineJob*>(pointer);
    const Share share = ShareOfThisThread();
    if (!job.block || !job.host || (job.argument == 1 && !job.extra)) return;
    WithChannel(job.sparkFormat, [&](auto channel) {
        using Channel = decltype(channel);
        if (job.argument == 1 && std::is_same_v<Channel, TwelveBitChannel>) {
            WhitenFour<Channel>(job, share);
        } else {
            CombineFour<Channel>(job, share);
        }
    });
}

void sparkCombine1Buffers_mp(void* pointer) {
    const auto& job = *static_cast<const CombineJob*>(pointer);
    const Share share = ShareOfThisThread();
    if (!job.block || !job.host || job.channel < 0 || job.channel > 2) return;
    WithChannel(job.sparkFormat, [&](auto channel) { CombineOne<decltype(channel)>(job, share); });
}

void sparkUnCombine4Buffers_mp(void* pointer) {
    const auto& job = *static_cast<const UnCombineJob*>(pointer);
    const Share share = ShareOfThisThread();
    if (!job.block || !job.colour || !job.alpha) {
        std::printf("uncombine 4 pixel %d offset %d MISSING BUFFER  \n",
                    static_cast<int>(share.count), static_cast<int>(share.first));
        return;
    }
    WithChannel(job.sparkFormat,
                [&](auto channel) { UnCombineFour<decltype(channel)>(job, share); });
}

void ClearFrame(void* buffer, std::int64_t bytes) {
    if (buffer && bytes > 0) std::memset(buffer, 0, static_cast<std::size_t>(bytes));
}

}  // namespace

int sparkCombine4Buffers(const spark_info_struct* info, void* block, std::int64_t blockBytes,
                         const void* host, const void* extra, int argument) {
    if (!info) return 1;
    ClearFrame(block, std::min<std::int64_t>(info->frameBytes, blockBytes));
    CombineJob job{info->frameDepth, block, blockBytes, host, extra, argument};
    sparkMpFork(sparkCombine4Buffers_mp, 1, &job);
    return 1;
}

int sparkCombine1Buffers(const spark_info_struct* info, void* block, std::int64_t blockBytes,
                         const void* host, int channel) {
    if (!info) return 1;
    CombineJob job{info->frameDepth, block, blockBytes, host};
    job.channel = channel;
    sparkMpFork(sparkCombine1Buffers_mp, 1, &job);
    return 1;
}

int sparkUnCombine4Buffers(const spark_info_struct* info, void* colour, const void* block,
                           std::int64_t blockBytes, void* alpha) {
    if (!info) return 1;
    ClearFrame(colour, info->frameBytes);
    UnCombineJob job{info->frameDepth, block, blockBytes, colour, alpha};
    sparkMpFork(sparkUnCombine4Buffers_mp, 1, &job);
    return 1;
}

}  // namespace velorin
