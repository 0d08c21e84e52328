#include "host/frame_request.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "host/fake_spark.h"
#include "host/panel.h"

namespace velorin {
namespace {

constexpr int kWidth = 32;
constexpr int kHeight = 24;
constexpr int kMostBytes = kWidth * kHeight * 6;

// A loaded setup over flat frames, whose bytes hold the frame's number.
class FrameRequestTest : public testing::Test {
  protected:
    FrameRequestTest() {
        fake.frame = [this](int, int frame, void* destination) {
            std::fill_n(static_cast<unsigned char*>(destination), info.frameBytes, frame);
            return fetchResult;
        };
        fake.curve = [](int, float) { return 1.0f; };
        info.mode = kSparkInteractive;
        info.clipLength = 10;
        info.threadFlag = 1;
        SetFormat(24);
        SparkInitialise(info);
        SparkMemoryTempBuffers();
        sparkResetCallback(0, info);
        fake.calls.clear();
    }
    ~FrameRequestTest() override { SparkUnInitialise(info); }

    void SetFormat(int format) {
        info.frameDepth = format;
        info.frameBytes = kWidth * kHeight * (format <= 25 ? 3 : 6);
        for (const int id : {1, 2, 3, 4, 7}) {
            fake.buffers[id] = {memory[id].data(), kSparkBufferLocked, kWidth, kHeight, format};
        }
    }

    // The result, which SparkProcess answers with whether the frame failed or not.
    std::vector<unsigned char> Process(unsigned frame) {
        info.frameNumber = frame;
        memory[1].fill(0xee);
        EXPECT_EQ(SparkProcess(info), memory[1].data());
        return {memory[1].begin(), memory[1].end()};
    }

    std::vector<unsigned char> Flat(int value) const {
        std::vector<unsigned char> bytes(kMostBytes + 8, 0xee);
        std::fill_n(bytes.begin(), info.frameBytes, value);
        return bytes;
    }

    FakeSpark& fake = UseFakeSpark();
    std::array<std::array<unsigned char, kMostBytes + 8>, 8> memory{};
    spark_info_struct info{};
    int fetchResult = 0;
};

TEST_F(FrameRequestTest, AFailedFrameIsBlackForAsLongAsAFrameIs) {
    for (const int format : {24, 25, 48, 64, 49}) {
        SCOPED_TRACE(format);
        SetFormat(format);
        EXPECT_NE(Process(3), Flat(0));
        fetchResult = 1;
        EXPECT_EQ(Process(5), Flat(0));
        fetchResult = 0;
        EXPECT_NE(Process(5), Flat(0));
    }
    SetFormat(24);
    EXPECT_EQ(Process(3), Flat(3));
    fake.buffers[1].BufferDepth = 26;  // no pixels: the engine refuses
    EXPECT_EQ(Process(3), Flat(0));
    // A record that tells of larger pixels than the buffers hold.
    SetFormat(24);
    info.frameDepth = 49;
    EXPECT_EQ(Process(3), Flat(0));
    EXPECT_EQ(fake.CallsOf("sparkMessage"), 0);
}

TEST_F(FrameRequestTest, WithoutMemoryTheUserIsToldWhatFor) {
    SparkPup17.Value = 1;
    struct Case {
        int format, failing;
        const char* message;
    };
    // On purpose not alike.
    constexpr Case kCases[] = {
        {24, 1, "sparkMessage Cannot process image due to result image buffer allocation error"},
        {49, 2, "sparkMessage Cannot process image due to tmp image buffer allocation error"},
        {25, 2, "sparkMessage Cannot process image due to tmp image buffer allocation error"},
        {48, 1, "sparkMessage Cannot process image due to result image buffer allocation error"},
        {48, 2, "sparkMessage Cannot process image due to image buffer allocation error"},
        {64, 2, "sparkMessage Cannot process image due to image buffer allocation error"},
    };
    for (const Case& c : kCases) {
        SetFormat(c.format);
        fake.failingArray = c.failing;
        EXPECT_EQ(Process(3), Flat(0));
        EXPECT_EQ(fake.calls.back(), c.message);
    }
}

TEST_F(FrameRequestTest, TheCacheIsThrownAwayAndNeverSwitchedOff) {
    fake.curve = [](int, float) { return 0.5f; };
    SparkPup17.Value = 1;  // each of the two passes asks for both source frames
    const auto fetchesOfTwo = [this] {
        fake.calls.clear();
        for (int i = 0; i < 2; ++i) Process(5);
        return fake.CallsOf("sparkGetFrame");
    };
    SparkBoolean19.Value = 0;
    const int never = fetchesOfTwo();
    SparkBoolean19.Value = 1;
    const int on = fetchesOfTwo();
    // On purpose not off: within a request frames are still kept, for the next one they are not.
    fake.environment = kSparkEnvWithoutCache;
    const int off = fetchesOfTwo();
    EXPECT_LT(on, off);
    EXPECT_LT(off, never);
    EXPECT_EQ(off, 2 * on);
}

TEST_F(FrameRequestTest, ScenesAreMarkedWhileTheSourceIsShown) {
    SparkPup13.Value = 0;
    sparkTimeCallback(1, info);
    EXPECT_EQ(fake.calls[0], "sparkEnableParameter 1 14");  // On purpose not the other way around.
    EXPECT_EQ(fake.calls[1], "sparkEnableParameter 1 15");
    EXPECT_EQ(fake.CallsOf("sparkCopyBuffer"), 1);
    EXPECT_EQ(fake.calls.back(), "sparkViewingDraw");
    SparkPup13.Value = 1;
    sparkTimeCallback(1, info);
    EXPECT_EQ(fake.CallsOf("sparkDisableParameter 1 1"), 2);
    fake.calls.clear();
    EXPECT_EQ(sparkTimeCallback(2, info), nullptr);
    EXPECT_TRUE(fake.calls.empty());
}

}  // namespace
}  // namespace velorin
