#include "media/movie_writer.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <new>

#include "media/libav.h"
#include "media/movie_colours.h"
#include "media/movie_fields.h"
#include "media/movie_format.h"
#include "media/movie_pixels.h"
#include "media/safe_file.h"
#include "media/sound_writer.h"
#include "media/stamp.h"
#include "media/timecode.h"

namespace velorin {
namespace {

// Codec, pixel format and options for pictures of one kind.
struct Encoding {
    const AVCodec* codec = nullptr;
    AVPixelFormat pixelFormat = AV_PIX_FMT_NONE;
    std::vector<std::pair<std::string, std::string>> options;
};

// What keeps H.264 from holding back some forty pictures to plan ahead, and one more a thread: that
// would take more memory than all the rest of a render. At this rate factor the files hardly grow.
constexpr const char* kFewPictures =
    "rc-lookahead=4:sync-lookahead=0:bframes=1:ref=2:sliced-threads=1";

// Halved chroma needs even sizes, and even fields where each has its own.
AVPixelFormat FormatOfH264(int width, int height, bool interlaced) {
    if (width % 2 != 0 || height % 2 != 0) return AV_PIX_FMT_YUV444P;
    return interlaced && height % 4 != 0 ? AV_PIX_FMT_YUV422P : AV_PIX_FMT_YUV420P;
}

Encoding ChooseH264(int width, int height, FieldOrder order) {
    std::string parameters = kFewPictures;
    // Else the head says upper first, whatever the pictures say.
    if (IsInterlaced(order)) parameters += order == FieldOrder::kUpperFirst ? ":tff=1" : ":bff=1";
    return {avcodec_find_encoder_by_name("libx264"),
            FormatOfH264(width, height, IsInterlaced(order)),
            {{"crf", "16"}, {"preset", "medium"}, {"x264-params", parameters}}};
}

Encoding ChooseProRes(bool alpha, int width) {
    const AVCodec* codec = avcodec_find_encoder_by_name("prores_ks");
    if (alpha) return {codec, AV_PIX_FMT_YUVA444P10, {{"profile", "4"}, {"alpha_bits", "16"}}};
    // The encoder loses the last chroma column of an odd width, and what stands beside it.
    if (width % 2 != 0) return {codec, AV_PIX_FMT_YUV444P10, {{"profile", "4"}}};
    return {codec, AV_PIX_FMT_YUV422P10, {{"profile", "3"}}};
}

Encoding ChooseFfv1(bool alpha, bool deep) {
    const AVPixelFormat byteFormat = alpha ? AV_PIX_FMT_BGRA : AV_PIX_FMT_BGR0;
    const AVPixelFormat wordFormat = alpha ? AV_PIX_FMT_GBRAP16 : AV_PIX_FMT_GBRP16;
    return {avcodec_find_encoder(AV_CODEC_ID_FFV1),
            deep ? wordFormat : byteFormat,
            {{"level", "3"}, {"slices", "4"}, {"slicecrc", "1"}, {"g", "1"}}};
}

Encoding ChooseEncoding(const MovieFormat& format, const Picture& picture, bool alpha,
                        FieldOrder order) {
    const std::string extension = format.extension;
    if (extension == "mkv") return ChooseFfv1(alpha, picture.pixelType != ZPPixUChar);
    Encoding encoding;
    if (extension == "mov") encoding = ChooseProRes(alpha, picture.width);
    return encoding.codec != nullptr ? encoding : ChooseH264(picture.width, picture.height, order);
}

class MovieWriter : public ClipWriter {
  public:
    MovieWriter(const std::string& fileName, const MovieFormat& movieFormat,
                const OutputSettings& outputSettings)
        : name(fileName),
          format(movieFormat),
          settings(outputSettings),
          file(fileName, outputSettings.overwrite) {}
    void Write(std::int64_t frame, const Picture& picture) override;
    void Finish() override;

