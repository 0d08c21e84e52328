#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "flow/optical_flow.h"
#include "image/copy.h"
#include "support/checksum.h"
#include "support/stderr_text.h"

namespace velorin {
namespace {

std::uint64_t SumOf(const ImagePyramid& pyramid, int levels, std::uint64_t sum = kEmptySum) {
    for (int n = 0; n < levels; ++n) sum = Checksum(*pyramid[n], sum);
    return sum;
}

TEST(PyramidLoad, SameLevelsInEveryForm) {
    std::uint64_t plain = kEmptySum, passed = kEmptySum;
    ForEachPictureForm([&](int type, int channels) {
        if (channels == 2) return;
        ZPImage a(75, 62, channels, type, 1), b(75, 62, channels, type, 0);
        Noise noise(61);
        noise.Fill(a);
        noise.Fill(b);
        for (int reductionSteps : {0, 2}) {
            ZPOpticalFlowUChar flow(75, 62, reductionSteps, 0, 0, 2);
            flow.LoadImage(a, nullptr, nullptr, false, false);
            flow.LoadImage(b, &a, &b, true, false);
            plain = SumOf(flow.imagePyramidA, flow.levelCount, plain);
            plain = SumOf(flow.imagePyramidB, flow.levelCount, plain);
            flow.HighPass();
            passed = SumOf(flow.imagePyramidA, flow.levelCount, passed);
            passed = SumOf(flow.imagePyramidB, flow.levelCount, passed);
        }
    });
    EXPECT_EQ(plain, 11212474158446433498u);
    EXPECT_EQ(passed, 4574875549016194843u);
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
            const ImagePyramid& pyramid = toB ? flow.imagePyramidB : flow.imagePyramidA;
            EXPECT_EQ(SumOf(pyramid, 1), masked ? 14694870412954096472u : 7051153353639337448u);
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
