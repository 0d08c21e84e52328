#include "media/video_matrix.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>

extern "C" {
#include <libavutil/bswap.h>
}

#include "image/rounding.h"

namespace velorin {
namespace {

const AVPixFmtDescriptor& Descriptor(int format) {
    return *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(format));
}

const AVPixFmtDescriptor& Descriptor(const AVFrame& frame) {
    return Descriptor(frame.format);
}

// Red's and blue's share of luma.
struct Shares {
    float red;
    float blue;
};

Shares SharesOf(int matrix) {
    switch (matrix) {
        case AVCOL_SPC_BT709:
            return {0.2126f, 0.0722f};
        case AVCOL_SPC_FCC:
            return {0.30f, 0.11f};
        case AVCOL_SPC_SMPTE240M:
            return {0.212f, 0.087f};
        case AVCOL_SPC_BT2020_NCL:
        case AVCOL_SPC_BT2020_CL:
            return {0.2627f, 0.0593f};
        default:
            return {0.299f, 0.114f};
    }
}

// Codes of one depth and range: luma is (code - foot) / luma, chroma (code - middle) / chroma.
struct Codes {
    float foot;
    float luma;
    float middle;
    float chroma;
    float last;
};

Codes CodesOf(int depth, bool full) {
    const auto step = static_cast<float>(1 << (depth - 8));
    const auto last = static_cast<float>((1 << depth) - 1);
    if (full) return {0.0f, last, 128.0f * step, last, last};
    return {16.0f * step, 219.0f * step, 128.0f * step, 224.0f * step, last};
}

float Sample(const Channel& channel, int x, int y) {
    const std::uint8_t* at = channel.data + y * channel.rowBytes + x * channel.step;
    unsigned value = *at;
    if (channel.wide) {
        std::uint16_t word;
        std::memcpy(&word, at, sizeof word);
        value = channel.swapped ? av_bswap16(word) : word;
    }
    return static_cast<float>((value >> channel.shift) & ((1u << channel.depth) - 1u));
}

template <typename Value>
void Unpack(const AVFrame& frame, Picture& picture) {
    constexpr float kWhite = PictureType<Value>::kWhite;
    const int components = Descriptor(frame).nb_components;
    const bool gray = components <= 2;
    const bool alpha = components % 2 == 0;
    std::array<Channel, 4> channels{};
    for (int c = 0; c < components; ++c) channels[c] = ChannelOf(frame, c);

    const Codes codes = CodesOf(channels[0].depth, HasFullRange(frame));
    const Shares shares = gray ? Shares{1.0f, 0.0f} : SharesOf(MatrixOf(frame));
    const float green = 1.0f - shares.red - shares.blue;
    const float toLuma = kWhite / codes.luma;
    const float toRed = 2.0f * (1.0f - shares.red) * kWhite / codes.chroma;
    const float toBlue = 2.0f * (1.0f - shares.blue) * kWhite / codes.chroma;
    const float toAlpha = kWhite / codes.last;
    auto* out = reinterpret_cast<Value*>(picture.pixels.data());
    for (int y = 0; y < frame.height; ++y) {
        for (int x = 0; x < frame.width; ++x, out += 4) {
            const float luma = (Sample(channels[0], x, y) - codes.foot) * toLuma;
            const float red = gray ? 0.0f : (Sample(channels[2], x, y) - codes.middle) * toRed;
            const float blue = gray ? 0.0f : (Sample(channels[1], x, y) - codes.middle) * toBlue;
            out[0] = RoundClamped<Value>(luma + red);
            out[1] = RoundClamped<Value>(
                gray ? luma : luma - (shares.red * red + shares.blue * blue) / green);
            out[2] = RoundClamped<Value>(luma + blue);
            out[3] = RoundClamped<Value>(alpha ? Sample(channels[components - 1], x, y) * toAlpha
                                               : kWhite);
        }
    }
}

}  // namespace

int MatrixOf(const AVFrame& frame) {
    return MatrixOf(frame.colorspace, frame.height);
}

