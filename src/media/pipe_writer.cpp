#include "media/pipe_writer.h"

#include <cerrno>
#include <string>

#include "media/movie_colours.h"
#include "media/movie_fields.h"
#include "media/movie_pixels.h"
#include "media/standard_pipes.h"

namespace velorin {

namespace {

// Bits that y4m knows beside 8.
int DeepBits(const ClipInfo& source, const AVPixFmtDescriptor* format) {
    const bool ownDepth = format != nullptr && source.depth == SampleDepth::kWord;
    const int bits = ownDepth ? format->comp[0].depth : 16;
    return bits == 9 || bits == 10 || bits == 12 || bits == 14 ? bits : 16;
}

const char* Subsampling(const AVPixFmtDescriptor* format) {
    const bool coded = format != nullptr && format->nb_components >= 3 &&
                       (format->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) == 0;
    if (!coded || format->log2_chroma_w != 1) return "444";
    return format->log2_chroma_h == 1 ? "420" : "422";
}

AVPixelFormat FormatOfY4m(const ClipInfo& source, bool deep) {
    if (source.channels <= 2) return deep ? AV_PIX_FMT_GRAY16 : AV_PIX_FMT_GRAY8;
    const AVPixFmtDescriptor* format =
        av_pix_fmt_desc_get(av_get_pix_fmt(source.pixelFormat.c_str()));
    const std::string name = std::string("yuv") + Subsampling(format) + "p";
    if (!deep) return av_get_pix_fmt(name.c_str());
    // Without its end the name stands for this machine's order of bytes.
    return av_get_pix_fmt((name + std::to_string(DeepBits(source, format))).c_str());
}

AVPixelFormat FormatOfNut(int channels, bool deep) {
    constexpr AVPixelFormat kBytes[] = {AV_PIX_FMT_GRAY8, AV_PIX_FMT_YA8, AV_PIX_FMT_RGB24,
                                        AV_PIX_FMT_RGBA};
    // NUT knows no gray of 16 bits with alpha.
    constexpr AVPixelFormat kWords[] = {AV_PIX_FMT_GRAY16, AV_PIX_FMT_RGBA64, AV_PIX_FMT_RGB48,
                                        AV_PIX_FMT_RGBA64};
    return (deep ? kWords : kBytes)[channels - 1];
}

class PipeWriter : public ClipWriter {
  public:
    explicit PipeWriter(const OutputSettings& newSettings) : settings(newSettings) {}
    void Write(std::int64_t frame, const Picture& picture) override;
    void Finish() override;

  private:
    struct FreeOutput {
        void operator()(AVFormatContext* context) const { avformat_free_context(context); }
    };
    void Check(int result) const;
    void Start(const Picture& picture);
    void OpenEncoder(const Picture& picture, bool isNut);
    void Encode(const AVFrame* frame);