  private:
    [[noreturn]] void Throw(int error) const;
    void Check(int result) const {
        if (result < 0) Throw(result);
    }
    void Start(const Picture& picture);
    void OpenCodec(const Picture& picture, const Encoding& encoding);
    void NameTimecode();
    void OpenFile();
    void MakeVideoFrame();
    void Encode(const AVFrame* picture);
    void WriteSound(bool last);

    // Closes the file before it goes, or is given its name.
    struct CloseOutput {
        void operator()(AVFormatContext* context) const {
            avio_closep(&context->pb);
            avformat_free_context(context);
        }
    };

    std::string name;
    const MovieFormat& format;
    OutputSettings settings;
    SafeFile file;
    std::unique_ptr<AVFormatContext, CloseOutput> output;
    AvCodec codec;
    AvFrame video;
    AvPacket packet;
    AVStream* stream = nullptr;
    std::unique_ptr<SoundWriter> sound;  // null: none
    PixelConverter converter;
    std::int64_t written = 0;
    std::int64_t current = 0;                 // the frame in hand, for messages
    FieldOrder order = FieldOrder::kUnknown;  // that pictures are marked with
};

void MovieWriter::Throw(int error) const {
    const std::string named = name + ", frame " + std::to_string(current);
    if (AVUNERROR(error) > 0 && AVUNERROR(error) < 256) throw WriteFailure(named, AVUNERROR(error));
    throw MediaError(MediaError::Kind::kFailure, named + ": cannot be written: " + AvText(error));
}

// Time code begins with that of the first output frame that is written.
void MovieWriter::NameTimecode() {
    const ClipInfo& source = settings.source;
    if (!source.timecode) return;
    const std::int64_t start = settings.madeOf ? settings.madeOf(0).earlier : 0;
    const Timecode first = TimecodeAfter(*source.timecode, start, source.timecodeRate);
    const int rate = source.rate.numerator > 0 ? TimecodeRate(source.rate) : source.timecodeRate;
    const std::string text = TimecodeText(TimecodeAfter(first, current, rate));
    av_dict_set(&stream->metadata, "timecode", text.c_str(), 0);
}

void MovieWriter::OpenCodec(const Picture& picture, const Encoding& encoding) {
    codec.reset(avcodec_alloc_context3(encoding.codec));
    if (!codec) throw std::bad_alloc();
    const ClipInfo& source = settings.source;
    const bool hasRate = source.rate.numerator > 0;
    const AVRational rate{hasRate ? static_cast<int>(source.rate.numerator) : 24,
                          hasRate ? static_cast<int>(source.rate.denominator) : 1};
    codec->width = picture.width;
    codec->height = picture.height;
    codec->pix_fmt = encoding.pixelFormat;
    codec->framerate = rate;
    codec->time_base = av_inv_q(rate);
    codec->sample_aspect_ratio = {static_cast<int>(source.pixelAspect.numerator),
                                  static_cast<int>(source.pixelAspect.denominator)};
    NameColours(*codec, source);
    MarkFields(*codec, order);
    codec->thread_count = 0;
    codec->thread_type = FF_THREAD_SLICE;  // within a picture: each held one costs memory
    if (output->oformat->flags & AVFMT_GLOBALHEADER) codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;

    AVDictionary* options = nullptr;
    for (const auto& [key, value] : encoding.options) {
        av_dict_set(&options, key.c_str(), value.c_str(), 0);
    }
    const int result = avcodec_open2(codec.get(), encoding.codec, &options);
    av_dict_free(&options);
    Check(result);
}

void MovieWriter::MakeVideoFrame() {
    video = MakeFrame();
    NameColours(*codec, *video);
    MarkFields(*video, order);
    if (IsInterlaced(order)) converter.KeepFieldsApart();
    Check(av_frame_get_buffer(video.get(), 0));
}

void MovieWriter::OpenFile() {
    stream = avformat_new_stream(output.get(), nullptr);
    if (stream == nullptr) throw std::bad_alloc();
    stream->time_base = codec->time_base;
    stream->avg_frame_rate = stream->r_frame_rate = codec->framerate;
    stream->sample_aspect_ratio = codec->sample_aspect_ratio;
    Check(avcodec_parameters_from_context(stream->codecpar, codec.get()));
    NameTimecode();
    if (settings.sound) sound = std::make_unique<SoundWriter>(name, *output, settings.sound);
    Check(avio_open(&output->pb, output->url, AVIO_FLAG_WRITE));
    AVDictionary* options = nullptr;
    // The head first, so that players and this program can begin before the end has come.
    if (std::string(format.muxer) != "matroska") av_dict_set(&options, "movflags", "+faststart", 0);
    const int result = avformat_write_header(output.get(), &options);
    av_dict_free(&options);
    Check(result);
}

void MovieWriter::Start(const Picture& picture) {
    SilenceLibraries();
    const bool alpha = settings.source.channels % 2 == 0;
    if (MovieCanMarkFields(name, picture.height)) order = settings.fieldOrder;
    const Encoding encoding = ChooseEncoding(format, picture, alpha, order);
    if (encoding.codec == nullptr) {
        throw MediaError(MediaError::Kind::kFailure,
                         name + ": no encoder for this format is installed; write mkv instead");
    }
    AVFormatContext* made = nullptr;
    Check(avformat_alloc_output_context2(&made, nullptr, format.muxer,
                                         ("file:" + file.TemporaryName()).c_str()));
    output.reset(made);
    // Without dates and random numbers: equal runs give equal files.
    output->flags |= AVFMT_FLAG_BITEXACT;
    if (settings.stamp) {
        av_dict_set(&output->metadata, "comment", StampText(settings.stamp(current)).c_str(), 0);
    }
    OpenCodec(picture, encoding);
    OpenFile();
    MakeVideoFrame();
    packet = MakePacket();
}

void MovieWriter::Encode(const AVFrame* picture) {
    Check(avcodec_send_frame(codec.get(), picture));
    while (true) {
        const int result = avcodec_receive_packet(codec.get(), packet.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return;
        Check(result);
        // Else the last frame has no length and the movie's rate comes out too high.
        if (packet->duration == 0) packet->duration = 1;
        av_packet_rescale_ts(packet.get(), codec->time_base, stream->time_base);
        packet->stream_index = stream->index;
        Check(av_interleaved_write_frame(output.get(), packet.get()));
        Check(output->pb->error);
    }
}

// As far as the pictures have come.
void MovieWriter::WriteSound(bool last) {
    if (!sound) return;
    Check(sound->WriteUpTo(written, codec->framerate, last));
    Check(output->pb->error);
}

void MovieWriter::Write(std::int64_t frame, const Picture& picture) {
    current = frame;
    if (!output) Start(picture);
    if (picture.width != codec->width || picture.height != codec->height) {
        throw MediaError(MediaError::Kind::kFailure,
                         name + ", frame " + std::to_string(frame) +
                             ": differs in size from the first; a movie needs one size");
    }
    Check(av_frame_make_writable(video.get()));
    converter.ToFrame(picture, *video);
    video->pts = written++;
    Encode(video.get());
    WriteSound(false);
}

void MovieWriter::Finish() {
    if (!output) return;
    Encode(nullptr);
    WriteSound(true);
    Check(av_write_trailer(output.get()));
    avio_flush(output->pb);
    Check(output->pb->error);
    Check(avio_closep(&output->pb));
    file.Commit();
}

}  // namespace

std::unique_ptr<ClipWriter> CreateMovie(const std::string& name, const OutputSettings& settings) {
    const auto refuseIfRead = [&](const ClipInfo& clip) {
        std::error_code ignored;
        if (!clip.isMovie || !std::filesystem::equivalent(name, clip.name, ignored)) return;
        throw MediaError(MediaError::Kind::kFailure,
                         name + ": is the input itself; choose another output name");
    };
    if (settings.overwrite) {
        refuseIfRead(settings.source);
        for (const ClipInfo& clip : settings.alsoRead) refuseIfRead(clip);
    }
    return std::make_unique<MovieWriter>(name, *FindMovieFormat(name), settings);
}

}  // namespace velorin
