#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "media/clip.h"
#include "media/movie_pixels.h"
#include "media/piped_frames.h"

namespace velorin {

// The clip on standard input. Its pictures come once, and a thread of its own reads them: what is
// wanted is kept as long as it is wanted, all else goes by. However long the stream is, no more is
// in memory than the pictures wanted now and next, and the last one decoded.
class PictureStream {
  public:
    // See PipedFrames. `stops` is asked on any thread.
    explicit PictureStream(std::function<bool()> newStops);
    ~PictureStream();
    PictureStream(const PictureStream&) = delete;
    PictureStream& operator=(const PictureStream&) = delete;

    // frames: kFramesUnknown.
    const ClipInfo& Info() const { return pictures.Info(); }
    // See ClipReader. Before the first call of Want.
    void KeepFieldsApart() { converter.KeepFieldsApart(); }

    // Which pictures may be read from now on, and which of them will be wanted next time: of a call
    // that follows, `now` holds no other number that is not above all of both lists. Numbers past
    // the end stand for the last picture.
    void Want(std::vector<std::int64_t> newNow, std::vector<std::int64_t> newNext);
    // Waits until those wanted now are there, or the end is. False where `stops` ended the waiting.
    // Throws MediaError where the stream breaks off before them.
    bool Await();
    // How many there are; kFramesUnknown as long as that is not known, which it is after Await for
    // all that is wanted now. Any thread.
    std::int64_t Frames() const;
    // A picture that is wanted now.
    void Read(std::int64_t frame, Picture& picture);

  private:
    using Lock = std::unique_lock<std::mutex>;

    void Run();
    bool IsWanted(std::int64_t frame) const;
    std::int64_t Goal() const;
    void Keep(std::int64_t frame, const AVFrame& decoded, Lock& lock);
    void DropUnwanted();
    void ReadAll(Lock& lock);

    std::function<bool()> stops;
    std::atomic<bool> closing{false};
    PipedFrames pictures;      // the thread's alone from its start on
    PixelConverter converter;  // likewise

    mutable std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::int64_t> now;
    std::vector<std::int64_t> next;
    std::map<std::int64_t, std::shared_ptr<Picture>> kept;
    std::vector<std::shared_ptr<Picture>> spare;  // whose memory the next ones take over
    std::int64_t come = 0;                        // pictures decoded
    bool ended = false;
    std::exception_ptr failure;
    std::thread thread;  // started with the first wish
};

// The stream as a clip, which is read while the stream is told what is wanted.
std::unique_ptr<ClipReader> ReadStream(std::shared_ptr<PictureStream> stream);

}  // namespace velorin
