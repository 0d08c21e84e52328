#include "host/my_velorin.h"

#include <gtest/gtest.h>

#include "host/fake_spark.h"
#include "support/stderr_text.h"

namespace velorin {
namespace {

constexpr int kWidth = 6;
constexpr int kHeight = 4;

// An adapter over clips whose pixels all hold the clip's and the frame's number.
class MyVelorinTest : public testing::Test {
  protected:
    MyVelorinTest() {
        fake.frame = [this](int clip, int frame, void* destination) {
            if (frame == failingFrame) return 1;
            const int bytes = Width * Height * 6;
            std::fill_n(static_cast<unsigned char*>(destination), bytes, clip * 100 + frame);
            return 0;
        };
        fake.curve = [](int, float) { return 0.0f; };
        temp.Buffer = pixels.data();
        info.mode = kSparkInteractive;
        SetFormat(24, kHeight);
        host.cacheOn = true;
    }

    void SetFormat(int format, int height) {
        Width = kWidth;
        Height = height;
        info.frameDepth = format;
        request.info = &info;
        request.width = kWidth;
        request.height = height;
        request.sparkFormat = format;
        request.tempBuffer = &temp;
        ASSERT_EQ(host.MyInit(request), 0);
    }

    // The pixels of a front frame; none for a failure.
    std::vector<unsigned char> Pixels(MyVelorin& from, int frame) {
        KQImage* image = nullptr;
        const int result = from.GetToBeWarpedSequenceImage(&image, frame);
        EXPECT_EQ(result, image ? 0 : 1);
        if (!image) return {};
        EXPECT_EQ(image->height, request.height);
        const auto* bytes = static_cast<const unsigned char*>(image->data);
        const std::vector<unsigned char> copy(bytes, bytes + image->rowBytes * image->height);
        from.CleanUpCheckedOutImage(image);
        return copy;
    }

    // What the bytes of a front frame hold; -1 for a failure.
    int Front(int frame) {
        const std::vector<unsigned char> bytes = Pixels(host, frame);
        return bytes.empty() ? -1 : bytes[0];
    }

    int FetchesSince() {
        const int count = fake.CallsOf("sparkGetFrame");
        fake.calls.clear();
        return count;
    }

