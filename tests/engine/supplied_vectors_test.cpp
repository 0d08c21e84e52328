#include "engine/supplied_vectors.h"

#include <gtest/gtest.h>

#include <cstring>

#include "support/clean_render.h"
#include "support/memory_host.h"
#include "support/noise.h"

namespace velorin {
namespace {

constexpr int kWidth = 48;
constexpr int kHeight = 36;
constexpr float kShiftX = 2.5f;
constexpr float kShiftY = -1.25f;

bool InForeground(int x, int y) {
    return x >= 12 && x < 32 && y >= 8 && y < 28;
}

// Supplies one vector for all pixels and frames, as coded floats, forward and negated backward.
class VectorHost : public MemoryHost {
  public:
    explicit VectorHost(int pixelType = ZPPixUChar)
        : MemoryHost(DrawClip(3, kWidth, kHeight, pixelType, kShiftX, kShiftY)) {}

    int UsesSuppliedVectors() override { return 1; }
    int GetForwardVectors(KQImage** out, float* scale, int frame) override {
        forwardAsked.push_back(frame);
        return forward ? Supply(out, scale, 1.0f) : none;
    }
    int GetBackwardVectors(KQImage** out, float* scale, int frame) override {
        backwardAsked.push_back(frame);
        return backward ? Supply(out, scale, -1.0f) : none;
    }
    int ReleaseForwardVectors(KQImage* image) override { return Release(image); }
    int ReleaseBackwardVectors(KQImage* image) override { return Release(image); }
    int GetVectorScaleXY(float* x, float* y, int) override {
        EXPECT_EQ(*x, 1.0f);
        EXPECT_EQ(*y, 1.0f);
        *y = 0.5f;  // of what is supplied
        return scaleFails;
    }

    bool forward = true;
    bool backward = true;
    int none = ZPErrBadArgument;  // what a missing image is told by; 0 for a null one
    int scaleFails = 0;
    int codedWidth = kWidth;
    int holdsVectors = 0;
    int holes = 0;       // columns from the left without a vector
    float stray = 0.0f;  // added to the vectors in the foreground
    std::vector<int> forwardAsked, backwardAsked;

