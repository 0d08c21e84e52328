#include "engine/supplied_vectors.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/engine_clips.h"
#include "support/recorder.h"

namespace velorin {
namespace {

constexpr int kWidth = 48;
constexpr int kHeight = 36;
constexpr float kSpread = 0.08f;
constexpr float kShiftY = -1.25f;
constexpr float kSensitivities[] = {0.7f, 0.7f};
constexpr float kNoShrink[] = {0.0f, 0.0f};

// Content spreads to the right and rises: what is at (x, y) on frame 0 is at
// (x * (1 + kSpread * t), y + kShiftY * t) at time t.
std::unique_ptr<ZPImage> DrawSpread(float time) {
    auto image = std::make_unique<ZPImage>(kWidth, kHeight, 4, ZPPixUChar, 0);
    PutEach(*image, [=](int column, int row, int c) {
        const float x = static_cast<float>(column) / (1.0f + kSpread * time);
        const float y = static_cast<float>(row) - kShiftY * time;
        const float wave =
            std::sin(x * 0.37f) * std::cos(y * 0.29f) + std::sin(x * 0.1f + y * 0.15f);
        return c == 3 ? 255.5f : 128.0f + 56.0f * wave;
    });
    return image;
}

bool InForeground(int x, int y, int frame) {
    return x >= 12 + 4 * frame && x < 32 + 4 * frame && y >= 8 && y < 28;
}

// Supplies the vectors of that content, which differ from column to column, from frame to frame
// and both ways.
class VectorHost : public MemoryHost {
  public:
    explicit VectorHost(int newSupplies = 1) : MemoryHost(DrawClip()), supplies(newSupplies) {
        layerShrink = kNoShrink;
        layerSensitivity = kSensitivities;
    }

    // A matte layer in front of the others, which moves by whole pixels.
    void AddLayer() {
        for (int i = 0; i < 3; ++i) {
            mattes.push_back(std::make_unique<ZPImage>(kWidth, kHeight, 1, ZPPixUChar, 0));
            PutEach(*mattes.back(),
                    [=](int x, int y, int) { return InForeground(x, y, i) ? 255.0f : 0.0f; });
        }
        drawStart = ++matteLayers;
    }

    int UsesSuppliedVectors() override { return supplies; }
    int GetForwardVectors(KQImage** out, float* scale, int frame) override {
        forwardAsked.push_back(frame);
        return forward ? Supply(out, scale, 1.0f, frame) : none;
    }
    int GetBackwardVectors(KQImage** out, float* scale, int frame) override {
        backwardAsked.push_back(frame);
        return backward ? Supply(out, scale, -1.0f, frame) : none;
    }
    int ReleaseForwardVectors(KQImage* image) override { return Release(image); }
    int ReleaseBackwardVectors(KQImage* image) override { return Release(image); }
    int GetVectorScaleXY(float* x, float* y, int frame) override {
        EXPECT_EQ(*x, 1.0f);
        EXPECT_EQ(*y, 1.0f);
        *y = FactorY(frame);
        return scaleFails;
    }

    const int supplies;
    bool forward = true;
    bool backward = true;
    int none = ZPErrBadArgument;  // what a missing image is told by; 0 for a null one
    int scaleFails = 0;
    int codedType = ZPPixFloat;
    int codedWidth = kWidth;
    int codedChannels = 4;
    int holdsVectors = 0;
    int holes = 0;       // columns from the left where alpha is partial
    float stray = 0.0f;  // added to the vectors there and in the foreground
    std::unique_ptr<ZPImage> released;
    std::vector<int> forwardAsked, backwardAsked;

  private:
    static std::vector<std::unique_ptr<ZPImage>> DrawClip() {
        std::vector<std::unique_ptr<ZPImage>> clip;
        for (float time : {0.0f, 1.0f, 2.0f}) clip.push_back(DrawSpread(time));
        return clip;
    }
    static float FactorY(int frame) { return 0.5f / static_cast<float>(1 + frame); }

