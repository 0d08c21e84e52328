#include "media/movie_stream.h"

#include <new>

#include "media/clip.h"

namespace velorin {
namespace {

[[noreturn]] void ThrowInput(const std::string& text) {
    throw MediaError(MediaError::Kind::kInput, text);
}

}  // namespace

std::int64_t TimeOf(const AVFrame& frame) {
    return frame.pts != AV_NOPTS_VALUE ? frame.pts : frame.best_effort_timestamp;
}

// Each holds a picture of its own; the engine, which the decoder runs beside, is slower than two.
constexpr int kDecoderThreads = 2;

AvCodec OpenDecoder(const AVStream& stream, const std::string& name) {
    const AVCodecParameters& parameters = *stream.codecpar;
    const AVCodec* codec = avcodec_find_decoder(parameters.codec_id);
    const std::string codecName = avcodec_get_name(parameters.codec_id);
    if (codec == nullptr) ThrowInput(name + ": nothing here decodes its codec, " + codecName);
    AvCodec decoder(avcodec_alloc_context3(codec));
    if (!decoder) throw std::bad_alloc();
    avcodec_parameters_to_context(decoder.get(), &parameters);
    decoder->pkt_timebase = stream.time_base;
    decoder->thread_count = kDecoderThreads;
    const int result = avcodec_open2(decoder.get(), codec, nullptr);
    if (result < 0) {
        ThrowInput(name + ": its codec " + codecName + " cannot be decoded (" + AvText(result) +
                   ")");
    }
    return decoder;
}

MovieStream::MovieStream(const std::string& fileName) : name(fileName), pending(MakePacket()) {
    SilenceLibraries();
    Open();
    decoder = OpenDecoder(Stream(), name);
}

void MovieStream::Open() {
    AVFormatContext* opened = nullptr;
    // With its protocol, so that a colon in the name means nothing.
    int result = avformat_open_input(&opened, ("file:" + name).c_str(), nullptr, nullptr);
    if (result < 0) {
        ThrowInput(name + ": cannot be opened as a movie (" + AvText(result) +
                   "); it may be cut short or of another kind");
    }
    format.reset(opened);
    result = avformat_find_stream_info(opened, nullptr);
    if (result < 0) ThrowInput(name + ": its streams cannot be read (" + AvText(result) + ")");
    const int found = av_find_best_stream(opened, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (found < 0) ThrowInput(name + ": holds no pictures; a movie is wanted");
    streamIndex = found;
    for (unsigned i = 0; i < opened->nb_streams; ++i) {
        if (static_cast<int>(i) != found) opened->streams[i]->discard = AVDISCARD_ALL;
    }
}

void MovieStream::Rewind() {
    format.reset();
    Open();
    avcodec_flush_buffers(decoder.get());
    av_packet_unref(pending.get());
    hasPending = false;
}

int MovieStream::ReadPacket(AVPacket& packet) {
    while (true) {
        av_packet_unref(&packet);
        const int result = av_read_frame(format.get(), &packet);
        if (result == AVERROR(EAGAIN)) continue;
        if (result < 0) return result;
        if (packet.stream_index == streamIndex) return 0;
    }
}

bool MovieStream::SkipToKey(std::int64_t time) {
    avcodec_flush_buffers(decoder.get());
    hasPending = false;
    while (ReadPacket(*pending) == 0) {
        if ((pending->flags & AV_PKT_FLAG_KEY) == 0) continue;
        const std::int64_t found = pending->pts != AV_NOPTS_VALUE ? pending->pts : pending->dts;
        if (found == AV_NOPTS_VALUE || found < time) continue;
        hasPending = found == time;
        return hasPending;
    }
    return false;
}

bool MovieStream::GoToKey(std::int64_t time, std::int64_t decodeTime) {
    for (const std::int64_t place : {time, decodeTime}) {
        const int result = av_seek_frame(format.get(), streamIndex, place, AVSEEK_FLAG_BACKWARD);
        if (result >= 0 && SkipToKey(time)) return true;
    }
    Rewind();
    return SkipToKey(time);
}

// Sends the decoder the next packet, or word of the end. False if it will take no more.
bool MovieStream::Feed() {
    if (!hasPending && ReadPacket(*pending) < 0) {
        return avcodec_send_packet(decoder.get(), nullptr) >= 0;
    }
    hasPending = false;
    // A packet that is refused shows no picture; the one who waits for it will miss it.
    avcodec_send_packet(decoder.get(), pending.get());
    av_packet_unref(pending.get());
    return true;
}

bool MovieStream::Decode(AVFrame& frame) {
    while (true) {
        const int result = avcodec_receive_frame(decoder.get(), &frame);
        if (result == 0) return true;
        if (result == AVERROR_EOF) return false;
        if (result == AVERROR(EAGAIN) && !Feed()) return false;
    }
}

}  // namespace velorin
