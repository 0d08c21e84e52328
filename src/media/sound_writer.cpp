#include "media/sound_writer.h"

extern "C" {
#include <libavutil/channel_layout.h>
}

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <utility>

#include "media/clip.h"

namespace velorin {
namespace {

// Of AAC, for each channel.
constexpr std::int64_t kBitsASecond = 160000;
// Samples of a block where the codec takes any number.
constexpr int kFreeBlock = 4096;
constexpr int kMostFlacChannels = 8;

struct SoundEncoding {
    AVCodecID codec;
    AVSampleFormat format;
    int bits;
};

SoundEncoding PcmFor(const SoundInfo& info) {
    if (info.isFloat) return {AV_CODEC_ID_PCM_F32LE, AV_SAMPLE_FMT_FLT, 32};
    if (info.bits > 24) return {AV_CODEC_ID_PCM_S32LE, AV_SAMPLE_FMT_S32, 32};
    if (info.bits > 0 && info.bits <= 16) return {AV_CODEC_ID_PCM_S16LE, AV_SAMPLE_FMT_S16, 16};
    return {AV_CODEC_ID_PCM_S24LE, AV_SAMPLE_FMT_S32, 24};
}

SoundEncoding EncodingFor(const std::string& muxer, const SoundInfo& info) {
    if (muxer == "mp4") return {AV_CODEC_ID_AAC, AV_SAMPLE_FMT_FLTP, 0};
    SoundEncoding encoding = PcmFor(info);
    const bool fitsFlac =
        !info.isFloat && encoding.bits <= 24 && info.channels <= kMostFlacChannels;
    if (muxer == "matroska" && fitsFlac) encoding.codec = AV_CODEC_ID_FLAC;
    return encoding;
}

// `value` in whole steps of a type that has `bits` in use, from the top.
template <typename Value>
Value AsSample(double value, int bits) {
    if constexpr (std::is_floating_point_v<Value>) return static_cast<Value>(value);
    const double steps = std::ldexp(1.0, bits - 1);
    const double whole = std::clamp(std::nearbyint(value * steps), -steps, steps - 1.0);
    const int unused = static_cast<int>(8 * sizeof(Value)) - bits;
    return static_cast<Value>(std::ldexp(whole, unused));
}

}  // namespace

int SoundRateFor(const std::string& movieName, int rate) {
    const AVOutputFormat* muxer = av_guess_format(nullptr, movieName.c_str(), nullptr);
    const AVCodec* aac = avcodec_find_encoder(AV_CODEC_ID_AAC);
    if (muxer == nullptr || std::string(muxer->name) != "mp4" || aac == nullptr) return rate;
    int above = std::numeric_limits<int>::max(), highest = 0;
    for (const int* known = aac->supported_samplerates; known && *known != 0; ++known) {
        if (*known >= rate) above = std::min(above, *known);
        highest = std::max(highest, *known);
    }
    return highest == 0 ? rate : std::min(above, highest);
}

SoundWriter::SoundWriter(const std::string& movieName, AVFormatContext& movie,
                         std::shared_ptr<SoundSource> soundSource)
    : output(movie), source(std::move(soundSource)), frame(MakeFrame()), packet(MakePacket()) {
    OpenCodec(movieName);
    stream = avformat_new_stream(&output, nullptr);
    if (stream == nullptr) throw std::bad_alloc();
    stream->time_base = codec->time_base;
    stream->disposition = AV_DISPOSITION_DEFAULT;
    if (avcodec_parameters_from_context(stream->codecpar, codec.get()) < 0) throw std::bad_alloc();
    const std::string& language = source->Info().language;
    if (!language.empty()) av_dict_set(&stream->metadata, "language", language.c_str(), 0);
}

void SoundWriter::OpenCodec(const std::string& movieName) {
    const SoundInfo& info = source->Info();
    const SoundEncoding encoding = EncodingFor(output.oformat->name, info);
    const AVCodec* encoder = avcodec_find_encoder(encoding.codec);
    const auto refuse = [&](const std::string& problem) {
        throw MediaError(MediaError::Kind::kFailure,
                         movieName + ": cannot hold the sound, " + info.layout + " at " +
                             std::to_string(source->Rate()) + " Hz, as " +
                             avcodec_get_name(encoding.codec) + " (" + problem +
                             "); write mov instead, or give --audio drop");
    };
    if (encoder == nullptr) refuse("no encoder is installed");
    codec.reset(avcodec_alloc_context3(encoder));
    if (!codec) throw std::bad_alloc();
    codec->sample_fmt = encoding.format;
    codec->sample_rate = source->Rate();
    codec->time_base = {1, source->Rate()};
    codec->bits_per_raw_sample = encoding.bits;
    codec->bit_rate = encoding.bits == 0 ? kBitsASecond * info.channels : 0;
    if (av_channel_layout_from_string(&codec->ch_layout, info.layout.c_str()) < 0) {
        av_channel_layout_default(&codec->ch_layout, info.channels);
    }
    if (output.oformat->flags & AVFMT_GLOBALHEADER) codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    const int result = avcodec_open2(codec.get(), encoder, nullptr);
    if (result < 0) refuse(AvText(result));
}

template <typename Value>
void SoundWriter::Fill(std::int64_t count) {
    const int channels = codec->ch_layout.nb_channels;
    const bool planar = av_sample_fmt_is_planar(codec->sample_fmt) != 0;
    const int bits = codec->bits_per_raw_sample;
    for (int c = 0; c < channels; ++c) {
        auto* to =
            reinterpret_cast<Value*>(frame->extended_data[planar ? c : 0]) + (planar ? 0 : c);
        for (std::int64_t i = 0; i < count; ++i) {
            to[planar ? i : i * channels] =
                AsSample<Value>(block[static_cast<std::size_t>(i * channels + c)], bits);
        }
    }
}

int SoundWriter::EncodeBlock(std::int64_t count) {
    block.resize(static_cast<std::size_t>(count * codec->ch_layout.nb_channels));
    source->Read(count, block.data());
    av_frame_unref(frame.get());
    frame->format = codec->sample_fmt;
    frame->sample_rate = codec->sample_rate;
    frame->nb_samples = static_cast<int>(count);
    frame->pts = written;
    int result = av_channel_layout_copy(&frame->ch_layout, &codec->ch_layout);
    if (result >= 0) result = av_frame_get_buffer(frame.get(), 0);
    if (result < 0) return result;
    switch (av_get_packed_sample_fmt(codec->sample_fmt)) {
        case AV_SAMPLE_FMT_S16:
            Fill<std::int16_t>(count);
            break;
        case AV_SAMPLE_FMT_S32:
            Fill<std::int32_t>(count);
            break;
        default:
            Fill<float>(count);
    }
    written += count;
    return Send(frame.get());
}

int SoundWriter::Send(const AVFrame* samples) {
    int result = avcodec_send_frame(codec.get(), samples);
    while (result >= 0) {
        result = avcodec_receive_packet(codec.get(), packet.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return 0;
        if (result < 0) return result;
        av_packet_rescale_ts(packet.get(), codec->time_base, stream->time_base);
        packet->stream_index = stream->index;
        result = av_interleaved_write_frame(&output, packet.get());
    }
    return result;
}

int SoundWriter::WriteUpTo(std::int64_t pictures, AVRational frameRate, bool last) {
    const std::int64_t end = av_rescale_q(pictures, av_inv_q(frameRate), codec->time_base);
    const std::int64_t whole = codec->frame_size > 0 ? codec->frame_size : kFreeBlock;
    // Blocks that the codec wants whole wait for the rest; others need not.
    const std::int64_t least = last || codec->frame_size <= 0 ? 1 : whole;
    while (end - written >= least) {
        const int result = EncodeBlock(std::min(whole, end - written));
        if (result < 0) return result;
    }
    return last ? Send(nullptr) : 0;
}

}  // namespace velorin
