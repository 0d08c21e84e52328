#include "engine/guide_points.h"

#include <gtest/gtest.h>

#include "support/engine_clips.h"
#include "support/walk.h"

namespace velorin {
namespace {

constexpr float kShrink[2] = {};
constexpr float kSensitivities[2] = {0.7f, 0.7f};

// Points that drift with (speedX, speedY) pixels a frame, as one geometry each on the layers named.
class GuidedHost : public MemoryHost {
  public:
    using MemoryHost::MemoryHost;

    // A matte layer on the left half of the frames, which are 48 by 36.
    void AddLayer() {
        for (std::size_t i = 0; i < frames.size(); ++i) {
            mattes.push_back(std::make_unique<ZPImage>(48, 36, 1, ZPPixUChar, 0));
            PutEach(*mattes[i],
                    [](int x, int y, int) { return x < 24 && y >= 6 && y < 30 ? 255.0f : 0.0f; });
        }
        matteLayers = drawStart = 1;
        layerShrink = kShrink;
        layerSensitivity = kSensitivities;
    }

    int GetNumGeometries(int layer, float, float) override {
        return layer == guidedLayer ? static_cast<int>(starts.size()) : 0;
    }
    int GetGeometryPoints(int geometry, unsigned long layer, float timeA, float timeB,
                          unsigned long* count, float** xA, float** yA, float** xB,
                          float** yB) override {
        calls.push_back({static_cast<int>(layer), timeA, timeB});
        if (pointsFail != 0) return pointsFail;
        const auto place = [&](float start, float speed, float time) {
            return new float(start + speed * time);
        };
        const auto [x, y] = starts[geometry];
        *count = 1;
        *xA = place(x, speedX, timeA);
        *yA = place(y, speedY, timeA);
        *xB = place(x, speedX, timeB);
        *yB = place(y, speedY, timeB);
        ++heldPoints;
        return ZPErrNone;
    }
    void ReleasePoints(float* xA, float* yA, float* xB, float* yB) override {
        if (!xA) return;
        for (float* list : {xA, yA, xB, yB}) delete list;
        --heldPoints;
    }
    void GetDoOpticalFlow(bool* out, int layer, float) override { *out = layer != morphLayer; }
    void GetBackgroundLayerDoOpticalFlow(bool* out, float) override {
        *out = matteLayers != morphLayer;
    }

