#include <algorithm>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "media/clip.h"

namespace velorin {
namespace {

// Each thread has a writer of its own, which it also finishes; `mutex` guards what they share with
// the user.
class WritingBehind : public ClipWriter {
  public:
    WritingBehind(std::vector<std::unique_ptr<ClipWriter>> newWriters, int depth);
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

    void Run(ClipWriter& writer);
    template <typename Work>
    void Unlocked(Lock& lock, Work&& work);
    std::unique_ptr<Picture> AwaitRoom();
    void Add(std::int64_t frame, std::unique_ptr<Picture> picture);
    bool HasWork() const { return failure || stopping || finishing || !waiting.empty(); }
    void ThrowFailure() const {
        if (failure) std::rethrow_exception(failure);
    }

    const std::vector<std::unique_ptr<ClipWriter>> writers;  // each its thread's alone
    const std::size_t mostWaiting;

    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Waiting> waiting;
    std::vector<std::unique_ptr<Picture>> spare;  // written, their memory for the next ones
    std::exception_ptr failure;                   // the first one; nothing is begun after it
    bool finishing = false;
    bool stopping = false;
    std::size_t ended = 0;             // threads
    std::vector<std::thread> threads;  // started last
};

WritingBehind::WritingBehind(std::vector<std::unique_ptr<ClipWriter>> newWriters, int depth)
    : writers(std::move(newWriters)), mostWaiting(static_cast<std::size_t>(std::max(depth, 1))) {
    for (const auto& writer : writers) {
        try {
            threads.emplace_back([this, &writer] { Run(*writer); });
        } catch (const std::system_error&) {
            if (threads.empty()) throw;
            break;  // the system gives no more: fewer do
        }
    }
}

// Without a Finish the pictures that still wait are not written.
WritingBehind::~WritingBehind() {
    {
        const Lock lock(mutex);
        stopping = true;
    }
    changed.notify_all();
    for (std::thread& thread : threads) thread.join();
}

// Remembers what the work throws.
template <typename Work>
void WritingBehind::Unlocked(Lock& lock, Work&& work) {
    lock.unlock();
    std::exception_ptr thrown;
    try {
        work();
    } catch (...) {
        thrown = std::current_exception();
    }
    lock.lock();
    if (!failure) failure = thrown;
}

void WritingBehind::Run(ClipWriter& writer) {
    Lock lock(mutex);
    while (true) {
        changed.wait(lock, [this] { return HasWork(); });
        if (failure || stopping || waiting.empty()) break;
        Waiting first = std::move(waiting.front());
        waiting.pop_front();
        Unlocked(lock, [&] { writer.Write(first.frame, *first.picture); });
        spare.push_back(std::move(first.picture));
        changed.notify_all();
    }
    if (!failure && !stopping) Unlocked(lock, [&] { writer.Finish(); });
    ++ended;
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
    changed.wait(lock, [this] { return ended == threads.size(); });
    ThrowFailure();
}

}  // namespace

std::unique_ptr<ClipWriter> WriteBehind(std::vector<std::unique_ptr<ClipWriter>> writers,
                                        int depth) {
    return std::make_unique<WritingBehind>(std::move(writers), depth);
}

std::unique_ptr<ClipWriter> WriteBehind(std::unique_ptr<ClipWriter> writer, int depth) {
    std::vector<std::unique_ptr<ClipWriter>> writers;
    writers.push_back(std::move(writer));
    return WriteBehind(std::move(writers), depth);
}

}  // namespace velorin
