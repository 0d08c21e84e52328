#pragma once

#include <cstdint>
#include <string>

#include "media/libav.h"

namespace velorin {

// The picture stream of a movie file: its packets, and its pictures in the order of showing.
class MovieStream {
  public:
    // Throws MediaError of kind kInput.
    explicit MovieStream(const std::string& fileName);

    const AVFormatContext& Format() const { return *format; }
    const AVStream& Stream() const { return *format->streams[streamIndex]; }
    const AVCodecContext& Decoder() const { return *decoder; }

    // Back to the first packet, as just opened.
    void Rewind();
    // Goes to the key picture that is shown at `time`, or to its packet's `decodeTime` in files
    // that are sorted by it, so that decoding begins with exactly this one. False if it cannot be
    // found; decoding then begins anywhere.
    bool GoToKey(std::int64_t time, std::int64_t decodeTime);

    // The next packet of the stream. Answers 0, or what ended the reading: AVERROR_EOF or worse.
    int ReadPacket(AVPacket& packet);
    // The next shown picture; false at the end. What cannot be decoded is left out.
    bool Decode(AVFrame& frame);

  private:
    void Open();
    bool SkipToKey(std::int64_t time);
    bool Feed();

    struct CloseInput {
        void operator()(AVFormatContext* input) const { avformat_close_input(&input); }
    };

    std::string name;
    std::unique_ptr<AVFormatContext, CloseInput> format;
    AvCodec decoder;
    AvPacket pending;  // read and not yet sent to the decoder
    bool hasPending = false;
    int streamIndex = -1;
};

// An open decoder for that stream of a movie of that name. Throws MediaError of kind kInput.
AvCodec OpenDecoder(const AVStream& stream, const std::string& name);

// When a picture is shown, in the stream's time base; AV_NOPTS_VALUE where nobody knows.
std::int64_t TimeOf(const AVFrame& frame);

}  // namespace velorin