  private:
    struct Coded : KQImage {
        std::vector<float> pixels;
    };
    int Supply(KQImage** out, float* scale, float sign) {
        *scale = 8.0f;
        const auto code = [&](float v) { return 0.5f + sign * v / 16.0f; };
        auto coded = std::make_unique<Coded>();
        for (int i = 0; i < codedWidth * kHeight; ++i) {
            const float alpha = i % codedWidth < holes ? 0.0f : 1.0f;
            const float more = InForeground(i % codedWidth, i / codedWidth) ? stray : 0.0f;
            coded->pixels.insert(coded->pixels.end(),
                                 {code(kShiftX + more), code(2.0f * kShiftY), 9.0f, alpha});
        }
        coded->CreateInternal();
        coded->InitRGBA(coded->pixels.data(), codedWidth, kHeight, codedWidth * 16, 1, ZPPixFloat);
        *out = coded.release();
        ++holdsVectors;
        return ZPErrNone;
    }
    int Release(KQImage* image) {
        delete static_cast<Coded*>(image);
        --holdsVectors;
        return ZPErrNone;
    }
};

double ErrorInside(const ZPImage& picture, float time) {
    const auto truth = DrawTexture(kWidth, kHeight, ZPPixUChar, kShiftX * time, kShiftY * time);
    double error = 0.0;
    for (int y = 6; y < kHeight - 6; ++y) {
        for (int i = 4 * 6; i < 4 * (kWidth - 6); ++i) {
            error += std::abs(picture.Row<std::uint8_t>(y)[i] - truth->Row<std::uint8_t>(y)[i]);
        }
    }
    return error / ((kHeight - 12) * (kWidth - 12) * 4);
}

TEST(SuppliedVectors, EitherFlowAloneRendersEveryCell) {
    for (int given : {1, 2, 3}) {
        for (int warping = 0; warping < 4; ++warping) {
            for (std::int64_t method : {0, 1, 2}) {
                VectorHost host;
                host.forward = (given & 1) != 0;
                host.backward = (given & 2) != 0;
                host.none = given == 1 ? ZPErrBadArgument : ZPErrNone;
                host.holes = 5;
                host.warping = warping;
                host.method = method;
                for (float time : {0.3f, 0.7f}) {
                    ASSERT_EQ(host.Render(time), 0);
                    EXPECT_LT(ErrorInside(*host.result, time), 1.5)
                        << given << " " << warping << " " << method;
                }
                EXPECT_EQ(host.held + host.holdsVectors, 0);
                EXPECT_TRUE(host.tracked.empty());
                EXPECT_EQ(host.forwardAsked, (std::vector<int>{0, 0}));  // nothing is kept
                EXPECT_EQ(host.backwardAsked, (std::vector<int>{1, 1}));
            }
        }
    }
}

TEST(SuppliedVectors, WithoutAnyNothingMoves) {
    VectorHost host;
    host.forward = host.backward = false;
    ASSERT_EQ(host.Render(0.5f), 0);
    const auto mix = std::make_unique<ZPImage>(kWidth, kHeight, 4, ZPPixUChar, 0);
    MemoryHost plain(DrawClip(3, kWidth, kHeight, ZPPixUChar, kShiftX, kShiftY));
    plain.quality = 0;
    ASSERT_EQ(plain.Render(0.5f), 0);
    EXPECT_SAME_IMAGE(*host.result, *plain.result);
}

TEST(SuppliedVectors, MoveLayersByWhatTheirMattesShow) {
    for (int warping : {0, 1, 2}) {
        for (std::int64_t method : {0, 1, 2}) {
            VectorHost host;
            for (int i = 0; i < 3; ++i) {
                host.mattes.push_back(std::make_unique<ZPImage>(kWidth, kHeight, 1, ZPPixUChar, 0));
                ClearImage(host.mattes[i].get());
                for (int y = 0; y < kHeight; ++y) {
                    for (int x = 0; x < kWidth; ++x) {
                        if (InForeground(x, y)) host.mattes[i]->Row<std::uint8_t>(y)[x] = 255;
                    }
                }
            }
            const float none = 0.0f, sensitivity = 0.7f;
            host.matteLayers = 1;
            host.layerShrink = &none;
            host.layerSensitivity = &sensitivity;
            host.drawStart = 1;
            host.warping = warping;
            host.method = method;
            host.compensateAsked = 0.2f;
            host.timeMap = [](float t) { return 0.3f + 1.0f * t; };
            ASSERT_EQ(host.Render(0.0f), 0);
            EXPECT_EQ(host.holdsVectors, 0);
            EXPECT_EQ(host.forwardAsked, (std::vector<int>{0, 0}));
            EXPECT_EQ(host.internal->opticalFlow, nullptr);
            // What the vectors say where the foreground is never moves the background.
            host.drawStart = host.drawEnd = 1;
            ASSERT_EQ(host.Render(0.0f), 0);
            const std::unique_ptr<ZPImage> background = std::move(host.result);
            host.stray = 5.0f;
            ASSERT_EQ(host.Render(0.0f), 0);
            EXPECT_SAME_IMAGE(*host.result, *background);
            host.drawStart = host.drawEnd = 0;
            ASSERT_EQ(host.Render(0.0f), 0);
            const std::unique_ptr<ZPImage> strayed = std::move(host.result);
            host.stray = 0.0f;
            ASSERT_EQ(host.Render(0.0f), 0);
            EXPECT_NE(std::memcmp(strayed->data, host.result->data,
                                  static_cast<std::size_t>(strayed->RowPixelBytes()) * kHeight),
                      0);
        }
    }
}

TEST(SuppliedVectors, AMatteLimitsWhatIsKnownOnTheScaleOfWhite) {
    VectorHost host;
    ZPImage flow(kWidth, kHeight, 2, ZPPixFloat, 0);
    KQIdleAndProgressClass progress(nullptr);
    for (int type : {ZPPixUChar, ZPPixUShort, ZPPixFloat}) {
        ZPImage matte(kWidth, kHeight, 1, type, 0);
        WithPictureType(type, [&](auto zero) {
            using Value = decltype(zero);
            for (int y = 0; y < kHeight; ++y) {
                for (int x = 0; x < kWidth; ++x) {
                    matte.Row<Value>(y)[x] =
                        x < 10 ? Value(0) : static_cast<Value>(matte.whitePoint);
                }
            }
        });
        ClearImage(&flow);
        ASSERT_TRUE(ImportForwardMotion(host, {flow, 0, &matte}, progress));
        for (int x : {0, 9, 10, kWidth - 1}) {
            EXPECT_NEAR(flow.Row<float>(3)[2 * x], kShiftX, 1e-5f);
            EXPECT_NEAR(flow.Row<float>(3)[2 * x + 1], kShiftY, 1e-5f);
        }
        ClearImage(&matte);
        ASSERT_TRUE(ImportForwardMotion(host, {flow, 0, &matte}, progress));
        EXPECT_EQ(flow.Row<float>(3)[20], 0.0f);  // nothing is known at all
    }
    ZPImage small(kWidth - 1, kHeight, 1, ZPPixUChar, 0);
    EXPECT_THROW(ImportForwardMotion(host, {flow, 0, &small}, progress), ZPErr);
    EXPECT_EQ(host.holdsVectors, 0);
}

TEST(SuppliedVectors, FailuresReachTheCallerWithEverythingGivenBack) {
    const auto fails = [](auto change) {
        VectorHost host;
        change(host);
        const int code = host.Render(0.5f);
        EXPECT_EQ(host.held + host.holdsVectors, 0);
        EXPECT_EQ(host.internal->backFlow, nullptr);
        return code;
    };
    EXPECT_EQ(fails([](VectorHost& host) { host.codedWidth = kWidth + 1; }), ZPErrBadArgument);
    EXPECT_EQ(fails([](VectorHost& host) { host.scaleFails = 9; }), 9);
    EXPECT_EQ(fails([](VectorHost& host) {
                  host.backward = false;
                  host.none = 8;
              }),
              8);
}

}  // namespace
}  // namespace velorin
