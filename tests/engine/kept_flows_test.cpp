#include <gtest/gtest.h>

#include "support/memory_host.h"
#include "support/walk.h"

namespace velorin {
namespace {

constexpr float kMark = 12345.0f;

// Renders at a source time and tells whether flows were estimated for it: a mark left in the kept
// flow is gone then.
bool Estimates(MemoryHost& host, float sourceTime) {
    host.timeMap = [=](float t) { return sourceTime + t; };
    ZPOpticalFlowUChar* kept = host.internal->opticalFlow.get();
    if (kept) kept->Flow()->Row<float>(0)[0] = kMark;
    EXPECT_EQ(host.Render(0.0f), 0);
    EXPECT_EQ(host.held, 0);
    ZPOpticalFlowUChar* now = host.internal->opticalFlow.get();
    return now && (!kept || now->Flow()->Row<float>(0)[0] != kMark);
}

TEST(KeptFlows, APairIsEstimatedOnce) {
    for (int warping = 0; warping < 4; ++warping) {
        for (int method : {1, 2}) {
            MemoryHost host(DrawClip(4, 24, 18, ZPPixUChar));
            host.warping = warping;
            host.method = method;
            EXPECT_TRUE(Estimates(host, 0.2f));
            EXPECT_FALSE(Estimates(host, 0.4f));
            EXPECT_FALSE(Estimates(host, 0.4f));
            EXPECT_FALSE(Estimates(host, 0.9f));
            EXPECT_TRUE(Estimates(host, 1.1f));
            EXPECT_TRUE(Estimates(host, 0.4f));
        }
        // Nearest estimates anew where the frame that it shows changes.
        MemoryHost host(DrawClip(4, 24, 18, ZPPixUChar));
        host.warping = warping;
        host.method = 0;
        EXPECT_TRUE(Estimates(host, 0.1f));
        EXPECT_FALSE(Estimates(host, 0.3f));
        EXPECT_FALSE(Estimates(host, 0.5f));
        EXPECT_TRUE(Estimates(host, 0.6f));
        EXPECT_FALSE(Estimates(host, 0.9f));
    }
}

TEST(KeptFlows, EveryChangedSettingDropsThem) {
    MemoryHost host(DrawClip(4, 24, 18, ZPPixUChar));
    const auto drops = [&](auto change) {
        Estimates(host, 0.3f);
        change();
        return Estimates(host, 0.4f);
    };
    EXPECT_FALSE(drops([&] {}));
    EXPECT_TRUE(drops([&] { host.sensitivity = 0.5f; }));
    EXPECT_TRUE(drops([&] { host.enhance = 1; }));
    EXPECT_TRUE(drops([&] { host.quality = 5; }));
    EXPECT_TRUE(drops([&] { host.sourceRate = 25.0f; }));
    EXPECT_TRUE(drops([&] { host.outputRate = 25.0f; }));
    EXPECT_TRUE(drops([&] { host.method = 0; }));
    EXPECT_TRUE(drops([&] { host.sameClip = 0; }));
    EXPECT_TRUE(drops([&] { host.imagesAreYCbCr = true; }));
    EXPECT_TRUE(drops([&] { host.frames = DrawClip(4, 26, 18, ZPPixUChar); }));
    EXPECT_TRUE(drops([&] { host.frames = DrawClip(4, 26, 18, ZPPixUShort); }));
    EXPECT_TRUE(drops([&] { Estimates(host, 1.0f); }));  // a frame on a source frame
    EXPECT_TRUE(drops([&] { host.internal->ReleaseFlows(); }));
}

TEST(KeptFlows, NothingStandsWithoutKeeping) {
    MemoryHost host(DrawClip(4, 24, 18, ZPPixUChar));
    host.keepFlows = 0;
    ASSERT_EQ((Estimates(host, 0.3f), host.internal->opticalFlow.get()), nullptr);
    EXPECT_EQ(host.internal->backFlow, nullptr);
    host.internal->ReleaseFlows();
    host.internal->ReleaseFlows();
}

TEST(KeptFlows, APictureDoesNotDependOnWhatWasRenderedBefore) {
    for (std::int64_t method : {0, 1}) {
        const auto make = [=] {
            auto host = std::make_unique<MemoryHost>(DrawClip(4, 40, 30, ZPPixUChar));
            host->method = method;
            return host;
        };
        ExpectNothingLeftBehind(
            {0.2f, 0.5f, 0.8f, 1.0f, 1.3f, 0.7f, 2.6f}, make,
            [](MemoryHost& host, float time) { host.timeMap = [=](float t) { return time + t; }; });
    }
}

}  // namespace
}  // namespace velorin
