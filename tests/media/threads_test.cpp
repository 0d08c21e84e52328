#include <algorithm>
#include <atomic>
#include <chrono>
#include <numeric>
#include <set>
#include <thread>

#include "media/clips.h"

namespace velorin {
namespace {

constexpr int kFrames = 40;
constexpr int kBroken = 13;  // frame that no one can read or write

// What a clip under test has been asked to do.
struct Record {
    std::atomic<int> reads = 0;
    std::vector<std::int64_t> written;
    bool finished = false;
    bool gone = false;
    std::set<std::thread::id> threads;
};

Picture PictureOf(std::int64_t frame) {
    Picture picture;
    picture.SetShape(2, 1, ZPPixUChar);
    picture.pixels[0] = static_cast<std::byte>(frame);
    return picture;
}

class CountingReader : public ClipReader {
  public:
    explicit CountingReader(Record& recordOfReads) : record(recordOfReads) {
        info.frames = kFrames;
    }
    ~CountingReader() override { record.gone = true; }
    const ClipInfo& Info() const override { return info; }
    void Read(std::int64_t frame, Picture& picture) override {
        ++record.reads;
        record.threads.insert(std::this_thread::get_id());
        if (frame == kBroken) throw MediaError(MediaError::Kind::kInput, "broken");
        picture = PictureOf(frame);
    }

  private:
    Record& record;
    ClipInfo info;
};

class CountingWriter : public ClipWriter {
  public:
    explicit CountingWriter(Record& recordOfWrites) : record(recordOfWrites) {}
    ~CountingWriter() override { record.gone = true; }
    void Write(std::int64_t frame, const Picture& picture) override {
        if (frame == kBroken) throw MediaError(MediaError::Kind::kFailure, "broken");
        EXPECT_TRUE(SamePixels(picture, PictureOf(frame)));
        record.written.push_back(frame);
    }
    void Finish() override { record.finished = true; }

