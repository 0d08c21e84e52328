#include "media/movie_pixels.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>

extern "C" {
#include <libavutil/bswap.h>
}

#include "media/video_matrix.h"

namespace velorin {
namespace {

const AVPixFmtDescriptor& Descriptor(int format) {
    const AVPixFmtDescriptor* found = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(format));
    if (found == nullptr) throw std::runtime_error("its pixel format is not known");
    return *found;
}

// RGB whose samples can be addressed one by one.
bool IsPlainRgb(int format) {
    const AVPixFmtDescriptor& d = Descriptor(format);
    constexpr std::uint64_t kOther = AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BITSTREAM |
                                     AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_BAYER |
                                     AV_PIX_FMT_FLAG_FLOAT;
    if ((d.flags & AV_PIX_FMT_FLAG_RGB) == 0 || (d.flags & kOther) != 0) return false;
    return std::all_of(d.comp, d.comp + d.nb_components, [&](const AVComponentDescriptor& c) {
        return c.depth >= 8 && c.depth <= 16 && c.depth == d.comp[0].depth &&
               c.shift + c.depth <= 16;
    });
}

template <typename Stored>
Stored Load(const std::uint8_t* at) {
    Stored value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

// 8 bits and 16 bits stay; what is between is stretched so that white stays white.
template <typename Value>
Value Widen(unsigned sample, int depth) {
    if (depth == static_cast<int>(8 * sizeof(Value))) return static_cast<Value>(sample);
    const unsigned most = (1u << depth) - 1u;
    return static_cast<Value>((sample * 65535u + most / 2) / most);
}

template <typename Value>
void UnpackChannel(const Channel& channel, int width, int height, Value* out) {
    const unsigned mask = (1u << channel.depth) - 1u;
    for (int y = 0; y < height; ++y) {
        const std::uint8_t* in = channel.data + y * channel.rowBytes;
        for (int x = 0; x < width; ++x, in += channel.step, out += 4) {
            unsigned sample = channel.wide ? Load<std::uint16_t>(in) : *in;
            if (channel.swapped) sample = av_bswap16(static_cast<std::uint16_t>(sample));
            *out = Widen<Value>((sample >> channel.shift) & mask, channel.depth);
        }
    }
}

template <typename Value>
void UnpackRgb(const AVFrame& frame, Picture& picture) {
    auto* out = reinterpret_cast<Value*>(picture.pixels.data());
    const int channels = Descriptor(frame.format).nb_components;
    for (int c = 0; c < channels; ++c) {
        UnpackChannel(ChannelOf(frame, c), frame.width, frame.height, out + c);
    }
    if (channels > 3) return;
    const auto* end = out + static_cast<std::size_t>(frame.width) * frame.height * 4;
    for (; out != end; out += 4) out[3] = static_cast<Value>(PictureType<Value>::kWhite);
}

// Whether frames of that format are laid out as pictures are, but for gaps between the rows.
bool IsLikePicture(int format) {
    return format == AV_PIX_FMT_RGBA || format == AV_PIX_FMT_RGBA64;
}

void CopyRows(const std::uint8_t* from, std::ptrdiff_t fromBytes, std::uint8_t* to,
              std::ptrdiff_t toBytes, int rows, std::size_t rowBytes) {
    for (int y = 0; y < rows; ++y, from += fromBytes, to += toBytes) {
        std::memcpy(to, from, rowBytes);
    }
}

// The counterpart of UnpackRgb, for formats of as many bits as the picture; gray is taken of red.
template <typename Value>
void PackRgb(const Picture& picture, AVFrame& frame) {
    const auto* pixels = reinterpret_cast<const Value*>(picture.pixels.data());
    const int channels = Descriptor(frame.format).nb_components;
    for (int c = 0; c < channels; ++c) {
        const Channel channel = ChannelOf(frame, c);
        const bool isAlpha = c == 3 || (c == 1 && channels == 2);
        const Value* in = pixels + (isAlpha ? 3 : c);
        for (int y = 0; y < frame.height; ++y) {
            std::uint8_t* out = channel.data + y * channel.rowBytes;
            for (int x = 0; x < frame.width; ++x, in += 4, out += channel.step) {
                std::memcpy(out, in, sizeof(Value));
            }
        }
    }
}

// Copies the pixels of an RGBA picture turned.
template <typename Value>
void TurnPixels(const Picture& from, const Turn& turn, Picture& to) {
    struct Pixel {
        Value channel[4];
    };
    const auto* in = reinterpret_cast<const Pixel*>(from.pixels.data());
    auto* out = reinterpret_cast<Pixel*>(to.pixels.data());
    for (int y = 0; y < from.height; ++y) {
        for (int x = 0; x < from.width; ++x, ++in) {
            int toX = turn.transposed ? y : x;
            int toY = turn.transposed ? x : y;
            if (turn.mirrorX) toX = to.width - 1 - toX;
            if (turn.mirrorY) toY = to.height - 1 - toY;
            out[static_cast<std::size_t>(toY) * to.width + toX] = *in;
        }
    }
}

void TurnPicture(const Turn& turn, Picture& picture) {
    if (!turn.transposed && !turn.mirrorX && !turn.mirrorY) return;
    Picture turned;
    turned.SetShape(turn.transposed ? picture.height : picture.width,
                    turn.transposed ? picture.width : picture.height, picture.pixelType);
    if (picture.pixelType == ZPPixUChar) {
        TurnPixels<std::uint8_t>(picture, turn, turned);
    } else {
        TurnPixels<std::uint16_t>(picture, turn, turned);
    }
    picture = std::move(turned);
}

// Where chroma samples stand, in 1/256 of a luma sample; to the left, as most codecs have it,
// unless the frame says otherwise. -513 leaves an axis without subsampling alone.
struct ChromaPlace {
    int x = -513;
    int y = -513;
};

ChromaPlace ChromaPlaceOf(const AVFrame& frame) {
    const AVPixFmtDescriptor& d = Descriptor(frame.format);
    const AVChromaLocation location = frame.chroma_location;
    ChromaPlace place;
    if (d.log2_chroma_w == 1) {
        const bool centred = location == AVCHROMA_LOC_CENTER || location == AVCHROMA_LOC_TOP ||
                             location == AVCHROMA_LOC_BOTTOM;
        place.x = centred ? 128 : 0;
    }
    if (d.log2_chroma_h == 1) {
        const bool top = location == AVCHROMA_LOC_TOPLEFT || location == AVCHROMA_LOC_TOP;
        const bool bottom = location == AVCHROMA_LOC_BOTTOMLEFT || location == AVCHROMA_LOC_BOTTOM;
        place.y = top ? 0 : bottom ? 256 : 128;
    }
    return place;
}

// A field of a frame, 0 the upper one, as a frame of half the height that owns nothing.
AVFrame FieldOf(const AVFrame& frame, int field) {
    AVFrame part = frame;
    part.height /= 2;
    for (int plane = 0; plane < AV_NUM_DATA_POINTERS; ++plane) {
        if (part.data[plane] != nullptr) part.data[plane] += field * part.linesize[plane];
        part.linesize[plane] *= 2;
    }
    return part;
}

// Chroma half-way between two lines of a frame lies a quarter of a field's line below the upper
// field's line and three below the lower one's.
ChromaPlace ChromaPlaceInField(const AVFrame& frame, int field) {
    ChromaPlace place = ChromaPlaceOf(frame);
    if (place.y == 128) place.y = field == 0 ? 64 : 192;
    return place;
}

// A scaler between two frames of one size, one of which is Y'CbCr: `video` says with which matrix
// and range, and is the frame that they are or are a field of.
AvScaler MakeScaler(const AVFrame& from, const AVFrame& to, const AVFrame& video,
                    const ChromaPlace& place) {
    AvScaler scaler(sws_alloc_context());
    if (!scaler) throw std::bad_alloc();
    const auto set = [&](const char* option, int value) {
        av_opt_set_int(scaler.get(), option, value, 0);
    };
    set("srcw", from.width);
    set("srch", from.height);
    set("src_format", from.format);
    set("dstw", to.width);
    set("dsth", to.height);
    set("dst_format", to.format);
    set("sws_flags",
        SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP | SWS_BITEXACT);
    av_opt_set(scaler.get(), "sws_dither", "none", 0);
    const bool reads = from.format == video.format;
    set(reads ? "src_h_chr_pos" : "dst_h_chr_pos", place.x);
    set(reads ? "src_v_chr_pos" : "dst_v_chr_pos", place.y);
    const int* matrix = sws_getCoefficients(MatrixOf(video));
    const auto range = [&](const AVFrame& frame) {
        const bool rgb = (Descriptor(frame.format).flags & AV_PIX_FMT_FLAG_RGB) != 0;
        return rgb || HasFullRange(video) ? 1 : 0;
    };
    sws_setColorspaceDetails(scaler.get(), matrix, range(from), matrix, range(to), 0, 1 << 16,
                             1 << 16);
    if (sws_init_context(scaler.get(), nullptr, nullptr) < 0) {
        throw std::runtime_error("its pixel format, " + std::string(Descriptor(from.format).name) +
                                 ", cannot be converted");
    }
    return scaler;
}

AvFrame MakeBetween(int width, int height, AVPixelFormat format) {
    AvFrame frame = MakeFrame();
    frame->width = width;
    frame->height = height;
    frame->format = format;
    if (av_frame_get_buffer(frame.get(), 0) < 0) throw std::bad_alloc();
    return frame;
}

void ScaleWith(SwsContext* scaler, const AVFrame& from, const AVFrame& to) {
    const int rows =
        sws_scale(scaler, from.data, from.linesize, 0, from.height, to.data, to.linesize);
    if (rows < to.height) throw std::runtime_error("its pixels cannot be converted");
}

bool IsGray(int format) {
    const AVPixFmtDescriptor& d = Descriptor(format);
    return d.nb_components <= 2 && (d.flags & (AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BITSTREAM |
                                               AV_PIX_FMT_FLAG_FLOAT)) == 0;
}

bool IsDeepVideo(int format) {
    const AVPixFmtDescriptor& d = Descriptor(format);
    return d.nb_components >= 3 && d.comp[0].depth > 8 && format != AV_PIX_FMT_XYZ12LE &&
           format != AV_PIX_FMT_XYZ12BE &&
           (d.flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_FLOAT)) == 0;
}

// Planar, with as many chroma samples as luma ones and at least as deep as `format`.
AVPixelFormat FullChroma(int format) {
    const AVPixFmtDescriptor& d = Descriptor(format);
    const bool alpha = d.nb_components == 4;
    switch (d.comp[0].depth) {
        case 9:
            return alpha ? AV_PIX_FMT_YUVA444P9 : AV_PIX_FMT_YUV444P9;
        case 10:
            return alpha ? AV_PIX_FMT_YUVA444P10 : AV_PIX_FMT_YUV444P10;
        case 12:
            return alpha ? AV_PIX_FMT_YUVA444P12 : AV_PIX_FMT_YUV444P12;
        default:
            return alpha ? AV_PIX_FMT_YUVA444P16 : AV_PIX_FMT_YUV444P16;
    }
}

// What the scaling library converts such frames to and from.
AVPixelFormat FormatBetween(int format, bool deep) {
    if (deep && IsDeepVideo(format)) return FullChroma(format);
    return deep ? AV_PIX_FMT_RGBA64 : AV_PIX_FMT_RGBA;
}

bool SameVideo(const AVFrame& a, const AVFrame& b) {
    return a.width == b.width && a.height == b.height && a.format == b.format &&
           a.colorspace == b.colorspace && a.color_range == b.color_range &&
           a.chroma_location == b.chroma_location;
}

}  // namespace