    const OutputSettings settings;
    StandardOutput standardOutput;
    std::unique_ptr<AVFormatContext, FreeOutput> output;
    AvCodec encoder;
    AvFrame video;
    AvPacket packet;
    PixelConverter converter;
    std::int64_t written = 0;
};

void PipeWriter::Check(int result) const {
    if (result >= 0) return;
    const std::string named = "standard output, frame " + std::to_string(written);
    const bool isClosed = result == AVERROR(EPIPE);
    throw MediaError(MediaError::Kind::kFailure,
                     named + (isClosed ? ": the program that reads it has closed the pipe"
                                       : ": cannot be written: " + AvText(result)));
}

void PipeWriter::OpenEncoder(const Picture& picture, bool isNut) {
    const AVCodec* codec = avcodec_find_encoder_by_name(isNut ? "rawvideo" : "wrapped_avframe");
    if (codec == nullptr) Check(AVERROR_ENCODER_NOT_FOUND);
    encoder.reset(avcodec_alloc_context3(codec));
    if (!encoder) throw std::bad_alloc();
    const ClipInfo& source = settings.source;
    const bool deep = picture.pixelType != ZPPixUChar;
    const Rational rate = source.rate.numerator > 0 ? source.rate : Rational{24, 1};
    encoder->width = picture.width;
    encoder->height = picture.height;
    encoder->pix_fmt = isNut ? FormatOfNut(source.channels, deep) : FormatOfY4m(source, deep);
    encoder->framerate = {static_cast<int>(rate.numerator), static_cast<int>(rate.denominator)};
    encoder->time_base = av_inv_q(encoder->framerate);
    encoder->sample_aspect_ratio = {static_cast<int>(source.pixelAspect.numerator),
                                    static_cast<int>(source.pixelAspect.denominator)};
    NameColours(*encoder, source);
    MarkFields(*encoder, settings.fieldOrder);
    if (!isNut && !IsInterlaced(settings.fieldOrder)) encoder->field_order = AV_FIELD_PROGRESSIVE;
    Check(avcodec_open2(encoder.get(), codec, nullptr));
}

void PipeWriter::Start(const Picture& picture) {
    SilenceLibraries();
    const bool isNut = settings.pipe == PipeFormat::kNut;
    AVFormatContext* made = nullptr;
    Check(avformat_alloc_output_context2(&made, nullptr, isNut ? "nut" : "yuv4mpegpipe", nullptr));
    output.reset(made);
    output->pb = standardOutput.Io();
    output->flags |= AVFMT_FLAG_BITEXACT | AVFMT_FLAG_CUSTOM_IO | AVFMT_FLAG_FLUSH_PACKETS;
    // More than 8 bits in y4m are common and not a part of its description.
    output->strict_std_compliance = FF_COMPLIANCE_UNOFFICIAL;
    OpenEncoder(picture, isNut);
    AVStream* stream = avformat_new_stream(output.get(), nullptr);
    if (stream == nullptr) throw std::bad_alloc();
    stream->time_base = encoder->time_base;
    stream->avg_frame_rate = stream->r_frame_rate = encoder->framerate;
    stream->sample_aspect_ratio = encoder->sample_aspect_ratio;
    Check(avcodec_parameters_from_context(stream->codecpar, encoder.get()));
    AVDictionary* options = nullptr;
    // An index grows with every picture, and nobody can look back for it in a pipe.
    if (isNut) av_dict_set(&options, "write_index", "0", 0);
    const int result = avformat_write_header(output.get(), &options);
    av_dict_free(&options);
    Check(result);
    video = MakeFrame();
    NameColours(*encoder, *video);
    MarkFields(*video, settings.fieldOrder);
    if (IsInterlaced(settings.fieldOrder)) converter.KeepFieldsApart();
    Check(av_frame_get_buffer(video.get(), 0));
    packet = MakePacket();
}

void PipeWriter::Encode(const AVFrame* frame) {
    Check(avcodec_send_frame(encoder.get(), frame));
    while (true) {
        const int result = avcodec_receive_packet(encoder.get(), packet.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return;
        Check(result);
        if (packet->duration == 0) packet->duration = 1;
        av_packet_rescale_ts(packet.get(), encoder->time_base, output->streams[0]->time_base);
        packet->stream_index = 0;
        const int put = av_write_frame(output.get(), packet.get());
        av_packet_unref(packet.get());
        Check(put);
        avio_flush(output->pb);
        Check(output->pb->error);
    }
}

void PipeWriter::Write(std::int64_t, const Picture& picture) {
    if (!output) Start(picture);
    Check(av_frame_make_writable(video.get()));
    converter.ToFrame(picture, *video);
    video->pts = written;
    Encode(video.get());
    ++written;
}

void PipeWriter::Finish() {
    if (!output) return;
    Encode(nullptr);
    Check(av_write_trailer(output.get()));
    avio_flush(output->pb);
    Check(output->pb->error);
}

}  // namespace

std::unique_ptr<ClipWriter> CreatePipe(const OutputSettings& settings) {
    return std::make_unique<PipeWriter>(settings);
}

}  // namespace velorin
