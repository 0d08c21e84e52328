#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "media/libav.h"
#include "media/sound.h"

namespace velorin {

// The sound stream of a movie that is being written: AAC in mp4, PCM in mov, FLAC in mkv, or PCM
// there where FLAC cannot hold the samples. Calls answer 0 or what the libraries have against it,
// and throw what the source throws.
class SoundWriter {
  public:
    // Adds the stream, before the output's head is written.
    SoundWriter(const std::string& movieName, AVFormatContext& movie,
                std::shared_ptr<SoundSource> soundSource);

    // Writes the sound up to the end of that many pictures; `last`: there will be no more.
    int WriteUpTo(std::int64_t pictures, AVRational frameRate, bool last);

  private:
    void OpenCodec(const std::string& movieName);
    int EncodeBlock(std::int64_t count);
    int Send(const AVFrame* samples);
    template <typename Value>
    void Fill(std::int64_t count);

    AVFormatContext& output;
    std::shared_ptr<SoundSource> source;
    AvCodec codec;
    AVStream* stream = nullptr;
    AvFrame frame;
    AvPacket packet;
    std::vector<double> block;
    std::int64_t written = 0;  // samples
};

}  // namespace velorin
