#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "media/libav.h"
#include "media/sound.h"

namespace velorin {

// What the file says of the sound that goes with its pictures: the first stream that is marked as
// default, or else the first. Nothing where there is none.
std::optional<SoundInfo> FindSound(const AVFormatContext& format);

// A movie's sound by the number of the sample, whichever way it is read. Samples count from the
// moment that the movie shows its first picture; those of a stream that begins between two samples
// are moved to the nearer. A sample has the same value wherever reading begins, but for what codecs
// fill with noise of their own. Only a few seconds are held.
//
// Timestamps place the sound. Those that stray by less than kTrustedSeconds do not break it: many
// containers round them.
class SoundReader {
  public:
    static constexpr double kTrustedSeconds = 0.005;

    // `firstPicture`: seconds on the movie's clock. Throws MediaError of kind kInput for sound that
    // cannot be decoded.
    SoundReader(const std::string& movieName, const SoundInfo& soundInfo, double firstPicture);

    const SoundInfo& Info() const { return info; }

    // Samples `first` to first + count - 1 of all channels, these side by side, from -1 to 1. Where
    // the stream has none they are 0.
    void Read(std::int64_t first, std::int64_t count, double* samples);

    // Whether anything that was read so far could not be decoded, and counts as 0.
    bool IsDamaged() const { return damaged; }

  private:
    struct Chunk {
        std::int64_t first;
        std::int64_t end;
        std::vector<double> samples;
    };
    // A decoded frame to begin behind.
    struct Mark {
        std::int64_t time;  // in the stream's time base
        std::int64_t end;   // the sample behind it
    };
    struct CloseInput {
        void operator()(AVFormatContext* input) const { avformat_close_input(&input); }
    };

    [[noreturn]] void Throw(const std::string& problem) const;
    void Open();
    void OpenDecoder();
    bool DecodeFrame();
    void NoteDamage();
    std::int64_t PlaceFrame();
    bool DecodeChunk(std::int64_t wanted);
    void GoTo(std::int64_t sample);
    bool GoToMark(const Mark& mark, double secondsBefore, int stream);
    void Rewind();
    bool FitsStream() const;

    std::string name;
    SoundInfo info;
    double start;  // on the movie's clock, of sample 0
    double tick;   // seconds
    std::unique_ptr<AVFormatContext, CloseInput> format;
    AvCodec decoder;
    AvPacket packet;
    AvFrame frame;
    std::deque<Chunk> chunks;  // in the order of decoding
    std::vector<Mark> marks;   // about one a second, ascending, as far as decoding ever came
    bool decodesFirst = true;  // no sample is placed yet since the beginning of the file
    std::int64_t next = 0;     // where the next frame belongs by count
    std::int64_t held;         // from this sample on `chunks` lack nothing, up to `next`
    bool ended = false;
    bool damaged = false;
    bool everRead = false;  // a packet of it, whole or not
};

}  // namespace velorin