  private:
    Record& record;
};

std::unique_ptr<ClipReader> Ahead(Record& record, const std::vector<std::int64_t>& order,
                                  int depth) {
    const auto next = [order, at = std::size_t{0}]() mutable -> std::int64_t {
        return at < order.size() ? order[at++] : -1;
    };
    return ReadAhead(std::make_unique<CountingReader>(record), next, depth);
}

void ExpectFrame(ClipReader& clip, std::int64_t frame) {
    Picture picture;
    if (frame == kBroken) {
        EXPECT_THROW(clip.Read(frame, picture), MediaError);
    } else {
        clip.Read(frame, picture);
        EXPECT_TRUE(SamePixels(picture, PictureOf(frame))) << frame;
    }
}

// In order until the clip goes, which may be at any moment.
TEST(ReadAhead, FramesInOrderAreReadOnceAndElsewhere) {
    // Each pair of neighbours, as a slowed clip asks for them.
    std::vector<std::int64_t> order;
    for (int i = 0; i + 1 < kBroken; ++i) order.insert(order.end(), {i, i + 1});
    for (const int depth : {1, 2, 5}) {
        for (std::size_t asked = 0; asked <= order.size(); ++asked) {
            Record record;
            {
                const auto clip = Ahead(record, order, depth);
                EXPECT_EQ(clip->Info().frames, kFrames);
                for (std::size_t i = 0; i < asked; ++i) ExpectFrame(*clip, order[i]);
            }
            EXPECT_TRUE(record.gone);
            EXPECT_EQ(record.threads.count(std::this_thread::get_id()), 0u);
            const std::int64_t seen = asked == 0 ? 0 : order[asked - 1] + 1;
            EXPECT_LE(record.reads, std::min<std::int64_t>(seen + depth + 1, kBroken));
        }
    }
}

TEST(ReadAhead, AnyOtherOrderGivesTheSameFrames) {
    Noise noise(3);
    for (int run = 0; run < 60; ++run) {
        Record record;
        std::vector<std::int64_t> order(run);
        for (std::int64_t& frame : order) frame = noise.Int(0, kFrames - 1);
        const auto clip = Ahead(record, order, 1 + run % 4);
        // As foretold with frames left out, swapped and asked for again; then anything.
        for (std::size_t i = 0; i < order.size(); ++i) {
            if (noise.Int(0, 3) > 0) ExpectFrame(*clip, order[i]);
            if (noise.Int(0, 3) == 0) ExpectFrame(*clip, order[i / 2]);
        }
        for (int i = 0; i < run % 7; ++i) ExpectFrame(*clip, noise.Int(0, kFrames - 1));
    }
}

TEST(WriteBehind, WritesInOrderAndFinishesWhenAsked) {
    for (const int depth : {1, 3}) {
        for (const bool finish : {false, true}) {
            Record record;
            std::vector<std::int64_t> frames(kBroken);
            std::iota(frames.begin(), frames.end(), 0);
            {
                const auto clip = WriteBehind(std::make_unique<CountingWriter>(record), depth);
                for (const std::int64_t frame : frames) {
                    Picture picture = PictureOf(frame);
                    clip->WriteTaken(frame, picture);
                    EXPECT_EQ(picture.pixels.size(), PictureOf(frame).pixels.size());
                    clip->Write(frame, PictureOf(frame));
                }
                if (finish) clip->Finish();
            }
            std::vector<std::int64_t> twice;
            for (const std::int64_t frame : frames) twice.insert(twice.end(), {frame, frame});
            EXPECT_TRUE(record.written == twice || !finish);
            EXPECT_EQ(record.finished, finish);
            EXPECT_TRUE(record.gone);
        }
    }
}

// Takes its time now and then, so that writers overtake each other.
class SlowWriter : public ClipWriter {
  public:
    SlowWriter(std::vector<std::atomic<int>>& newTimes, std::atomic<int>& newFinished)
        : times(newTimes), finished(newFinished) {}
    void Write(std::int64_t frame, const Picture& picture) override {
        if (frame == kBroken) throw MediaError(MediaError::Kind::kFailure, "broken");
        if (frame % 3 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(2));
        EXPECT_TRUE(SamePixels(picture, PictureOf(frame)));
        ++times[frame];
    }
    void Finish() override { ++finished; }

  private:
    std::vector<std::atomic<int>>& times;  // that each frame has been written
    std::atomic<int>& finished;
};

TEST(WriteBehind, SeveralWritersWriteEachFrameOnce) {
    for (const int count : {2, 8}) {
        for (const int frames : {1, kBroken, kFrames}) {
            std::vector<std::atomic<int>> times(kFrames);
            std::atomic<int> finished = 0;
            std::vector<std::unique_ptr<ClipWriter>> writers;
            for (int i = 0; i < count; ++i) {
                writers.push_back(std::make_unique<SlowWriter>(times, finished));
            }
            const auto clip = WriteBehind(std::move(writers), 1);
            const auto writeAll = [&] {
                for (int i = 0; i < frames; ++i) clip->Write(i, PictureOf(i));
                clip->Finish();
            };
            if (frames > kBroken) {
                EXPECT_THROW(writeAll(), MediaError);
                continue;
            }
            writeAll();
            for (int i = 0; i < frames; ++i) EXPECT_EQ(times[i], 1) << i;
            EXPECT_EQ(finished, count);
        }
    }
}

TEST(WriteBehind, AFailureReachesTheUserAndNothingFollowsIt) {
    Record record;
    {
        const auto clip = WriteBehind(std::make_unique<CountingWriter>(record), 2);
        const auto writeAll = [&] {
            for (int i = 10; i < kFrames; ++i) clip->Write(i, PictureOf(i));
        };
        EXPECT_THROW(writeAll(), MediaError);
        EXPECT_THROW(clip->Finish(), MediaError);
    }
    EXPECT_EQ(record.written, (std::vector<std::int64_t>{10, 11, 12}));
    EXPECT_FALSE(record.finished);
    EXPECT_TRUE(record.gone);
}

}  // namespace
}  // namespace velorin
