#include <gtest/gtest.h>

#include "support/memory_host.h"
#include "support/noise.h"

namespace velorin {
namespace {

MemoryHost HostOf(int frames) {
    return MemoryHost(DrawClip(frames, 24, 18, ZPPixUChar));
}

TEST(FramePair, TimesNearAWholeFrameCopyIt) {
    struct Case {
        float sourceTime;
        int floorFrame;    // the earlier frame of the pair
        int nearestShown;  // what Nearest copies; -1 where a flow is needed
    };
    for (const Case& wanted : {Case{6.0f, 6, 6},
                               {4.998f, 4, 5},
                               {4.002f, 4, 4},
                               {4.006f, 4, -1},
                               {-0.5f, 0, -1},
                               {1.5f, 1, -1}}) {
        SCOPED_TRACE(wanted.sourceTime);
        MemoryHost host = HostOf(8);
        host.timeMap = [&](float) { return wanted.sourceTime; };
        for (std::int64_t method : {0, 1}) {
            host.method = method;
            host.asked.clear();
            ASSERT_EQ(host.Render(3.0f), 0);
            EXPECT_EQ(host.held, 0);
            const bool onFrame = wanted.nearestShown >= 0;
            EXPECT_EQ(host.internal->opticalFlow == nullptr, onFrame);
            EXPECT_EQ(host.asked, (std::vector{wanted.floorFrame, wanted.floorFrame + 1}));
            EXPECT_TRUE(host.tracked.empty());
            if (!onFrame) continue;
            EXPECT_SAME_IMAGE(*host.result, *host.frames[wanted.nearestShown]);
        }
    }
}

TEST(FramePair, MotionFromAnotherClipCostsTwoMoreFrames) {
    MemoryHost host = HostOf(3);
    host.sameClip = 0;
    ASSERT_EQ(host.Render(0.5f), 0);
    EXPECT_EQ(host.tracked, (std::vector{0, 1}));
    EXPECT_EQ(host.asked, (std::vector{0, 1}));
}

TEST(FramePair, TieShowsTheEarlierFrame) {
    MemoryHost host = HostOf(3);
    host.method = 0;
    host.quality = 0;
    host.timeMap = [](float) { return 0.5f; };
    ASSERT_EQ(host.Render(0.0f), 0);
    EXPECT_SAME_IMAGE(*host.result, *host.frames[0]);
}

TEST(FramePair, ACutShowsTheNearerFrameAndNeverMixes) {
    MemoryHost host(DrawClip(12, 24, 18, ZPPixUChar));
    host.scene = [](int frame) { return frame <= 10 ? 0 : 1; };
    for (const auto& [time, shown] : {std::pair{10.4f, 10}, std::pair{10.6f, 11}}) {
        host.timeMap = [time = time](float) { return time; };
        ASSERT_EQ(host.Render(0.0f), 0);
        EXPECT_SAME_IMAGE(*host.result, *host.frames[shown]);
        EXPECT_EQ(host.internal->opticalFlow, nullptr);
    }
    host.timeMap = [](float) { return 9.5f; };
    ASSERT_EQ(host.Render(0.0f), 0);
    EXPECT_NE(host.internal->opticalFlow, nullptr);
}

TEST(FramePair, ScenesWithoutVectorsCopyOrBlend) {
    MemoryHost host = HostOf(3);
    host.timeMap = [](float) { return 0.75f; };
    host.scene = [](int) { return 3; };
    ASSERT_EQ(host.Render(0.0f), 0);
    EXPECT_SAME_IMAGE(*host.result, *host.frames[1]);

    host.scene = [](int) { return 4; };
    host.method = 0;
    ASSERT_EQ(host.Render(0.0f), 0);
    const std::uint8_t first = host.frames[0]->Row<std::uint8_t>(7)[20];
    const std::uint8_t second = host.frames[1]->Row<std::uint8_t>(7)[20];
    const int mixed = static_cast<int>(first + (second - first) * 0.75f + 0.5f);
    EXPECT_EQ(host.result->Row<std::uint8_t>(7)[20], mixed);

    // The marked scene decides before the change of scene after it.
    host.scene = [](int frame) { return frame == 0 ? 4 : 0; };
    ASSERT_EQ(host.Render(0.0f), 0);
    EXPECT_EQ(host.result->Row<std::uint8_t>(7)[20], mixed);
}

}  // namespace
}  // namespace velorin
