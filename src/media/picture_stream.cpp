#include "media/picture_stream.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <string>
#include <utility>

namespace velorin {

namespace {

constexpr std::chrono::milliseconds kWait(100);
constexpr std::size_t kMostSpare = 2;

std::string Named(std::int64_t frame) {
    return "standard input, frame " + std::to_string(frame) + ": ";
}

class StreamReader : public ClipReader {
  public:
    explicit StreamReader(std::shared_ptr<PictureStream> newStream)
        : stream(std::move(newStream)) {}
    const ClipInfo& Info() const override { return stream->Info(); }
    void Read(std::int64_t frame, Picture& picture) override { stream->Read(frame, picture); }
    void KeepFieldsApart() override { stream->KeepFieldsApart(); }

  private:
    std::shared_ptr<PictureStream> stream;
};

}  // namespace

// Closing is seen by a read that waits for bytes, too.
PictureStream::PictureStream(std::function<bool()> newStops)
    : stops(std::move(newStops)), pictures([this] { return closing || stops(); }) {}

PictureStream::~PictureStream() {
    {
        const Lock lock(mutex);
        closing = true;
    }
    changed.notify_all();
    if (thread.joinable()) thread.join();
}

bool PictureStream::IsWanted(std::int64_t frame) const {
    return std::find(now.begin(), now.end(), frame) != now.end() ||
           std::find(next.begin(), next.end(), frame) != next.end();
}

std::int64_t PictureStream::Goal() const {
    std::int64_t goal = -1;
    for (const std::int64_t frame : now) goal = std::max(goal, frame);
    for (const std::int64_t frame : next) goal = std::max(goal, frame);
    return goal;
}

void PictureStream::Want(std::vector<std::int64_t> newNow, std::vector<std::int64_t> newNext) {
    {
        const Lock lock(mutex);
        now = std::move(newNow);
        next = std::move(newNext);
        DropUnwanted();
        if (!thread.joinable()) thread = std::thread([this] { Run(); });
    }
    changed.notify_all();
}

void PictureStream::DropUnwanted() {
    for (auto one = kept.begin(); one != kept.end();) {
        const bool isLast = ended && one->first == come - 1;
        if (isLast || IsWanted(one->first)) {
            ++one;
            continue;
        }
        if (spare.size() < kMostSpare) spare.push_back(std::move(one->second));
        one = kept.erase(one);
    }
}

void PictureStream::Keep(std::int64_t frame, const AVFrame& decoded, Lock& lock) {
    auto picture = std::make_shared<Picture>();
    if (!spare.empty() && spare.back().use_count() == 1) picture = std::move(spare.back());
    if (!spare.empty()) spare.pop_back();
    lock.unlock();
    try {
        converter.ToPicture(decoded, {}, *picture);
    } catch (const std::runtime_error& error) {
        throw MediaError(MediaError::Kind::kInput, Named(frame) + error.what());
    }
    const ClipInfo& info = Info();
    if (picture->width != info.width || picture->height != info.height ||
        picture->pixelType != PixelTypeOf(info.depth)) {
        throw MediaError(MediaError::Kind::kInput,
                         Named(frame) +
                             "its size or depth is not that of the stream; send one "
                             "size");
    }
    lock.lock();
    kept[frame] = std::move(picture);
}

void PictureStream::ReadAll(Lock& lock) {
    AvFrame last;
    while (true) {
        changed.wait(lock, [this] { return closing || Goal() >= come; });
        if (closing) return;
        const std::int64_t frame = come;
        const bool keeps = IsWanted(frame);
        lock.unlock();
        AvFrame decoded = pictures.Next();
        lock.lock();
        if (!decoded && pictures.IsStopped()) return;
        // What stands for all that lies past the end.
        if (!decoded && kept.count(frame - 1) == 0) Keep(frame - 1, *last, lock);
        if (!decoded) {
            ended = true;
            return;
        }
        if (keeps) Keep(frame, *decoded, lock);
        last = std::move(decoded);
        ++come;
        changed.notify_all();
    }
}

void PictureStream::Run() {
    std::exception_ptr thrown;
    Lock lock(mutex);
    try {
        ReadAll(lock);
    } catch (...) {
        thrown = std::current_exception();
    }
    if (!lock.owns_lock()) lock.lock();
    failure = thrown;
    changed.notify_all();
}

bool PictureStream::Await() {
    Lock lock(mutex);
    const std::int64_t last = now.empty() ? -1 : *std::max_element(now.begin(), now.end());
    while (come <= last && !ended) {
        if (failure) std::rethrow_exception(failure);
        if (stops()) return false;
        changed.wait_for(lock, kWait);
    }
    return true;
}

std::int64_t PictureStream::Frames() const {
    const Lock lock(mutex);
    return ended ? come : kFramesUnknown;
}

void PictureStream::Read(std::int64_t frame, Picture& picture) {
    std::shared_ptr<Picture> found;
    {
        const Lock lock(mutex);
        const auto place = kept.find(ended ? std::min(frame, come - 1) : frame);
        if (place != kept.end()) found = place->second;
    }
    if (!found) {
        throw MediaError(MediaError::Kind::kFailure,
                         Named(frame) + "is not there any more; a pipe is read once");
    }
    picture = *found;
    const Lock lock(mutex);
    found.reset();
}

std::unique_ptr<ClipReader> ReadStream(std::shared_ptr<PictureStream> stream) {
    return std::make_unique<StreamReader>(std::move(stream));
}

}  // namespace velorin
