#include <gtest/gtest.h>

#include <climits>
#include <cmath>

#include "engine/method_matrix.h"
#include "image/arithmetic.h"
#include "support/clean_render.h"
#include "support/disc_scene.h"
#include "support/engine_clips.h"
#include "support/forms.h"

namespace velorin {
namespace {

constexpr float kNoShrink[kMaxMatteLayers] = {};
constexpr float kSensitivity[kMaxMatteLayers] = {0.7f, 0.7f, 0.7f, 0.7f, 0.7f,
                                                 0.7f, 0.7f, 0.7f, 0.7f};

std::unique_ptr<ZPImage> AlphaOf(const ZPImage& image) {
    auto matte = std::make_unique<ZPImage>(image.width, image.height, 1, image.pixelType, 0);
    CopyCHannelIntoCHannel(*matte, 0, image, 3);
    return matte;
}

// The scene of the disc, with the disc's matte, and the output view.
class DiscHost : public MemoryHost {
  public:
    DiscHost() : MemoryHost(DiscClip()) {
        for (float end : {0.0f, 1.0f}) mattes.push_back(AlphaOf(*DrawDisc(end, DiscPart::kDisc)));
        matteLayers = 1;
        layerShrink = kNoShrink;
        layerSensitivity = kSensitivity;
        SetView(1, 0);
    }
    void SetView(int start, int end) {
        drawStart = start;
        drawEnd = end;
    }
};

struct View {
    const char* name;
    int start;
    int end;
    DiscPart part;
};
constexpr View kViews[] = {{"output", 1, 0, DiscPart::kAll},
                           {"background", 1, 1, DiscPart::kGround},
                           {"foreground", 0, 0, DiscPart::kDisc}};

template <typename Work>
void ForEachDiscCell(Work&& work) {
    ForEachCell([] { return DiscHost(); }, work);
}

TEST(Layered, EveryCellComesNearTheTruthOfEveryView) {
    const float time = 0.5f;
    ForEachDiscCell([&](DiscHost& host) {
        MemoryHost single(DiscClip());
        single.method = host.method;
        single.warping = host.warping;
        ASSERT_EQ(single.Render(time), 0);
        const DiscErrors flat = CompareDisc(*single.result, *DrawDisc(time), time);
        // Without coverage a forward warp leaves its holes black.
        const bool mayHaveHoles = host.warping == kForwardPlain;
        EXPECT_LT(flat.all, mayHaveHoles ? 2.5 : 1.5);
        EXPECT_TRUE(flat.black == 0 || mayHaveHoles);
        for (const View& view : kViews) {
            host.SetView(view.start, view.end);
            ASSERT_EQ(host.Render(time), 0);
            // Ground that is hidden on all frames which the method looks at cannot be known.
            const bool both = host.method > 0;
            const auto known = [&](int x, int y) {
                return view.end == 0 || OutsideDisc(x + 2, y, 0.0f) > 2.0f ||
                       (both && OutsideDisc(x - 2, y, 1.0f) > 2.0f);
            };
            const auto truth = DrawDisc(time, view.part);
            const DiscErrors found = CompareDisc(*host.result, *truth, time, known);
            EXPECT_LT(found.edge, flat.edge * (mayHaveHoles ? 0.8 : 0.5)) << view.name;
            EXPECT_TRUE(found.black == 0 || mayHaveHoles || view.start == 0) << view.name;
        }
    });
}

TEST(Layered, OnASourceFrameTheForegroundIsCutOutAsItStands) {
    ForEachDiscCell([](DiscHost& host) {
        host.SetView(0, 0);
        ASSERT_EQ(host.Render(0.0f), 0);
        EXPECT_SAME_IMAGE(*AlphaOf(*host.result), *host.mattes[0]);
    });
}

TEST(Layered, OnASourceFrameMattesAreFetchedOnlyWhereTheyCut) {
    DiscHost host;
    ASSERT_EQ(host.Render(1.0f), 0);
    EXPECT_TRUE(host.mattesAsked.empty() && host.tracked.empty());
    EXPECT_SAME_IMAGE(*host.result, *host.frames[1]);

    const float shrink = 1.5f;
    host.layerShrink = &shrink;
    ASSERT_EQ(host.Render(0.0f), 0);
    EXPECT_EQ(host.mattesAsked, (std::vector<std::pair<int, int>>{{0, 0}, {1, 0}}));
    EXPECT_NE(host.internal->LayerFlowA(1), nullptr);
    EXPECT_LT(CompareDisc(*host.result, *host.frames[0], 0.0f).all, 0.5);
}

// Changes what the host asks for between two frames of one pair.
TEST(Layered, EveryChangedSettingOfALayerEstimatesAnew) {
    const float other[] = {0.5f};
    for (std::int64_t method : {0, 1, 2}) {
        DiscHost host;
        host.method = method;
        const auto estimates = [&](auto change) {
            EXPECT_EQ(host.Render(0.3f), 0);
            change();
            for (int layer : {0, 1}) host.internal->LayerFlowA(layer)->Row<float>(0)[0] = 12345.0f;
            EXPECT_EQ(host.Render(0.4f), 0);
            return host.internal->LayerFlowA(host.drawEnd)->Row<float>(0)[0] != 12345.0f;
        };
        EXPECT_FALSE(estimates([] {}));
        EXPECT_TRUE(estimates([&] { host.sensitivity = 0.5f; }));
        EXPECT_TRUE(estimates([&] { host.layerSensitivity = other; }));
        EXPECT_TRUE(estimates([&] { host.layerShrink = other; }));
        EXPECT_TRUE(estimates([&] { host.SetView(1, 1); }));
        EXPECT_TRUE(estimates([&] { host.SetView(1, 0); }));
        EXPECT_TRUE(estimates([&] { host.sameClip = 0; }));
        EXPECT_FALSE(estimates([] {}));
    }
}

// Flows that are kept and those that layers share one after the other give the same picture.
TEST(Layered, APictureDoesNotDependOnWhatIsKeptNorOnThreads) {
    ForEachDiscCell([](DiscHost& kept) {
        const float shrink = 1.5f;
        kept.layerShrink = &shrink;
        ASSERT_EQ(kept.Render(0.2f), 0);
        ASSERT_EQ(kept.Render(0.4f), 0);
        DiscHost fresh;
        fresh.method = kept.method;
        fresh.warping = kept.warping;
        fresh.layerShrink = &shrink;
        fresh.keepFlows = 2;  // as good as 0
        ASSERT_EQ(fresh.Render(0.4f), 0);
        EXPECT_SAME_IMAGE(*fresh.result, *kept.result);
        if (kept.warping != kInverse) return;  // coverage may depend on how rows were shared
        ForEachThreadCount([&] {
            ASSERT_EQ(fresh.Render(0.4f), 0);
            EXPECT_SAME_IMAGE(*fresh.result, *kept.result);
        });
    });
}

void FillEach(std::vector<std::unique_ptr<ZPImage>>& images, float fraction) {
    for (const auto& image : images) FillColor(*image, fraction, fraction, fraction, 1.0f);
}

TEST(Layered, TheTrackingClipGivesMotionAndNoPixel) {
    ForEachDiscCell([](DiscHost& host) {
        host.sameClip = 0;
        host.trackingFrames = DiscClip();
        FillEach(host.frames, 0.3f);
        ASSERT_EQ(host.Render(0.4f), 0);
        EXPECT_EQ(host.tracked, (std::vector<int>{0, 1}));
        EXPECT_EQ(host.asked, host.tracked);
        const float moved = host.internal->LayerFlowA(0)->Row<float>(31)[2 * 84];
        EXPECT_GT(std::fabs(moved), 3.0f);  // half of ten, in the middle of the disc
        if (host.warping == kForwardPlain) return;
        // A unit is lost or won where alpha is partial.
        EXPECT_LT(CompareDisc(*host.result, *host.frames[0], 0.4f).all, 0.1);
    });
}

// Where a matte is all but white.
TEST(Layered, WithoutVectorsTheLaterFrameLiesOverItsTrackedCopy) {
    DiscHost host;
    host.SetView(0, 0);
    host.quality = 0;
    FillEach(host.frames, 0.3f);
    FillEach(host.mattes, 0.98f);
    const auto red = [&] {
        EXPECT_EQ(host.Render(0.5f), 0);
        return static_cast<int>(host.result->Row<std::uint8_t>(9)[0]);
    };
    const int plain = red();
    host.sameClip = 0;
    host.trackingFrames = DiscClip();
    FillEach(host.trackingFrames, 0.9f);
    EXPECT_EQ(red(), plain + 1);
}

// Two mattes over each other: the first is in front, and each cuts what lies behind it.
TEST(Layered, MattesAreStackedFrontFirst) {
    MemoryHost host({});
    const auto add = [&](auto& images, int channels, float value, int from, int to) {
        images.push_back(std::make_unique<ZPImage>(32, 16, channels, ZPPixUChar, 0));
        PutEach(*images.back(),
                [=](int x, int, int) { return x >= from && x < to ? value : 0.0f; });
    };
    add(host.frames, 4, 255, 0, 32);
    add(host.mattes, 1, 255, 4, 16);
    add(host.mattes, 1, 255, 10, 24);
    host.matteLayers = 2;
    host.layerShrink = kNoShrink;
    host.layerSensitivity = kSensitivity;
    host.quality = 0;
    const auto alphaOf = [&](int start, int end, int x) {
        host.drawStart = start;
        host.drawEnd = end;
        EXPECT_EQ(host.Render(0.5f), 0);
        return static_cast<int>(host.result->Row<std::uint8_t>(8)[4 * x + 3]);
    };
    // Foreground: both layers, in the middle of a still frame too.
    for (const auto& [x, alpha] : {std::pair{1, 0}, {6, 255}, {20, 255}, {28, 0}}) {
        EXPECT_EQ(alphaOf(1, 0, x), alpha) << x;
    }
    EXPECT_EQ(alphaOf(0, 0, 20), 0);
    EXPECT_EQ(alphaOf(1, 1, 6), 0);
    EXPECT_EQ(alphaOf(2, 0, 28), 255);
    // Front first, the earlier frame before the later one.
    host.mattesAsked.clear();
    alphaOf(1, 0, 0);
    EXPECT_EQ(host.mattesAsked, (std::vector<std::pair<int, int>>{{0, 0}, {1, 0}, {0, 1}, {1, 1}}));
}

TEST(Layered, WhatDoesNotFitIsRefusedAndGivenBack) {
    const auto code = [](auto change) {
        DiscHost host;
        change(host);
        const int result = host.Render(0.5f);
        EXPECT_EQ(host.held, 0);
        EXPECT_TRUE(result == 0 || !host.internal->opticalFlow);
        return result;
    };
    const auto matteOf = [](int width, int height, int channels, int type = ZPPixUChar) {
        return [=](DiscHost& host) {
            host.mattes[1] = std::make_unique<ZPImage>(width, height, channels, type, 0);
        };
    };
    EXPECT_EQ(code(matteOf(kDiscWidth, kDiscHeight, 4)), ZPErrBadArgument);
    EXPECT_EQ(code(matteOf(kDiscWidth, kDiscHeight - 1, 1)), ZPErrBadArgument);
    EXPECT_EQ(code(matteOf(kDiscWidth, kDiscHeight, 1, ZPPixFloat)), ZPErrBadArgument);
    EXPECT_EQ(code([](DiscHost& host) { host.mattes.clear(); }), ZPErrNoMemory);  // it throws
    EXPECT_EQ(code([](DiscHost& host) { host.SetView(2, 0); }), ZPErrBadArgument);
    EXPECT_EQ(code([](DiscHost& host) { host.SetView(1, -1); }), ZPErrBadArgument);
    EXPECT_EQ(code([](DiscHost& host) { host.SetView(INT_MIN, INT_MAX); }), ZPErrBadArgument);
    EXPECT_EQ(code([](DiscHost& host) { host.warping = 4; }), ZPErrBadArgument);
    EXPECT_EQ(code([](DiscHost& host) { host.redIndex = 3; }), ZPErrBadArgument);
    EXPECT_EQ(code([](DiscHost& host) { host.failingFrame = 1; }), 1);
    EXPECT_EQ(code([](DiscHost&) {}), 0);
}

TEST(Layered, FailingMemoryLeavesNothingBehind) {
    for (std::int64_t method : {0, 1, 2}) {
        MemoryHost host(DrawClip(2, 16, 12, ZPPixUShort));
        for (int frame : {0, 1}) {
            host.mattes.push_back(std::make_unique<ZPImage>(16, 12, 1, ZPPixUShort, 0));
            FillColor(*host.mattes.back(), frame == 0 ? 1.0f : 0.5f, 0.0f, 0.0f, 0.0f);
        }
        host.matteLayers = 1;
        host.layerShrink = host.layerSensitivity = kSensitivity;
        host.drawStart = 1;
        host.method = method;
        EXPECT_EQ(CountSurvivingRenders(host), 1);
    }
}

}  // namespace
}  // namespace velorin
