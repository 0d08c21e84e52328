#include "cli/clip_host.h"

#include <gtest/gtest.h>

#include <cstring>

#include "standalone/thread_pool.h"
#include "support/noise.h"

namespace velorin {
namespace {

constexpr int kWidth = 20;
constexpr int kHeight = 16;

// A clip whose frames are noise of their own number. It notes what is read.
class NoiseClip final : public ClipReader {
  public:
    NoiseClip(std::int64_t frames, std::vector<std::int64_t>* log) : reads(log) {
        info.name = "noise";
        info.width = kWidth;
        info.height = kHeight;
        info.frames = frames;
    }
    const ClipInfo& Info() const override { return info; }
    void Read(std::int64_t frame, Picture& picture) override {
        if (reads) reads->push_back(frame);
        if (frame == 13) throw MediaError(MediaError::Kind::kInput, "frame 13 is damaged");
        picture.SetShape(kWidth, kHeight, ZPPixUChar);
        Noise noise(static_cast<std::uint32_t>(frame));
        for (std::byte& value : picture.pixels) value = static_cast<std::byte>(noise.Bits());
    }

  private:
    ClipInfo info;
    std::vector<std::int64_t>* reads;
};

std::unique_ptr<NoiseClip> Clip(std::int64_t frames, std::vector<std::int64_t>* log = nullptr) {
    return std::make_unique<NoiseClip>(frames, log);
}

std::unique_ptr<TimeLaw> Speed(const char* text) {
    return ConstantSpeed(ParseDecimal(text).value());
}

// Warps by the method with the number of `interp`, so that all of them are used.
int Render(ClipHost& host, std::int64_t frame, int interp, Picture& picture) {
    picture.SetShape(kWidth, kHeight, ZPPixUChar);
    KQImage result;
    WrapPicture(result, picture);
    host.SetOutputFrame(frame);
    host.SetWarping(interp);
    return host.RenderFrame(&result, nullptr, 0, 0, 5, 0.0f, 1.0f, 29.97f, 29.97f, 0.0f, 0.7f,
                            interp, 1, 1, 1, 0, nullptr, nullptr, nullptr, false);
}

class ClipHostTest : public testing::Test {
  protected:
    void SetUp() override { UseThreads(1); }
};

TEST_F(ClipHostTest, HandsOutPrivateCopiesOfFramesInsideTheClip) {
    std::vector<std::int64_t> reads;
    const auto law = Speed("1");
    ClipHost host(Clip(5, &reads), *law, false);
    const auto firstByte = [&](int frame, bool alter) {
        KQImage* image = nullptr;
        EXPECT_EQ(host.GetTrackingSequenceImage(&image, frame), ZPErrNone);
        // The last line in memory is the bottom line, logical row 0.
        EXPECT_EQ(image->Internal()->Row<std::uint8_t>(kHeight - 1), image->data);
        auto* bytes = static_cast<std::uint8_t*>(image->data);
        const int byte = bytes[0];
        if (alter) std::memset(bytes, byte + 1, kWidth * kHeight * 4);
        EXPECT_EQ(host.CleanUpCheckedOutImage(image), ZPErrNone);
        return byte;
    };
    EXPECT_EQ(firstByte(2, true), firstByte(2, false));
    EXPECT_EQ(firstByte(4, false), firstByte(1000, false));
    EXPECT_EQ(firstByte(0, false), firstByte(-7, false));
    EXPECT_EQ(reads, std::vector<std::int64_t>({2, 4, 0}));
}

TEST_F(ClipHostTest, AnswersTimesAndFramesFromABaseNearTheOutputFrame) {
    std::vector<std::int64_t> reads;
    const auto law = Speed("0.5");
    ClipHost host(Clip(2000000, &reads), *law, false);
    host.SetOutputFrame(1000001);
    float time = 0.0f;
    host.GetKeyframedTime(&time, 0.0f);
    EXPECT_EQ(time, 500000.5f - 499712.0f);
    host.GetKeyframedTime(&time, 0.5f);
    EXPECT_EQ(time, 500000.75f - 499712.0f);
    host.GetKeyframedTime(&time, 1.0f);
    EXPECT_EQ(time, 500001.0f - 499712.0f);
    KQImage* image = nullptr;
    host.GetToBeWarpedSequenceImage(&image, 289);
    host.CleanUpCheckedOutImage(image);
    EXPECT_EQ(reads, std::vector<std::int64_t>({500001}));
}

// Source times 0.5 and 4096.5 are the same numbers to the engine, and of different frames.
TEST_F(ClipHostTest, PicturesDoNotDependOnTheFrameBefore) {
    const auto law = Speed("0.5");
    for (const int interp : {0, 1, 2}) {
        ClipHost host(Clip(9000), *law, false);
        for (const std::int64_t frame : {1, 8193, 1, 8191, 8192, 8193, 2, 8195}) {
            Picture after, alone;
            ASSERT_EQ(Render(host, frame, interp, after), ZPErrNone);
            ClipHost fresh(Clip(9000), *law, false);
            ASSERT_EQ(Render(fresh, frame, interp, alone), ZPErrNone);
            EXPECT_EQ(after.pixels, alone.pixels) << "frame " << frame << " interp " << interp;
        }
    }
}

TEST_F(ClipHostTest, ReadsInTheOrderThatIsAnnounced) {
    for (const char* speed : {"0.3", "1", "2.5"}) {
        for (const int interp : {0, 1, 2}) {
            std::vector<std::int64_t> reads, announced;
            const std::vector<std::int64_t> frames = {0, 1, 2, 3, 4, 5, 8, 20};
            const auto law = Speed(speed);
            const auto next = ReadingOrder(*law, frames, 11);
            for (std::int64_t frame = next(); frame >= 0; frame = next()) {
                announced.push_back(frame);
            }
            ClipHost host(Clip(11, &reads), *law, false);
            Picture picture;
            for (const std::int64_t frame : frames) {
                ASSERT_EQ(Render(host, frame, interp, picture), ZPErrNone);
            }
            EXPECT_EQ(reads, announced) << speed << " interp " << interp;
        }
    }
}

TEST_F(ClipHostTest, KeepsTheTextOfAFailedRead) {
    const auto law = Speed("0.5");
    ClipHost host(Clip(20), *law, false);
    Picture picture;
    EXPECT_NE(Render(host, 25, 1, picture), ZPErrNone);
    try {
        host.RethrowFailure();
        ADD_FAILURE() << "nothing is thrown";
    } catch (const MediaError& failure) {
        EXPECT_STREQ(failure.what(), "frame 13 is damaged");
    }
    EXPECT_EQ(Render(host, 23, 1, picture), ZPErrNone);
    EXPECT_NO_THROW(host.RethrowFailure());
}

}  // namespace
}  // namespace velorin
