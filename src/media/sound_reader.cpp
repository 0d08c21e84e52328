#include "media/sound_reader.h"

extern "C" {
#include <libavutil/channel_layout.h>
}

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

#include "media/clip.h"

namespace velorin {
namespace {

constexpr std::int64_t kAlways = std::numeric_limits<std::int64_t>::min();
// Of decoding before a sample is right: MP3 leans on some packets before, Opus on 80 ms.
constexpr double kLeadSeconds = 0.25;
// That stay in memory before what was asked for: on the way back so much is decoded at a time.
constexpr double kHeldSeconds = 4.0;
// Up to here it is as quick to decode on as to seek.
constexpr double kShortWaySeconds = 10.0;
// On both sides; where damaged times lie beyond, places still add up.
constexpr double kFarthestSample = 1e18;
// What is louder is damaged, as is what is no number, and counts as 0: encoders refuse it, and it
// would be heard in all samples around.
constexpr float kLoudest = 65536.0f;

template <typename Value>
double AsDouble(Value value) {
    if constexpr (std::is_floating_point_v<Value>) {
        return std::abs(value) < kLoudest ? static_cast<double>(value) : 0.0;
    } else if constexpr (std::is_same_v<Value, std::uint8_t>) {
        return (value - 128) / 128.0;
    } else {
        return static_cast<double>(value) / -static_cast<double>(std::numeric_limits<Value>::min());
    }
}

template <typename Value>
void CopySamples(const AVFrame& frame, double* samples) {
    const int channels = frame.ch_layout.nb_channels;
    const bool planar = av_sample_fmt_is_planar(static_cast<AVSampleFormat>(frame.format)) != 0;
    for (int c = 0; c < channels; ++c) {
        const auto* from =
            reinterpret_cast<const Value*>(frame.extended_data[planar ? c : 0]) + (planar ? 0 : c);
        for (int i = 0; i < frame.nb_samples; ++i) {
            samples[i * channels + c] = AsDouble(from[planar ? i : i * channels]);
        }
    }
}

void CopySamplesOf(const AVFrame& frame, double* samples) {
    switch (av_get_packed_sample_fmt(static_cast<AVSampleFormat>(frame.format))) {
        case AV_SAMPLE_FMT_U8:
            return CopySamples<std::uint8_t>(frame, samples);
        case AV_SAMPLE_FMT_S16:
            return CopySamples<std::int16_t>(frame, samples);
        case AV_SAMPLE_FMT_S32:
            return CopySamples<std::int32_t>(frame, samples);
        case AV_SAMPLE_FMT_S64:
            return CopySamples<std::int64_t>(frame, samples);
        case AV_SAMPLE_FMT_FLT:
            return CopySamples<float>(frame, samples);
        default:
            return CopySamples<double>(frame, samples);
    }
}

// Of whole-numbered samples, as the file tells; 0 for codecs that think in waves.
int BitsOf(const AVCodecParameters& parameters) {
    const AVCodecDescriptor* codec = avcodec_descriptor_get(parameters.codec_id);
    if (codec == nullptr || (codec->props & AV_CODEC_PROP_LOSSLESS) == 0) return 0;
    if (parameters.bits_per_raw_sample > 0) return parameters.bits_per_raw_sample;
    if (parameters.bits_per_coded_sample > 0) return parameters.bits_per_coded_sample;
    return av_get_bits_per_sample(parameters.codec_id);
}

bool IsFloat(const AVCodecParameters& parameters) {
    const AVCodecDescriptor* codec = avcodec_descriptor_get(parameters.codec_id);
    const bool lossless = codec != nullptr && (codec->props & AV_CODEC_PROP_LOSSLESS) != 0;
    const AVSampleFormat format =
        av_get_packed_sample_fmt(static_cast<AVSampleFormat>(parameters.format));
    return lossless && (format == AV_SAMPLE_FMT_FLT || format == AV_SAMPLE_FMT_DBL);
}

}  // namespace

std::optional<SoundInfo> FindSound(const AVFormatContext& format) {
    const AVStream* chosen = nullptr;
    SoundInfo info;
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        const AVStream* stream = format.streams[i];
        if (stream->codecpar->codec_type != AVMEDIA_TYPE_AUDIO) continue;
        if (chosen != nullptr) ++info.leftOut;
        const bool marked = (stream->disposition & AV_DISPOSITION_DEFAULT) != 0;
        if (chosen != nullptr && (!marked || (chosen->disposition & AV_DISPOSITION_DEFAULT) != 0)) {
            continue;
        }
        chosen = stream;
        info.stream = static_cast<int>(i);
    }
    if (chosen == nullptr) return std::nullopt;
    const AVCodecParameters& parameters = *chosen->codecpar;
    info.codec = avcodec_get_name(parameters.codec_id);
    info.rate = parameters.sample_rate;
    info.channels = parameters.ch_layout.nb_channels;
    AVChannelLayout layout = {};
    if (parameters.ch_layout.order != AV_CHANNEL_ORDER_UNSPEC) {
        av_channel_layout_copy(&layout, &parameters.ch_layout);
    } else if (info.channels > 0) {
        av_channel_layout_default(&layout, info.channels);
    }
    char text[256] = "";
    av_channel_layout_describe(&layout, text, sizeof text);
    av_channel_layout_uninit(&layout);
    info.layout = text;
    info.isFloat = IsFloat(parameters);
    info.bits = info.isFloat ? 0 : BitsOf(parameters);
    const AVDictionaryEntry* language = av_dict_get(chosen->metadata, "language", nullptr, 0);
    if (language != nullptr && std::string(language->value) != "und") {
        info.language = language->value;
    }
    return info;
}

