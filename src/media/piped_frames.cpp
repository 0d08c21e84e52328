#include "media/piped_frames.h"

#include <string_view>
#include <utility>

#include "media/movie_colours.h"
#include "media/movie_fields.h"

namespace velorin {

namespace {

constexpr const char* kFormats = "yuv4mpegpipe,nut";

// The libraries own it from here on.
AVFormatContext* MakeInput(AVIOContext* from) {
    AVFormatContext* made = avformat_alloc_context();
    if (made == nullptr) throw std::bad_alloc();
    made->pb = from;
    made->flags |= AVFMT_FLAG_CUSTOM_IO;
    made->format_whitelist = av_strdup(kFormats);
    return made;
}

}  // namespace

void PipedFrames::Throw(const std::string& problem) const {
    throw MediaError(MediaError::Kind::kInput,
                     "standard input, frame " + std::to_string(decoded) + ": " + problem);
}

// What the libraries make of a stream whose reading was ended is not its fault.
void PipedFrames::ThrowUnopened(const std::string& problem) const {
    if (IsStopped()) {
        throw MediaError(MediaError::Kind::kStopped,
                         "standard input: stopped on request before its first picture");
    }
    throw MediaError(MediaError::Kind::kInput, "standard input: " + problem);
}

PipedFrames::PipedFrames(std::function<bool()> stops)
    : input(std::move(stops)), packet(MakePacket()) {
    SilenceLibraries();
    Open();
    AvFrame first = Decode();
    if (!first) ThrowUnopened("ends before the first picture");
    Describe(*first);
    waiting.push_back(std::move(first));
    if (info.rate.numerator <= 0) FindRate();
}

// Streams are not looked into further than their head: that would hold pictures back.
void PipedFrames::Open() {
    AVFormatContext* opened = MakeInput(input.Io());
    const int result = avformat_open_input(&opened, nullptr, nullptr, nullptr);
    if (result < 0) {
        ThrowUnopened(input.Taken() == 0
                          ? "nothing comes through the pipe"
                          : "carries neither y4m nor NUT; ffmpeg makes them with -f yuv4mpegpipe, "
                            "or with -c rawvideo -f nut");
    }
    format.reset(opened);
    const int found = av_find_best_stream(opened, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (found < 0) ThrowUnopened("carries no pictures");
    streamIndex = found;
    isNut = std::string_view(opened->iformat->name) == "nut";
    whole = avio_tell(input.Io());
    decoder = OpenDecoder(*opened->streams[found], "standard input");
}

void PipedFrames::Describe(const AVFrame& first) {
    const AVStream& stream = *format->streams[streamIndex];
    DescribePictures(*decoder, info);
    info.name = kPipeName;
    info.width = first.width;
    info.height = first.height;
    info.window = info.display = {0, 0, info.width, info.height};
    info.frames = kFramesUnknown;
    info.pipe = isNut ? PipeFormat::kNut : PipeFormat::kY4m;
    if (stream.avg_frame_rate.num > 0) {
        info.rate = {stream.avg_frame_rate.num, stream.avg_frame_rate.den};
    }
    const AVRational aspect =
        stream.sample_aspect_ratio.num > 0 ? stream.sample_aspect_ratio : first.sample_aspect_ratio;
    info.pixelAspect = {1, 1};
    if (aspect.num > 0) info.pixelAspect = {aspect.num, aspect.den};
    info.fieldOrder = FieldOrderOf(stream, &first);
}

// Times in NUT are exact.
void PipedFrames::FindRate() {
    AvFrame second = Decode();
    if (!second) return;
    const std::int64_t ticks = TimeOf(*second) - TimeOf(*waiting.front());
    const AVRational tick = format->streams[streamIndex]->time_base;
    if (ticks > 0) {
        AVRational rate{};
        av_reduce(&rate.num, &rate.den, tick.den, tick.num * ticks, 1 << 30);
        info.rate = {rate.num, rate.den};
    }
    waiting.push_back(std::move(second));
}

// The libraries pass over what is damaged in NUT; the times tell that something is missing.
void PipedFrames::CheckTime(const AVFrame& frame) {
    const std::int64_t time = TimeOf(frame);
    const std::int64_t gone = decoded == 0 ? 0 : time - lastTime;
    lastTime = time;
    if (decoded == 1) step = gone;
    if (decoded < 2) return;
    if (step > 0 && 2 * gone > step && 2 * gone < 3 * step) return;
    Throw(
        "does not follow the one before it at the stream's rate, or pictures between them are "
        "damaged; ffmpeg sends an even rate with -fps_mode cfr");
}

AvFrame PipedFrames::Next() {
    if (waiting.empty()) return Decode();
    AvFrame first = std::move(waiting.front());
    waiting.pop_front();
    return first;
}

AvFrame PipedFrames::Decode() {
    AvFrame frame = MakeFrame();
    while (true) {
        const int result = avcodec_receive_frame(decoder.get(), frame.get());
        if (result == AVERROR_EOF) return nullptr;
        if (result == AVERROR(EAGAIN)) {
            if (!Feed()) return nullptr;
            continue;
        }
        if (result < 0) Throw("cannot be decoded (" + AvText(result) + ")");
        if (isNut) CheckTime(*frame);
        ++decoded;
        return frame;
    }
}

// Hands the decoder the next packet, or word of the end. False when the waiting was ended.
bool PipedFrames::Feed() {
    av_packet_unref(packet.get());
    if (isNut) input.StandAtSyncpoint();
    int result = av_read_frame(format.get(), packet.get());
    if (input.IsStopped()) return false;
    const bool isCut = result >= 0 ? (packet->flags & AV_PKT_FLAG_CORRUPT) != 0
                                   : result == AVERROR_EOF && !isNut && input.Taken() > whole;
    if (isCut) Throw("is cut short: the stream ends inside it");
    if (result == AVERROR_EOF) {
        result = avcodec_send_packet(decoder.get(), nullptr);
    } else if (result >= 0) {
        whole = avio_tell(input.Io());
        if (packet->stream_index != streamIndex) return true;
        result = avcodec_send_packet(decoder.get(), packet.get());
    }
    if (result < 0) Throw("the stream is damaged (" + AvText(result) + ")");
    return true;
}

}  // namespace velorin