Turn TurnOf(const AVStream& stream) {
    std::size_t size = 0;
    const std::uint8_t* data = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
    std::int32_t matrix[9];
    if (data == nullptr || size < sizeof matrix) return {};
    std::memcpy(matrix, data, sizeof matrix);
    // Shown x is matrix[0] x + matrix[3] y, shown y is matrix[1] x + matrix[4] y.
    const bool straight = matrix[1] == 0 && matrix[3] == 0;
    const bool crossed = matrix[0] == 0 && matrix[4] == 0;
    if (straight == crossed) return {};
    if (straight) return {false, matrix[0] < 0, matrix[4] < 0};
    return {true, matrix[3] < 0, matrix[1] < 0};
}

int ChannelsOf(AVPixelFormat format) {
    const AVPixFmtDescriptor& d = Descriptor(format);
    const bool alpha = (d.flags & (AV_PIX_FMT_FLAG_ALPHA | AV_PIX_FMT_FLAG_PAL)) != 0;
    const bool gray = d.nb_components <= 2 && (d.flags & AV_PIX_FMT_FLAG_PAL) == 0;
    return (gray ? 1 : 3) + (alpha ? 1 : 0);
}

SampleDepth DepthOf(AVPixelFormat format) {
    const AVPixFmtDescriptor& d = Descriptor(format);
    const bool deep = std::any_of(d.comp, d.comp + d.nb_components,
                                  [](const AVComponentDescriptor& c) { return c.depth > 8; });
    return deep ? SampleDepth::kWord : SampleDepth::kByte;
}

