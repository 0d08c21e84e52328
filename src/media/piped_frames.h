#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <string>

#include "media/clip.h"
#include "media/movie_stream.h"
#include "media/standard_pipes.h"

namespace velorin {

// The pictures on standard input as they are decoded, each once: y4m, or what a NUT stream carries.
class PipedFrames {
  public:
    // Waits for the first picture, and for a second one where only its time tells the rate. See
    // StandardInput. Throws MediaError of kind kInput, or kStopped where `stops` ended the waiting.
    explicit PipedFrames(std::function<bool()> stops);

    // All but the number of frames.
    const ClipInfo& Info() const { return info; }
    // The next picture; null at the end, or when the waiting was ended. Throws MediaError that
    // names the first picture that cannot be had.
    AvFrame Next();
    bool IsStopped() const { return input.IsStopped(); }

  private:
    [[noreturn]] void Throw(const std::string& problem) const;
    [[noreturn]] void ThrowUnopened(const std::string& problem) const;
    void Open();
    void Describe(const AVFrame& first);
    void FindRate();
    void CheckTime(const AVFrame& frame);
    AvFrame Decode();
    bool Feed();

    struct CloseInput {
        void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
    };

    StandardInput input;
    std::unique_ptr<AVFormatContext, CloseInput> format;
    int streamIndex = 0;
    bool isNut = false;
    AvCodec decoder;
    AvPacket packet;
    ClipInfo info;
    std::deque<AvFrame> waiting;  // decoded while the stream was opened
    std::int64_t decoded = 0;
    std::int64_t lastTime = 0;  // of NUT, in its ticks
    std::int64_t step = 0;      // from its first picture to its second
    std::int64_t whole = 0;     // bytes up to the end of the last whole packet
};

}  // namespace velorin
