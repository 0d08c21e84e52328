#include <algorithm>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <new>
#include <thread>
#include <utility>
#include <vector>

#include "media/clip.h"

namespace velorin {
namespace {

constexpr std::int64_t kNoFrame = -1;
// Pictures that the user has had or passed over, for one who asks again.
constexpr std::size_t kKept = 2;

// A frame as it was read: a picture, or the failure in its place.
struct ReadFrame {
    std::int64_t frame = kNoFrame;
    std::shared_ptr<Picture> picture;
    std::exception_ptr failure;
};

// Pictures whose memory goes from frame to frame, so that it is claimed once and not for every one.
// Whoever lets go of a picture last gives it back, from any thread, and perhaps after the reader.
class PicturePool : public std::enable_shared_from_this<PicturePool> {
  public:
    std::shared_ptr<Picture> Take() {
        std::unique_ptr<Picture> picture;
        {
            const std::lock_guard lock(mutex);
            if (!free.empty()) {
                picture = std::move(free.back());
                free.pop_back();
            }
        }
        if (!picture) picture = std::make_unique<Picture>();
        return {picture.release(),
                [pool = shared_from_this()](Picture* used) { pool->GiveBack(used); }};
    }

  private:
    void GiveBack(Picture* used) {
        std::unique_ptr<Picture> owned(used);
        const std::lock_guard lock(mutex);
        try {
            free.push_back(std::move(owned));
        } catch (const std::bad_alloc&) {  // one spare picture less
        }
    }

    std::mutex mutex;
    std::vector<std::unique_ptr<Picture>> free;
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
    void ReadShared(std::int64_t frame, std::shared_ptr<Picture>& picture) override;

  private:
    using Lock = std::unique_lock<std::mutex>;

    void Run();
    bool HasWork() const;
    ReadFrame ReadOne(std::int64_t frame, Lock& lock);
    ReadFrame* Find(std::int64_t frame);
    void Keep(ReadFrame&& read);
    void PassOver(std::int64_t frame);
    const std::unique_ptr<ClipReader> clip;  // the thread's alone
    const std::function<std::int64_t()> next;
    const ClipInfo info;
    const std::size_t mostWaiting;
    const std::shared_ptr<PicturePool> pool = std::make_shared<PicturePool>();

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

ReadFrame ReadingAhead::ReadOne(std::int64_t frame, Lock& lock) {
    if (const ReadFrame* held = Find(frame); held != nullptr && !held->failure) return *held;
    ReadFrame read{frame, pool->Take(), {}};
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
            Keep(ReadOne(wanted, lock));
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

void ReadingAhead::Keep(ReadFrame&& read) {
    kept.push_back(std::move(read));
    if (kept.size() > kKept) kept.pop_front();
}

// Moves the waiting pictures up to the first of `frame` to the kept ones: they have been asked for
// or been left out.
void ReadingAhead::PassOver(std::int64_t frame) {
    const auto first = std::find_if(waiting.begin(), waiting.end(),
                                    [&](const ReadFrame& read) { return read.frame == frame; });
    if (first == waiting.end()) return;
    for (auto read = waiting.begin(); read != first + 1; ++read) Keep(std::move(*read));
    waiting.erase(waiting.begin(), first + 1);
}

void ReadingAhead::Read(std::int64_t frame, Picture& picture) {
    std::shared_ptr<Picture> found;
    ReadShared(frame, found);
    picture = *found;
}

void ReadingAhead::ReadShared(std::int64_t frame, std::shared_ptr<Picture>& picture) {
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
        picture = read.picture;
        failure = read.failure;
    }
    changed.notify_all();
    if (failure) std::rethrow_exception(failure);
}

}  // namespace

std::unique_ptr<ClipReader> ReadAhead(std::unique_ptr<ClipReader> clip,
                                      std::function<std::int64_t()> next, int depth) {
    return std::make_unique<ReadingAhead>(std::move(clip), std::move(next), depth);
}

}  // namespace velorin