bool PixelConverter::IsByFields(const AVFrame& frame) const {
    return fieldsApart && frame.interlaced_frame != 0 && frame.height % 4 == 0 &&
           Descriptor(frame.format).log2_chroma_h == 1;
}

void PixelConverter::MakeScalers(const AVFrame& from, const AVFrame& to, const AVFrame& video) {
    if (!IsByFields(video)) {
        scalers[0] = MakeScaler(from, to, video, ChromaPlaceOf(video));
        scalers[1].reset();
        return;
    }
    for (int field : {0, 1}) {
        scalers[field] = MakeScaler(FieldOf(from, field), FieldOf(to, field), video,
                                    ChromaPlaceInField(video, field));
    }
}

void PixelConverter::Scale(const AVFrame& from, AVFrame& to) {
    if (!scalers[1]) return ScaleWith(scalers[0].get(), from, to);
    for (int field : {0, 1}) {
        ScaleWith(scalers[field].get(), FieldOf(from, field), FieldOf(to, field));
    }
}

const AVFrame& PixelConverter::Scaled(const AVFrame& frame) {
    const bool deep = DepthOf(static_cast<AVPixelFormat>(frame.format)) == SampleDepth::kWord;
    const AVPixelFormat format = FormatBetween(frame.format, deep);
    if (format == frame.format) return frame;
    const bool fits = scalers[0] && (scalers[1] != nullptr) == IsByFields(frame);
    if (!fits || !SameVideo(frame, made)) {
        between = MakeBetween(frame.width, frame.height, format);
        MakeScalers(frame, *between, frame);
        made.width = frame.width;
        made.height = frame.height;
        made.format = frame.format;
        made.colorspace = frame.colorspace;
        made.color_range = frame.color_range;
        made.chroma_location = frame.chroma_location;
        between->colorspace = frame.colorspace;
        between->color_range = frame.color_range;
    }
    Scale(frame, *between);
    return *between;
}

