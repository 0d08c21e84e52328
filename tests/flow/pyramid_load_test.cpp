#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <utility>

#include "filter/convolve.h"
#include "filter/gaussian_blur.h"
#include "filter/resample.h"
#include "flow/level_solver.h"
#include "flow/luminance.h"
#include "flow/optical_flow.h"
#include "image/copy.h"
#include "support/forms.h"
#include "support/noise.h"
#include "support/put_each.h"
#include "support/stderr_text.h"

namespace velorin {
namespace {

std::unique_ptr<ZPImage> Reduced(ZPImage& larger, int width, int height) {
    auto smaller = std::make_unique<ZPImage>(width, height, 1, ZPPixFloat, 0);
    SmoothBinomial(larger);
    Resample(*smaller, larger);
    return smaller;
}

std::unique_ptr<ZPImage> LuminanceOf(const ZPImage& frame) {
    auto luma = std::make_unique<ZPImage>(frame.width, frame.height, 1, ZPPixFloat, 0);
    ConvertToLuminance(*luma, frame, false);
    return luma;
}

TEST(PyramidLoad, ReducesTheFrameStepByStepAndThenTheLevels) {
    ForEachPictureForm([](int type, int channels) {
        if (channels == 2) return;
        ZPImage frame(75, 62, channels, type, 1);
        Noise noise(61);
        noise.Fill(frame);
        for (bool toB : {false, true}) {
            ZPOpticalFlowUChar flow(75, 62, 2, 0, 0, 2);
            flow.LoadImage(frame, nullptr, nullptr, toB, false);
            const ImagePyramid& pyramid = toB ? flow.imagePyramidB : flow.imagePyramidA;
            std::unique_ptr<ZPImage> level = LuminanceOf(frame);
            level = Reduced(*level, 37, 31);
            level = Reduced(*level, 18, 15);
            EXPECT_SAME_IMAGE(*pyramid[0], *level);
            EXPECT_SAME_IMAGE(*pyramid[1], *(level = Reduced(*level, 9, 7)));
            EXPECT_SAME_IMAGE(*pyramid[2], *(level = Reduced(*level, 4, 3)));
        }
    });
}

TEST(PyramidLoad, HighPassSubtractsTheSmoothedLevel) {
    ZPImage a(40, 33, 1, ZPPixUChar, 0), b(40, 33, 1, ZPPixUChar, 0);
    Noise noise(62);
    noise.Fill(a);
    noise.Fill(b);
    ZPOpticalFlowUChar flow(40, 33, 0, 0, 0, 2), loaded(40, 33, 0, 0, 0, 2);
    for (ZPOpticalFlowUChar* each : {&flow, &loaded}) {
        each->LoadImage(a, nullptr, nullptr, false, false);
        each->LoadImage(b, &a, &b, true, false);
    }
    flow.HighPass();
    const auto check = [&](const ZPImage& passed, const ZPImage& image) {
        Snapshot smooth(image), expected(image);
        SmoothBinomial(*smooth);
        PutEach(*expected, [&](int x, int y, int) {
            return ValueAt(image, x, y, 0) - ValueAt(*smooth, x, y, 0);
        });
        EXPECT_SAME_IMAGE(passed, *expected);
    };
    for (int n = 0; n < flow.levelCount; ++n) {
        check(*flow.imagePyramidA[n], *loaded.imagePyramidA[n]);
        check(*flow.imagePyramidB[n], *loaded.imagePyramidB[n]);
    }
}

// A flat region keeps half its contrast, an edge is lifted towards white; next to a hole of the
// image's own matte there are no edges.
TEST(PyramidLoad, EnhanceLiftsEdges) {
    ZPImage frame(40, 30, 1, ZPPixUChar, 0), hole(40, 30, 1, ZPPixUChar, 0);
    PutEach(frame, [](int x, int y, int) { return x < 20 ? 40.0f : 200.0f + (y % 2); });
    PutAll(hole, 255.0f);
    PutValue(hole, 19, 15, 0, 0.0f);
    for (bool masked : {false, true}) {
        ZPOpticalFlowUChar flow(40, 30, 0, 0, masked, 2);
        for (bool toB : {false, true}) {
            flow.LoadMatte(hole, toB);
            flow.LoadImage(frame, nullptr, nullptr, toB, true);
            std::unique_ptr<ZPImage> blurred = LuminanceOf(frame);
            GaussianBlur(*blurred, 0, 2.0f);
            ZPImage gx(40, 30, 1, ZPPixFloat, 0), gy(40, 30, 1, ZPPixFloat, 0);
            ComputeGradients(gx, gy, *blurred);
            if (masked) ClearGradientsAtMatte(gx, gy, *flow.mattePyramidA[0]);
            ZPImage expected(40, 30, 1, ZPPixFloat, 0);
            PutEach(expected, [&](int x, int y, int) {
                const float p = ValueAt(gx, x, y, 0), q = ValueAt(gy, x, y, 0);
                const float m = std::sqrt(p * p + q * q);
                const double edge = m / 20.0f < 1.0f ? m / 20.0f : 1.0f;
                return static_cast<float>((ValueAt(*blurred, x, y, 0) + 255.0 * edge) * 0.5);
            });
            const ImagePyramid& pyramid = toB ? flow.imagePyramidB : flow.imagePyramidA;
            EXPECT_SAME_IMAGE(*pyramid[0], expected);
            EXPECT_EQ(ValueAt(*pyramid[0], 5, 15, 0), 20.0f);
            EXPECT_EQ(ValueAt(*pyramid[0], 19, 15, 0) < 127.0f, masked);
            EXPECT_GT(ValueAt(*pyramid[0], 19, 5, 0), 150.0f);
        }
    }
}

TEST(PyramidLoad, MattesAreAllOrNothing) {
    const struct {
        int type;
        float invalid, valid;
    } kCases[] = {{ZPPixUChar, 254, 255}, {ZPPixUShort, 65528, 65529}, {ZPPixFloat, 0.99985f, 3}};
    for (const auto& [type, invalid, valid] : kCases) {
        ZPImage matte(4, 4, 1, type, 0);
        ZPOpticalFlowUChar flow(4, 4, 0, 0, 1, 2);
        for (float sample : {invalid, valid}) {
            PutAll(matte, sample);
            flow.LoadMatte(matte, true);
            EXPECT_EQ(ValueAt(*flow.mattePyramidB[0], 2, 2, 0), sample == valid ? 1.0f : 0.0f);
        }
    }
}

// A hole of one pixel grows by about one pixel of the level on each level, reductions included.
TEST(PyramidLoad, HolesGrow) {
    ZPImage matte(64, 64, 1, ZPPixUChar, 0);
    PutAll(matte, 255.0f);
    PutValue(matte, 32, 32, 0, 0.0f);
    for (int reductionSteps : {0, 1, 2}) {
        ZPOpticalFlowUChar flow(64, 64, reductionSteps, 0, 1, 2);
        flow.LoadMatte(matte, false);
        std::string counts;
        for (int n = 0; n < 3; ++n) {
            const ZPImage& level = *flow.mattePyramidA[n];
            int holes = 0;
            ForEachPixel(level, [&](int x, int y) { holes += ValueAt(level, x, y, 0) != 1.0f; });
            counts += std::to_string(holes) + " ";
        }
        // 3 by 3 pixels of the level below, then 4 by 4 of each that follows.
        static constexpr const char* kCounts[] = {"1 9 16 ", "9 16 16 ", "16 16 16 "};
        EXPECT_EQ(counts, kCounts[reductionSteps]);
    }
    ZPOpticalFlowUChar unmasked(64, 64, 0, 0, 0, 2);
    unmasked.LoadMatte(matte, false);
    EXPECT_EQ(unmasked.mattePyramidA[0], nullptr);
}

TEST(PyramidLoad, RefusedImages) {
    ZPImage frame(30, 20, 3, ZPPixFloat, 0), narrow(29, 20, 3, ZPPixFloat, 0);
    ZPImage two(30, 20, 2, ZPPixFloat, 0);
    Noise noise(63);
    noise.Fill(frame);
    noise.Fill(two);
    ZPOpticalFlowUChar flow(30, 20, 0, 0, 0, 2);
    flow.LoadImage(frame, nullptr, nullptr, false, false);
    Snapshot before(*flow.imagePyramidA[0]);
    const auto said = [&](const ZPImage* first, const ZPImage* second) {
        Noise(64).Fill(frame);
        return StderrOf([&] { flow.LoadImage(frame, first, second, false, false); });
    };
    for (auto [first, second] : {std::pair(&narrow, &frame), std::pair(&frame, &narrow)}) {
        EXPECT_EQ(said(first, second), "calculating flow, incompatible inputs!\n");
        EXPECT_SAME_IMAGE(*flow.imagePyramidA[0], *before);
    }
    EXPECT_EQ(said(nullptr, &narrow), "");
    EXPECT_NE(FirstDifference(*flow.imagePyramidA[0], *before), "");

    // Where the frame is reduced, one that is refused counts as black.
    ZPOpticalFlowUChar reduced(30, 20, 1, 0, 0, 2);
    reduced.LoadImage(two, nullptr, nullptr, false, false);
    frame.whitePoint = 2.0f;
    EXPECT_EQ(StderrOf([&] { reduced.LoadImage(frame, nullptr, nullptr, true, false); }),
              " floating image input to ZPOpticalFlowUChar is not in correct range\n");
    ZPImage black(15, 10, 1, ZPPixFloat, 0);
    ClearImage(&black);
    EXPECT_SAME_IMAGE(*reduced.imagePyramidA[0], black);
    EXPECT_SAME_IMAGE(*reduced.imagePyramidB[0], black);
}

}  // namespace
}  // namespace velorin
