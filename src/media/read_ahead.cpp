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

constexpr std::int64_t kNoFrame = -1;
// Pictures that the user has had or passed over, for one who asks again.
constexpr std::size_t kKept = 1;

// A frame as it was read: a picture, or the failure in its place.
struct ReadFrame {
    std::int64_t frame = kNoFrame;
    std::shared_ptr<Picture> picture;
    std::exception_ptr failure;
};

// All reading is done by one thread, also that of frames out of order: the clip never changes
// hands. What the two threads share is guarded by `mutex`.
class ReadingAhead : public ClipReader {
  public:
    ReadingAhead(std::unique_ptr<ClipReader> clipToRead, std::function<std::int64_t()> order,
                 int depth);
    ~ReadingAhead() override;
    const ClipInfo& Info() const override { return info; }
    void Read(std::int64_t frame, Picture& picture) override;

  private:
    using Lock = std::unique_lock<std::mutex>;

    void Run();
    bool HasWork() const;
    ReadFrame ReadOne(std::int64_t frame, Lock& lock);
    ReadFrame* Find(std::int64_t frame);
    void PassOver(std::int64_t frame);
    std::shared_ptr<Picture> FreePicture();

    const std::unique_ptr<ClipReader> clip;  // the thread's alone
    const std::function<std::int64_t()> next;
    const ClipInfo info;
    const std::size_t mostWaiting;

    std::mutex mutex;
    std::condition_variable changed;
    std::deque<ReadFrame> waiting;   // in the order in which they will be asked for
    std::deque<ReadFrame> kept;      // the latest last
    std::int64_t wanted = kNoFrame;  // asked for and not yet there
    bool fetchingNext = false;       // what the thread reads now will be put into `waiting`
    bool orderEnded = false;
    bool stopping = false;
    std::exception_ptr orderFailure;
    std::thread thread;  // started last
};

ReadingAhead::ReadingAhead(std::unique_ptr<ClipReader> clipToRead,
                           std::function<std::int64_t()> order, int depth)
    : clip(std::move(clipToRead)),
      next(std::move(order)),
      info(clip->Info()),
      mostWaiting(static_cast<std::size_t>(std::max(depth, 1))),
      thread([this] { Run(); }) {}

ReadingAhead::~ReadingAhead() {
    {
        const Lock lock(mutex);
        stopping = true;
    }
    changed.notify_all();
    thread.join();
}

ReadFrame* ReadingAhead::Find(std::int64_t frame) {
    for (std::deque<ReadFrame>* held : {&waiting, &kept}) {
        for (ReadFrame& read : *held) {
            if (read.frame == frame) return &read;
        }
    }
    return nullptr;
}

bool ReadingAhead::HasWork() const {
    return stopping || wanted != kNoFrame || (!orderEnded && waiting.size() < mostWaiting);
}

// A picture that nobody holds any more, so that memory is claimed once and not for every frame.
std::shared_ptr<Picture> ReadingAhead::FreePicture() {
    if (kept.size() > kKept) {
        std::shared_ptr<Picture> picture = std::move(kept.front().picture);
        kept.pop_front();
        if (picture && picture.use_count() == 1) return picture;
    }
    return std::make_shared<Picture>();
}

ReadFrame ReadingAhead::ReadOne(std::int64_t frame, Lock& lock) {
    if (const ReadFrame* held = Find(frame); held != nullptr && !held->failure) return *held;
    ReadFrame read{frame, FreePicture(), {}};
    lock.unlock();
    try {
        clip->Read(frame, *read.picture);
    } catch (...) {
        read.failure = std::current_exception();
        read.picture.reset();
    }
    lock.lock();
    return read;
}

void ReadingAhead::Run() {
    Lock lock(mutex);
    while (true) {
        changed.wait(lock, [this] { return HasWork(); });
        if (stopping) return;
        if (wanted != kNoFrame) {
            // On the spot, before anything else: the user waits for it.
            kept.push_back(ReadOne(wanted, lock));
            wanted = kNoFrame;
        } else {
            lock.unlock();
            std::int64_t frame = kNoFrame;
            std::exception_ptr failure;
            try {
                frame = next();
            } catch (...) {
                failure = std::current_exception();
            }
            lock.lock();
            if (frame < 0) {
                orderEnded = true;
                orderFailure = failure;
            } else {
                fetchingNext = true;
                waiting.push_back(ReadOne(frame, lock));
                fetchingNext = false;
            }
        }
        changed.notify_all();
    }
}

// Moves the waiting pictures up to the first of `frame` to the kept ones: they have been asked for
// or been left out.
void ReadingAhead::PassOver(std::int64_t frame) {
    const auto first = std::find_if(waiting.begin(), waiting.end(),
                                    [&](const ReadFrame& read) { return read.frame == frame; });
    if (first == waiting.end()) return;
    std::move(waiting.begin(), first + 1, std::back_inserter(kept));
    waiting.erase(waiting.begin(), first + 1);
    // One more than kept, whose memory the next picture takes over.
    while (kept.size() > kKept + 1) kept.pop_front();
}

void ReadingAhead::Read(std::int64_t frame, Picture& picture) {
    std::shared_ptr<Picture> found;
    std::exception_ptr failure;
    {
        Lock lock(mutex);
        // A frame that is being read ahead may be this one.
        changed.wait(lock, [&] { return Find(frame) != nullptr || !fetchingNext; });
        if (Find(frame) == nullptr && !orderEnded && waiting.empty()) {
            // Not even the first in order is there: it is most likely the one.
            changed.wait(lock, [&] { return !waiting.empty() || orderEnded; });
        }
        if (orderFailure) std::rethrow_exception(std::exchange(orderFailure, nullptr));
        if (Find(frame) == nullptr) {
            wanted = frame;
            changed.notify_all();
            changed.wait(lock, [&] { return wanted == kNoFrame; });
        }
        const ReadFrame read = *Find(frame);
        PassOver(frame);
        found = read.picture;
        failure = read.failure;
    }
    changed.notify_all();
    if (failure) std::rethrow_exception(failure);
    picture = *found;
    // Let go of under the lock: the thread that takes the memory over must see it as read.
    const Lock lock(mutex);
    found.reset();
}

}  // namespace

std::unique_ptr<ClipReader> ReadAhead(std::unique_ptr<ClipReader> clip,
                                      std::function<std::int64_t()> next, int depth) {
    return std::make_unique<ReadingAhead>(std::move(clip), std::move(next), depth);
}

}  // namespace velorin
