#include <algorithm>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>

#include "media/clip.h"

namespace velorin {
namespace {

// One thread does all writing, Finish included; `mutex` guards what it shares with the user.
class WritingBehind : public ClipWriter {
  public:
    WritingBehind(std::unique_ptr<ClipWriter> clipToWrite, int depth);
    ~WritingBehind() override;
    void Write(std::int64_t frame, const Picture& picture) override;
    void WriteTaken(std::int64_t frame, Picture& picture) override;
    void Finish() override;

  private:
    struct Waiting {
        std::int64_t frame;
        std::unique_ptr<Picture> picture;
    };
    using Lock = std::unique_lock<std::mutex>;

    void Run();
    std::unique_ptr<Picture> AwaitRoom();
    void Add(std::int64_t frame, std::unique_ptr<Picture> picture);
    bool HasWork() const { return stopping || finishing || !waiting.empty(); }
    void ThrowFailure() const {
        if (failure) std::rethrow_exception(failure);
    }

    const std::unique_ptr<ClipWriter> clip;  // the thread's alone
    const std::size_t mostWaiting;

    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Waiting> waiting;
    std::vector<std::unique_ptr<Picture>> spare;  // written, their memory for the next ones
    std::exception_ptr failure;                   // the first one; nothing is written after it
    bool finishing = false;
    bool stopping = false;
    bool ended = false;
    std::thread thread;  // started last
};

WritingBehind::WritingBehind(std::unique_ptr<ClipWriter> clipToWrite, int depth)
    : clip(std::move(clipToWrite)),
      mostWaiting(static_cast<std::size_t>(std::max(depth, 1))),
      thread([this] { Run(); }) {}

// Without a Finish the pictures that still wait are not written.
WritingBehind::~WritingBehind() {
    {
        const Lock lock(mutex);
        stopping = true;
    }
    changed.notify_all();
    thread.join();
}

void WritingBehind::Run() {
    Lock lock(mutex);
    while (!failure) {
        changed.wait(lock, [this] { return HasWork(); });
        if (stopping || waiting.empty()) break;
        Waiting first = std::move(waiting.front());
        waiting.pop_front();
        lock.unlock();
        std::exception_ptr thrown;
        try {
            clip->Write(first.frame, *first.picture);
        } catch (...) {
            thrown = std::current_exception();
        }
        lock.lock();
        failure = thrown;
        spare.push_back(std::move(first.picture));
        changed.notify_all();
    }
    if (!failure && !stopping) {
        lock.unlock();
        std::exception_ptr thrown;
        try {
            clip->Finish();
        } catch (...) {
            thrown = std::current_exception();
        }
        lock.lock();
        failure = thrown;
    }
    ended = true;
    changed.notify_all();
}

// Answers a picture for the next to be written, with memory of an earlier one if there is some.
std::unique_ptr<Picture> WritingBehind::AwaitRoom() {
    Lock lock(mutex);
    changed.wait(lock, [this] { return failure || waiting.size() < mostWaiting; });
    ThrowFailure();
    if (spare.empty()) return std::make_unique<Picture>();
    std::unique_ptr<Picture> picture = std::move(spare.back());
    spare.pop_back();
    return picture;
}

void WritingBehind::Add(std::int64_t frame, std::unique_ptr<Picture> picture) {
    {
        const Lock lock(mutex);
        waiting.push_back({frame, std::move(picture)});
    }
    changed.notify_all();
}

void WritingBehind::Write(std::int64_t frame, const Picture& picture) {
    std::unique_ptr<Picture> copy = AwaitRoom();
    *copy = picture;
    Add(frame, std::move(copy));
}

void WritingBehind::WriteTaken(std::int64_t frame, Picture& picture) {
    std::unique_ptr<Picture> taken = AwaitRoom();
    taken->SetShape(picture.width, picture.height, picture.pixelType, picture.channels);
    std::swap(*taken, picture);
    Add(frame, std::move(taken));
}

void WritingBehind::Finish() {
    Lock lock(mutex);
    finishing = true;
    changed.notify_all();
    changed.wait(lock, [this] { return ended; });
    ThrowFailure();
}

}  // namespace

std::unique_ptr<ClipWriter> WriteBehind(std::unique_ptr<ClipWriter> clip, int depth) {
    return std::make_unique<WritingBehind>(std::move(clip), depth);
}

}  // namespace velorin