void PixelConverter::ToPicture(const AVFrame& frame, const Turn& turn, Picture& picture) {
    const bool direct = IsPlainRgb(frame.format) || IsGray(frame.format);
    const AVFrame& source = direct ? frame : Scaled(frame);
    const SampleDepth depth = DepthOf(static_cast<AVPixelFormat>(source.format));
    picture.SetShape(frame.width, frame.height, PixelTypeOf(depth));
    if (IsLikePicture(source.format)) {
        const int bytes = picture.RowBytes();
        CopyRows(source.data[0], source.linesize[0],
                 reinterpret_cast<std::uint8_t*>(picture.pixels.data()), bytes, picture.height,
                 static_cast<std::size_t>(bytes));
    } else if (!IsPlainRgb(source.format)) {
        UnpackVideo(source, picture);
    } else if (depth == SampleDepth::kByte) {
        UnpackRgb<std::uint8_t>(source, picture);
    } else {
        UnpackRgb<std::uint16_t>(source, picture);
    }
    TurnPicture(turn, picture);
}

void PixelConverter::ToFrame(const Picture& picture, AVFrame& frame) {
    const bool deep = picture.pixelType != ZPPixUChar;
    const AVPixelFormat format = FormatBetween(frame.format, deep);
    const bool plain = IsPlainRgb(frame.format) || IsGray(frame.format);
    const bool direct = plain || format == frame.format;
    if (!direct && !scalers[0]) {
        between = MakeBetween(frame.width, frame.height, format);
        between->colorspace = frame.colorspace;
        between->color_range = frame.color_range;
        MakeScalers(*between, frame, frame);
    }
    AVFrame& target = direct ? frame : *between;
    if (IsLikePicture(target.format)) {
        const int bytes = picture.RowBytes();
        CopyRows(reinterpret_cast<const std::uint8_t*>(picture.pixels.data()), bytes,
                 target.data[0], target.linesize[0], picture.height,
                 static_cast<std::size_t>(bytes));
    } else if (!plain && !IsPlainRgb(target.format)) {
        PackVideo(picture, target);
    } else if (deep) {
        PackRgb<std::uint16_t>(picture, target);
    } else {
        PackRgb<std::uint8_t>(picture, target);
    }
    if (!direct) Scale(*between, frame);
}

}  // namespace velorin