    struct Call {
        int layer;
        float timeA;
        float timeB;
        bool operator==(const Call&) const = default;
    };
    std::vector<Call> calls;
    std::vector<std::pair<float, float>> starts{{20.0f, 12.0f}, {30.0f, 20.0f}, {12.0f, 24.0f}};
    float speedX = 4.0f;
    float speedY = 1.0f;
    int guidedLayer = 0;
    int morphLayer = -1;
    int pointsFail = 0;
    int heldPoints = 0;
};

std::vector<std::unique_ptr<ZPImage>> FlatClip(int frames) {
    std::vector<std::unique_ptr<ZPImage>> clip = DrawClip(frames, 48, 36, ZPPixUChar);
    for (auto& frame : clip) ClearImage(frame.get());
    return clip;
}

const float* VectorAt(const ZPImage& flow, float x, float y) {
    return flow.Row<float>(static_cast<int>(y + 0.5f)) + 2 * static_cast<int>(x + 0.5f);
}

TEST(GuidePoints, TheEstimatorFollowsThemBothWays) {
    GuidedHost host(FlatClip(3));  // nothing to see: all motion comes from the points
    host.quality = 5;
    host.timeMap = [](float t) { return 1.25f + t; };
    ASSERT_EQ(host.Render(0.0f), 0);
    const std::vector<GuidedHost::Call> once{{0, 2.0f, 1.0f}, {0, 2.0f, 1.0f}, {0, 2.0f, 1.0f},
                                             {0, 1.0f, 2.0f}, {0, 1.0f, 2.0f}, {0, 1.0f, 2.0f}};
    EXPECT_EQ(host.calls, once);
    EXPECT_EQ(host.heldPoints, 0);
    EXPECT_TRUE(host.internal->opticalFlow->guided);
    for (const auto& [x, y] : host.starts) {
        const float* forward = VectorAt(*host.internal->forwardFlow, x + 4.0f, y + 1.0f);
        const float* back = VectorAt(*host.internal->backFlow, x + 8.0f, y + 2.0f);
        EXPECT_NEAR(forward[0], 4.0f, 0.1f);
        EXPECT_NEAR(forward[1], 1.0f, 0.1f);
        EXPECT_NEAR(back[0], -4.0f, 0.1f);
        EXPECT_NEAR(back[1], -1.0f, 0.1f);
    }
    // Kept flows ask for no points; the end of all points drops them and the hints.
    host.timeMap = [](float t) { return 1.75f + t; };
    ASSERT_EQ(host.Render(0.0f), 0);
    EXPECT_EQ(host.calls.size(), once.size());
    host.starts.clear();
    ASSERT_EQ(host.Render(0.0f), 0);
    EXPECT_FALSE(host.internal->opticalFlow->guided);
    EXPECT_EQ(VectorAt(*host.internal->forwardFlow, 24.0f, 13.0f)[0], 0.0f);
}

TEST(GuidePoints, TimesOfFieldsAreHalves) {
    GuidedHost host(DrawClip(3, 48, 36, ZPPixUChar));
    host.inputFieldsAsked = 1;
    host.method = 0;
    host.timeMap = [](float t) { return 0.65f + 0.1f * t; };  // between fields 1 and 2
    ASSERT_EQ(host.Render(0.0f), 0);
    ASSERT_EQ(host.calls.size(), 3u);
    EXPECT_EQ(host.calls[0], (GuidedHost::Call{0, 1.0f, 0.5f}));
}

TEST(GuidePoints, AloneTheyMoveALayerWithoutLookingAtIt) {
    const auto make = [] { return GuidedHost(DrawClip(2, 48, 36, ZPPixUChar, 4.0f, 1.0f)); };
    ForEachCell(make, [](GuidedHost& host) {
        host.morphLayer = 0;
        ASSERT_EQ(host.Render(0.5f), 0);
        EXPECT_EQ(host.heldPoints + host.held, 0);
        EXPECT_TRUE(host.tracked.empty());
        EXPECT_EQ(host.internal->opticalFlow, nullptr);
        const auto truth = DrawTexture(48, 36, ZPPixUChar, 2.0f, 0.5f);
        EXPECT_LT(MeanError(*host.result, *truth, 12), 4.0);
    });
    // Without points nothing moves.
    GuidedHost still = make();
    still.starts.clear();
    still.quality = 0;
    ASSERT_EQ(still.Render(0.4f), 0);
    const std::unique_ptr<ZPImage> mix = std::move(still.result);
    still.quality = 4;
    still.morphLayer = 0;
    ASSERT_EQ(still.Render(0.4f), 0);
    EXPECT_SAME_IMAGE(*still.result, *mix);
}

TEST(GuidePoints, LayersAreGuidedOnTheirOwn) {
    for (std::int64_t keep : {0, 1}) {
        GuidedHost host(DrawClip(2, 48, 36, ZPPixUChar));
        host.AddLayer();
        host.keepFlows = keep;
        host.guidedLayer = host.morphLayer = 1;  // the background
        ASSERT_EQ(host.Render(0.5f), 0);
        EXPECT_EQ(host.calls.size(), 6u);
        for (const auto& call : host.calls) EXPECT_EQ(call.layer, 1);
        if (keep == 0) continue;
        EXPECT_NEAR(VectorAt(*host.internal->LayerFlowA(1), 10.0f, 6.0f)[0], 2.0f, 0.5f);
        EXPECT_EQ(host.internal->LayerFlowA(0), host.internal->opticalFlow->Flow());
    }
}

TEST(GuidePoints, APictureDoesNotDependOnWhatWasRenderedBefore) {
    struct Step {
        float time;
        int guidedLayer;
        int morphLayer;  // another kind of flow for a layer is another picture
    };
    for (const auto& [layers, method] : {std::pair{0, 0}, {0, 1}, {1, 0}, {1, 1}}) {
        SCOPED_TRACE("layers " + std::to_string(layers) + ", method " + std::to_string(method));
        const auto make = [layered = layers, m = method] {
            auto host = std::make_unique<GuidedHost>(DrawClip(3, 48, 36, ZPPixUChar));
            if (layered) host->AddLayer();
            host->method = m;
            return host;
        };
        const auto set = [](GuidedHost& host, const Step& step) {
            host.timeMap = [time = step.time](float t) { return time + t; };
            host.guidedLayer = step.guidedLayer;
            host.morphLayer = step.morphLayer;
        };
        ExpectNothingLeftBehind<Step>({{0.2f, 0, -1},
                                       {0.4f, 0, -1},
                                       {1.3f, 0, -1},
                                       {1.4f, 0, 0},
                                       {1.4f, 0, 1},
                                       {0.7f, 1, 1},
                                       {0.6f, 1, -1},
                                       {0.6f, 9, -1},
                                       {0.7f, 0, -1}},
                                      make, set);
    }
}

TEST(GuidePoints, AFailingHostFailsTheRequest) {
    GuidedHost host(DrawClip(2, 48, 36, ZPPixUChar));
    host.pointsFail = 7;
    EXPECT_EQ(host.Render(0.5f), 7);
    EXPECT_EQ(host.held + host.heldPoints, 0);
    EXPECT_EQ(host.internal->opticalFlow, nullptr);
}

}  // namespace
}  // namespace velorin
