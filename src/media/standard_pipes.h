#pragma once

#include <cstdint>
#include <functional>

#include "media/libav.h"

namespace velorin {

struct FreeAvIo {
    void operator()(AVIOContext* context) const {
        av_freep(&context->buffer);
        avio_context_free(&context);
    }
};
using AvIo = std::unique_ptr<AVIOContext, FreeAvIo>;

// Standard input for the libraries, which read it once from its beginning to its end.
class StandardInput {
  public:
    // `stops` is asked several times a second while no bytes come, and ends the waiting. Throws
    // MediaError of kind kInput for a terminal.
    explicit StandardInput(std::function<bool()> newStops);

    AVIOContext* Io() const { return io.get(); }
    // Bytes that have come.
    std::int64_t Taken() const { return taken; }
    // Between two packets of NUT: has the libraries take this for the same place of the stream each
    // time that it is one to go back to. Their reader takes all of these down and forgets none, but
    // one that it knows it does not take down again.
    void StandAtSyncpoint();
    // Whether the waiting was ended.
    bool IsStopped() const { return stopped; }

  private:
    static int Read(void* self, std::uint8_t* bytes, int count);
    int ReadSome(std::uint8_t* bytes, int count);

    std::function<bool()> stops;
    std::int64_t taken = 0;
    bool stopped = false;
    AvIo io;
};

// Standard output for the libraries alone: what else the program writes there while this lives
// comes out on the error stream.
class StandardOutput {
  public:
    // Throws MediaError of kind kFailure for a terminal.
    StandardOutput();
    ~StandardOutput();
    StandardOutput(const StandardOutput&) = delete;
    StandardOutput& operator=(const StandardOutput&) = delete;

    AVIOContext* Io() const { return io.get(); }

  private:
    static int Write(void* self, std::uint8_t* bytes, int count);

    int descriptor = -1;
    AvIo io;
};

}  // namespace velorin