SoundReader::SoundReader(const std::string& movieName, const SoundInfo& soundInfo,
                         double firstPicture)
    : name(movieName),
      info(soundInfo),
      start(firstPicture),
      packet(MakePacket()),
      frame(MakeFrame()),
      held(kAlways) {
    SilenceLibraries();
    Open();
    tick = av_q2d(format->streams[info.stream]->time_base);
    OpenDecoder();
    // What cannot be decoded at all is told before anything is rendered.
    const bool decodes = info.rate > 0 && info.channels > 0 && DecodeChunk(kAlways);
    if (!decodes && everRead) Throw("nothing of it can be decoded");
}

void SoundReader::Throw(const std::string& problem) const {
    throw MediaError(MediaError::Kind::kInput,
                     name + ": its sound, " + info.codec + " in stream " +
                         std::to_string(info.stream) + ", cannot be read: " + problem +
                         "; --audio drop renders the pictures without it");
}

void SoundReader::Open() {
    AVFormatContext* opened = nullptr;
    int result = avformat_open_input(&opened, ("file:" + name).c_str(), nullptr, nullptr);
    if (result < 0) Throw(AvText(result));
    format.reset(opened);
    result = avformat_find_stream_info(opened, nullptr);
    if (result < 0) Throw(AvText(result));
    if (static_cast<unsigned>(info.stream) >= opened->nb_streams) Throw("the file has changed");
    for (unsigned i = 0; i < opened->nb_streams; ++i) {
        if (static_cast<int>(i) != info.stream) opened->streams[i]->discard = AVDISCARD_ALL;
    }
}

void SoundReader::OpenDecoder() {
    const AVStream& stream = *format->streams[info.stream];
    const AVCodec* codec = avcodec_find_decoder(stream.codecpar->codec_id);
    if (codec == nullptr) Throw("nothing here decodes that codec");
    decoder.reset(avcodec_alloc_context3(codec));
    if (!decoder) throw std::bad_alloc();
    avcodec_parameters_to_context(decoder.get(), stream.codecpar);
    decoder->pkt_timebase = stream.time_base;
    const int result = avcodec_open2(decoder.get(), codec, nullptr);
    if (result < 0) Throw(AvText(result));
}

bool SoundReader::FitsStream() const {
    return frame->ch_layout.nb_channels == info.channels && frame->sample_rate == info.rate &&
           frame->nb_samples > 0;
}

// Not where decoding set in at a mark: what comes first there may lack what it leans on.
void SoundReader::NoteDamage() {
    if (marks.empty() || next >= marks.back().end) damaged = true;
}

// The next frame of the stream's shape; false at the end. What is damaged is left out, and silent
// as its time is missing.
bool SoundReader::DecodeFrame() {
    while (true) {
        const int result = avcodec_receive_frame(decoder.get(), frame.get());
        if (result == 0 && FitsStream()) return true;
        if (result == AVERROR_EOF) return false;
        if (result != AVERROR(EAGAIN)) NoteDamage();
        if (result == 0) continue;
        int read;
        do {
            av_packet_unref(packet.get());
            read = av_read_frame(format.get(), packet.get());
        } while (read == AVERROR(EAGAIN) || (read >= 0 && packet->stream_index != info.stream));
        if (read >= 0) everRead = true;
        if (avcodec_send_packet(decoder.get(), read < 0 ? nullptr : packet.get()) >= 0) continue;
        if (read < 0) return false;
        NoteDamage();
    }
}