int MatrixOf(int named, int height) {
    switch (named) {
        case AVCOL_SPC_BT709:
        case AVCOL_SPC_FCC:
        case AVCOL_SPC_BT470BG:
        case AVCOL_SPC_SMPTE170M:
        case AVCOL_SPC_SMPTE240M:
        case AVCOL_SPC_BT2020_NCL:
        case AVCOL_SPC_BT2020_CL:
            return named;
        case AVCOL_SPC_YCGCO:
        case AVCOL_SPC_ICTCP:
            throw std::runtime_error(
                "its colours are coded as " +
                std::string(av_color_space_name(static_cast<AVColorSpace>(named))) +
                "; export it as Y'CbCr or RGB");
        default:
            return height >= 720 ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
    }
}

bool HasFullRange(const AVFrame& frame) {
    return HasFullRange(frame.format, frame.color_range);
}

bool HasFullRange(int format, int namedRange) {
    switch (format) {
        case AV_PIX_FMT_YUVJ420P:
        case AV_PIX_FMT_YUVJ422P:
        case AV_PIX_FMT_YUVJ444P:
        case AV_PIX_FMT_YUVJ440P:
        case AV_PIX_FMT_YUVJ411P:
            return true;
        default:
            return namedRange == AVCOL_RANGE_JPEG ||
                   (Descriptor(format).nb_components <= 2 && namedRange != AVCOL_RANGE_MPEG);
    }
}

Channel ChannelOf(const AVFrame& frame, int index) {
    const AVPixFmtDescriptor& d = Descriptor(frame);
    const AVComponentDescriptor& c = d.comp[index];
    const bool wide = c.shift + c.depth > 8;
    return {frame.data[c.plane] + c.offset,
            frame.linesize[c.plane],
            c.step,
            c.shift,
            c.depth,
            wide,
            wide && ((d.flags & AV_PIX_FMT_FLAG_BE) != 0) == (AV_HAVE_BIGENDIAN == 0)};
}

void UnpackVideo(const AVFrame& frame, Picture& picture) {
    if (picture.pixelType == ZPPixUChar) {
        Unpack<std::uint8_t>(frame, picture);
    } else {
        Unpack<std::uint16_t>(frame, picture);
    }
}

void PackVideo(const Picture& picture, AVFrame& frame) {
    constexpr float kWhite = PictureType<std::uint16_t>::kWhite;
    const int planes = Descriptor(frame).nb_components;
    const Codes codes = CodesOf(Descriptor(frame).comp[0].depth, HasFullRange(frame));
    const Shares shares = SharesOf(MatrixOf(frame));
    const float green = 1.0f - shares.red - shares.blue;
    const float fromRed = codes.chroma / (2.0f * (1.0f - shares.red) * kWhite);
    const float fromBlue = codes.chroma / (2.0f * (1.0f - shares.blue) * kWhite);
    const auto code = [&](float value) {
        return static_cast<std::uint16_t>(
            std::min<float>(RoundClamped<std::uint16_t>(value), codes.last));
    };
    const auto* in = reinterpret_cast<const std::uint16_t*>(picture.pixels.data());
    for (int y = 0; y < frame.height; ++y) {
        std::array<std::uint16_t*, 4> row{};
        for (int p = 0; p < planes; ++p) {
            row[p] = reinterpret_cast<std::uint16_t*>(
                frame.data[p] + static_cast<std::ptrdiff_t>(y) * frame.linesize[p]);
        }
        for (int x = 0; x < frame.width; ++x, in += 4) {
            const float luma = shares.red * in[0] + green * in[1] + shares.blue * in[2];
            row[0][x] = code(codes.foot + luma * codes.luma / kWhite);
            row[1][x] = code(codes.middle + (in[2] - luma) * fromBlue);
            row[2][x] = code(codes.middle + (in[0] - luma) * fromRed);
            if (planes == 4) row[3][x] = code(in[3] * codes.last / kWhite);
        }
    }
}

}  // namespace velorin