    FakeSpark& fake = UseFakeSpark();
    std::vector<unsigned char> pixels = std::vector<unsigned char>(kWidth * kHeight * 12);
    spark_membuf_struct temp{};
    spark_info_struct info{};
    MyRequest request;
    MyVelorin host;
    int failingFrame = -1;
};

TEST_F(MyVelorinTest, KeepsTheLastTwoFramesOfTheFrontClip) {
    for (const int frame : {4, 5, 6, 5}) EXPECT_EQ(Front(frame), frame);
    EXPECT_EQ(FetchesSince(), 3);
    // The fourth fetch goes where 5 was stored, although 5 was looked up since.
    for (const int frame : {7, 6, 7, 5}) EXPECT_EQ(Front(frame), frame);
    EXPECT_EQ(FetchesSince(), 2);
    EXPECT_EQ(Front(-1), 0);
    EXPECT_EQ(Front(0), 0);
    EXPECT_EQ(FetchesSince(), 1);
    host.CleanCache();
    EXPECT_EQ(Front(0), 0);
    EXPECT_EQ(FetchesSince(), 1);

    KQImage* image = nullptr;
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(host.GetTrackingSequenceImage(&image, 3), 0);
        EXPECT_EQ(static_cast<const unsigned char*>(image->data)[0], 103);
        host.CleanUpCheckedOutImage(image);
        ASSERT_EQ(host.GetMatteLayerSequenceImage(&image, 3, 0), 0);
        EXPECT_EQ(static_cast<const unsigned char*>(image->data)[0], 203);
        EXPECT_EQ(image->GetChannels(), 1);
        host.CleanUpCheckedOutMatteImage(image);
    }
    EXPECT_EQ(FetchesSince(), 4);
}

// Every order of two sizes and three types of pixel, with frames that stay in the cache: nobody
// gets a frame of another form.
TEST_F(MyVelorinTest, FramesOfOtherFormsAreFetchedAnew) {
    MyVelorin plain;  // keeps nothing
    const std::pair<int, int> forms[] = {{24, 4}, {49, 4}, {24, 3}, {48, 4}, {24, 4}, {64, 3}};
    for (const auto& [format, height] : forms) {
        SetFormat(format, height);
        plain.MyInit(request);
        for (const int frame : {4, 5, 6, 6, 5, 7, 7}) {
            SCOPED_TRACE(testing::Message() << format << " " << height << " frame " << frame);
            EXPECT_EQ(Pixels(host, frame), Pixels(plain, frame));
        }
    }
    FetchesSince();
    SetFormat(48, 3);  // as good as 64
    Front(7);
    EXPECT_EQ(FetchesSince(), 0);
}

TEST_F(MyVelorinTest, FailuresHandOutNothingAndAreNotKept) {
    failingFrame = 2;
    EXPECT_EQ(Front(2), -1);
    failingFrame = -1;
    EXPECT_EQ(Front(2), 2);
    fake.failingArray = 1;  // the image's own block
    EXPECT_EQ(Front(3), -1);
    fake.failingArray = 2;  // the cache's: the frame goes on without
    EXPECT_EQ(Front(3), 3);
    FetchesSince();
    EXPECT_EQ(Front(3), 3);
    EXPECT_EQ(FetchesSince(), 1);

    KQImage* image = nullptr;
    EXPECT_EQ(host.GetImage(0, nullptr, 0, 4, 0, 0, 0), 5);
    EXPECT_EQ(host.GetImage(0, &image, 0, 3, 0, 0, 0), 1);
    EXPECT_EQ(image, nullptr);
    EXPECT_EQ(host.GetImage(4, &image, 0, 4, 0, 0, 0), 5);
    EXPECT_NE(image, nullptr);
    host.CleanUpCheckedOutImage(image);
    SetFormat(26, kHeight);
    EXPECT_EQ(Front(0), -1);

    FrameCache cache;
    MyImage empty;
    EXPECT_EQ(StderrOf([&] { cache.getCache(empty, 99); }), "Invalid Cache 99\n");
}

TEST_F(MyVelorinTest, MapsTimesAndScenesFromTheCurves) {
    fake.curve = [](int control, float frame) {
        if (control == 15) return frame - 3.0f;
        return control == 25 ? frame * 10.0f : frame;
    };
    struct Case {
        int mode, stretch;
        float time, expected;
    };
    constexpr Case kCases[] = {
        {0, 0, 5.5f, 7.5f},  // On purpose half a frame for each whole one.
        {0, 1, 0.5f, 0.0f}, {0, 1, -2.0f, 0.0f}, {1, 0, 2.5f, 34.0f}, {1, 1, 0.0f, 0.0f},
        {1, 1, 3.0f, 6.0f}, {1, 1, 3.5f, 8.0f},  {1, 2, 3.5f, 0.0f},  {7, 1, 3.0f, 0.0f},
    };
    for (const Case& c : kCases) {
        info.mode = static_cast<std::uint8_t>(c.mode);
        request.stretchMethod = c.stretch;
        host.MyInit(request);
        float time = -1.0f;
        EXPECT_EQ(host.GetKeyframedTime(&time, c.time), 0);
        EXPECT_EQ(time, c.expected) << c.mode << " " << c.stretch << " " << c.time;
    }
    EXPECT_EQ(host.GetKeyframedTime(nullptr, 1.0f), 5);
    info.mode = kSparkInteractive;
    constexpr int kScenes[] = {0, 0, 0, 0, 1, 2, 3, 4, 0};  // the curve holds -2 to 6
    for (int frame = 0; frame < 9; ++frame)
        EXPECT_EQ(host.WhichScene(frame + 0.9f), kScenes[frame]);
    info.mode = kSparkBatch;
    EXPECT_EQ(host.WhichScene(5.0f), 0);
}

TEST_F(MyVelorinTest, AnswersFromTheMenus) {
    constexpr int kDrawn[5][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 0}, {0, 0}};
    for (int menu = 0; menu < 5; ++menu) {
        for (const int layers : {0, 1}) {
            request.timeMenu = menu;
            request.layerCount = layers;
            host.MyInit(request);
            EXPECT_EQ(host.GetDrawStartLayer(), layers * kDrawn[menu][0]);
            EXPECT_EQ(host.GetDrawEndLayer(), layers * kDrawn[menu][1]);
        }
    }
    for (int value = -1; value <= 3; ++value) {
        request.warpingMethod = request.imagePrep = value;
        host.MyInit(request);
        EXPECT_EQ(host.UsesWhichWarping(), value == 1 || value == 2 ? value : 0);
        EXPECT_EQ(host.EnhanceImages(), value == 1 ? 1 : 0);
    }
}

}  // namespace
}  // namespace velorin