// The number of the frame's first sample.
std::int64_t SoundReader::PlaceFrame() {
    const std::int64_t time =
        frame->pts != AV_NOPTS_VALUE ? frame->pts : frame->best_effort_timestamp;
    std::int64_t place = next;
    if (time != AV_NOPTS_VALUE) {
        const std::int64_t stamped =
            std::llround(std::clamp((static_cast<double>(time) * tick - start) * info.rate,
                                    -kFarthestSample, kFarthestSample));
        const double trusted = std::max(kTrustedSeconds, 2.0 * tick) * info.rate;
        const auto strays = static_cast<double>(std::llabs(stamped - next));
        if (decodesFirst || strays > trusted) place = stamped;
        const std::int64_t end = place + frame->nb_samples;
        if (marks.empty() || end >= marks.back().end + info.rate) marks.push_back({time, end});
    } else if (decodesFirst) {
        place = 0;
    }
    decodesFirst = false;
    next = place + frame->nb_samples;
    return place;
}

// Decodes on, and keeps what reaches beyond sample `wanted`. False at the end.
bool SoundReader::DecodeChunk(std::int64_t wanted) {
    if (!DecodeFrame()) {
        ended = true;
        return false;
    }
    const std::int64_t first = PlaceFrame();
    if (next <= wanted) {
        held = std::max(held, next);
        return true;
    }
    Chunk& chunk = chunks.emplace_back(Chunk{first, next, {}});
    chunk.samples.resize(static_cast<std::size_t>(frame->nb_samples) *
                         static_cast<std::size_t>(info.channels));
    CopySamplesOf(*frame, chunk.samples.data());
    return true;
}

void SoundReader::Rewind() {
    Open();
    OpenDecoder();
    decodesFirst = true;
    next = 0;
    ended = false;
}

// Decodes up to the frame of the mark and behind it. False if it does not come by.
bool SoundReader::GoToMark(const Mark& mark, double secondsBefore, int stream) {
    const AVRational base = format->streams[stream]->time_base;
    const double seconds = static_cast<double>(mark.time) * tick - secondsBefore;
    const auto place = static_cast<std::int64_t>(std::floor(seconds / av_q2d(base)));
    const bool same = stream == info.stream && secondsBefore == 0.0;
    if (av_seek_frame(format.get(), stream, same ? mark.time : place, AVSEEK_FLAG_BACKWARD) < 0) {
        return false;
    }
    avcodec_flush_buffers(decoder.get());
    while (DecodeFrame() && frame->pts != AV_NOPTS_VALUE && frame->pts <= mark.time) {
        if (frame->pts != mark.time) continue;
        next = mark.end;
        decodesFirst = ended = false;
        return true;
    }
    return false;
}

// Makes decoding go on before `sample`, from which on nothing is lacking then.
void SoundReader::GoTo(std::int64_t sample) {
    chunks.clear();
    held = sample;
    next = 0;
    const std::int64_t from = sample - std::llround(kLeadSeconds * info.rate);
    const auto behind =
        std::upper_bound(marks.begin(), marks.end(), from,
                         [](std::int64_t wanted, const Mark& mark) { return wanted < mark.end; });
    const int pictures = av_find_best_stream(format.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    // The first mark is the beginning of the stream, where decoding lacks nothing.
    for (const double before : {0.0, 2.0, 10.0}) {
        if (behind - marks.begin() < 2) break;
        if (GoToMark(*(behind - 1), before, info.stream)) return;
        if (pictures >= 0 && GoToMark(*(behind - 1), before, pictures)) return;
    }
    Rewind();
}

void SoundReader::Read(std::int64_t first, std::int64_t count, double* samples) {
    const auto samplesOf = [&](double seconds) { return std::llround(seconds * info.rate); };
    const std::int64_t wanted = first - samplesOf(kHeldSeconds);
    const bool isFar = first > next + samplesOf(kShortWaySeconds);
    if (first < held || (isFar && !marks.empty() && marks.back().end > next)) GoTo(wanted);
    while (!chunks.empty() && chunks.front().end <= wanted) {
        held = chunks.front().end;
        chunks.pop_front();
    }
    while (!ended && next < first + count) DecodeChunk(wanted);

    const auto channels = static_cast<std::size_t>(info.channels);
    std::fill_n(samples, static_cast<std::size_t>(count) * channels, 0.0);
    for (const Chunk& chunk : chunks) {
        const std::int64_t from = std::max(first, chunk.first);
        const std::int64_t end = std::min(first + count, chunk.end);
        if (from >= end) continue;
        const double* source =
            chunk.samples.data() + static_cast<std::size_t>(from - chunk.first) * channels;
        std::copy_n(source, static_cast<std::size_t>(end - from) * channels,
                    samples + static_cast<std::size_t>(from - first) * channels);
    }
}

}  // namespace velorin