    struct Coded : KQImage {
        std::unique_ptr<ZPImage> pixels;
    };
    int Supply(KQImage** out, float* scale, float sign, int frame) {
        *scale = 8.0f;
        auto coded = std::make_unique<Coded>();
        coded->pixels = std::make_unique<ZPImage>(codedWidth, kHeight, codedChannels, codedType, 0);
        ZPImage& image = *coded->pixels;
        const bool isFloat = codedType == ZPPixFloat;
        const float rest = isFloat ? 0.5f : 0.5f * (image.whitePoint - 1.0f);
        const float wide = 1.0f + kSpread * static_cast<float>(frame);
        PutEach(image, [&](int x, int y, int c) {
            if (c == 3) return (x < holes ? 0.4f : 1.0f) * image.whitePoint;
            float v = c == 0 ? kSpread / wide * static_cast<float>(x) : kShiftY / FactorY(frame);
            if (x < holes || InForeground(x, y, frame)) v += stray;
            return rest + rest * sign * v / 8.0f + (isFloat ? 0.0f : 0.5f);
        });
        coded->CreateInternal();
        if (codedChannels == 4) {
            coded->InitRGBA(image.data, codedWidth, kHeight, image.rowBytes, 1, codedType);
        } else {
            coded->InitThreeChannels(image.data, codedWidth, kHeight, image.rowBytes, 1, codedType);
        }
        *out = coded.release();
        ++holdsVectors;
        return ZPErrNone;
    }
    int Release(KQImage* image) {
        const std::unique_ptr<Coded> coded(static_cast<Coded*>(image));
        released = std::move(coded->pixels);
        --holdsVectors;
        return ZPErrNone;
    }
};

// Calls work(host) for each cell of the matrix of methods, without and with a matte layer.
template <typename Work>
void ForEachLayeredCell(int supplies, Work&& work) {
    for (int layers : {0, 1}) {
        SCOPED_TRACE("layers " + std::to_string(layers));
        ForEachCell([=] { return VectorHost(supplies); },
                    [&](VectorHost& host) {
                        if (layers) host.AddLayer();
                        work(host);
                    });
    }
}

TEST(SuppliedVectors, EitherFlowAloneRendersEveryCell) {
    for (int given : {1, 2, 3}) {
        ForEachLayeredCell(1, [=](VectorHost& host) {
            host.forward = (given & 1) != 0;
            host.backward = (given & 2) != 0;
            host.none = given == 1 ? ZPErrBadArgument : ZPErrNone;
            host.holes = 5;
            for (float time : {0.3f, 0.7f, 1.3f}) {
                host.forwardAsked.clear();
                host.backwardAsked.clear();
                host.timeMap = [=](float t) { return time + t; };
                ASSERT_EQ(host.Render(0.0f), 0);
                // The mix sharpens a layer's straight colours, at the border of its matte too.
                const double bound = host.matteLayers == 1 && host.method == 2 ? 3.2 : 1.0;
                EXPECT_LT(MeanError(*host.result, *DrawSpread(time), 6), bound)
                    << given << " at " << time;
                const int floorFrame = static_cast<int>(time);
                const std::size_t imports = host.matteLayers + 1;
                EXPECT_EQ(host.forwardAsked, std::vector<int>(imports, floorFrame));
                EXPECT_EQ(host.backwardAsked, std::vector<int>(imports, floorFrame + 1));
            }
            EXPECT_EQ(host.held + host.holdsVectors, 0);
            EXPECT_TRUE(host.tracked.empty());
            EXPECT_EQ(host.internal->opticalFlow, nullptr);
        });
    }
}

TEST(SuppliedVectors, WithoutAnyNothingMoves) {
    VectorHost host, plain;
    host.forward = host.backward = false;
    ASSERT_EQ(host.Render(0.5f), 0);
    plain.quality = 0;
    ASSERT_EQ(plain.Render(0.5f), 0);
    EXPECT_SAME_IMAGE(*host.result, *plain.result);
}

// What the vectors say where the foreground is never moves the background.
TEST(SuppliedVectors, MoveLayersByWhatTheirMattesShow) {
    ForEachLayeredCell(1, [](VectorHost& host) {
        if (host.matteLayers == 0) return;
        host.compensateAsked = 0.2f;
        host.timeMap = [](float t) { return 0.3f + t; };
        for (int layer : {0, 1}) {
            host.drawStart = host.drawEnd = layer;
            host.stray = 0.0f;
            ASSERT_EQ(host.Render(0.0f), 0);
            Snapshot right(*host.result);
            host.stray = 3.0f;
            ASSERT_EQ(host.Render(0.0f), 0);
            EXPECT_EQ(FirstDifference(*right, *host.result).empty(), layer == 1);
        }
    });
}

TEST(SuppliedVectors, OnlyWhiteInAlphaAndMatteIsKnown) {
    KQIdleAndProgressClass progress(nullptr);
    ZPImage flow(kWidth, kHeight, 2, ZPPixFloat, 0), clean(kWidth, kHeight, 2, ZPPixFloat, 0);
    for (int pair = 0; pair < 9; ++pair) {
        SCOPED_TRACE(pair);
        VectorHost host;
        host.codedType = pair / 3;
        host.holes = 5;
        ZPImage matte(kWidth, kHeight, 1, pair % 3, 0);
        PutEach(matte, [&](int x, int y, int) {
            return (!InForeground(x, y, 0) ? 1.0f : x < 22 ? 0.4f : 0.0f) * matte.whitePoint;
        });
        ASSERT_TRUE(ImportForwardMotion(host, {clean, 0, &matte}, progress));
        host.stray = 3.0f;
        ASSERT_TRUE(ImportForwardMotion(host, {flow, 0, &matte}, progress));
        EXPECT_SAME_IMAGE(flow, clean);
        for (const auto& [x, alpha] : {std::pair{0, 0.4f}, {9, 1.0f}, {15, 0.4f}, {25, 0.0f}}) {
            EXPECT_EQ(ValueAt(*host.released, x, 10, 3), alpha * host.released->whitePoint) << x;
        }
        ClearImage(&matte);
        ASSERT_TRUE(ImportForwardMotion(host, {flow, 0, &matte}, progress));
        EXPECT_EQ(ValueAt(flow, 20, 3, 0), 0.0f);  // nothing is known at all
    }
}

TEST(SuppliedVectors, ReportsNeverFall) {
    for (int supplies : {0, 1}) {
        ForEachLayeredCell(supplies, [](VectorHost& host) {
            host.holes = 5;
            host.compensateAsked = 0.5f;
            for (int given : {1, 2, 3}) {
                if (host.supplies == 0 && given > 1) continue;
                host.forward = (given & 1) != 0;
                host.backward = (given & 2) != 0;
                for (int fields : {0, 1}) {
                    host.outputFieldsAsked = fields;
                    Recorder recorder;
                    const std::vector<float>& heard = recorder.fractions;
                    host.progress = &recorder;
                    host.timeMap = [](float t) { return 0.3f + 1.3f * t; };
                    ASSERT_EQ(host.Render(0.0f), 0);
                    EXPECT_TRUE(std::is_sorted(heard.begin(), heard.end()));
                    EXPECT_GT(heard.back(), 0.3f);
                    EXPECT_LE(heard.back(), 1.0f);
                    // Each field has a half of the bar.
                    EXPECT_LE(heard[heard.size() / 3], fields ? 0.5f : 1.0f);
                }
            }
        });
    }
}

TEST(SuppliedVectors, FailuresReachTheCallerWithEverythingGivenBack) {
    const auto expectCode = [](int wanted, auto change) {
        for (int layers : {0, 1}) {
            VectorHost host;
            if (layers) host.AddLayer();
            change(host);
            EXPECT_EQ(host.Render(0.5f), wanted) << layers;
            EXPECT_EQ(host.held + host.holdsVectors, 0);
            EXPECT_EQ(host.internal->backFlow, nullptr);
        }
    };
    expectCode(ZPErrBadArgument, [](VectorHost& host) { host.codedWidth = kWidth + 1; });
    expectCode(ZPErrBadArgument, [](VectorHost& host) { host.codedChannels = 3; });
    expectCode(9, [](VectorHost& host) { host.scaleFails = 9; });
    expectCode(8, [](VectorHost& host) {
        host.backward = false;
        host.none = 8;
    });
    VectorHost host;
    KQIdleAndProgressClass progress(nullptr);
    ZPImage flow(kWidth, kHeight, 2, ZPPixFloat, 0), small(kWidth - 1, kHeight, 1, ZPPixUChar, 0);
    EXPECT_THROW(ImportForwardMotion(host, {flow, 0, &small}, progress), ZPErr);
    EXPECT_EQ(host.holdsVectors, 0);
}

}  // namespace
}  // namespace velorin
