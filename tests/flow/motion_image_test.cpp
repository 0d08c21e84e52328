#include "flow/motion_image.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "image/copy.h"
#include "support/checksum.h"
#include "support/recorder.h"
#include "support/refusal.h"

namespace velorin {
namespace {

TEST(MotionImage, DecodesEachTypeAtAScaleOfThree) {
    struct Code {
        int type;
        float coded, decoded;
    };
    for (const auto& [type, coded, decoded] : {Code{ZPPixUChar, 0, -3.0f},
                                               {ZPPixUChar, 127, 0.0f},
                                               {ZPPixUChar, 254, 3.0f},
                                               {ZPPixUChar, 255, 0x1.83060cp+1f},
                                               {ZPPixUChar, 1, -0x1.7cf9f4p+1f},
                                               {ZPPixUShort, 0, -3.0f},
                                               {ZPPixUShort, 32767, 0.0f},
                                               {ZPPixUShort, 65534, 3.0f},
                                               {ZPPixUShort, 65535, 0x1.80030p+1f},
                                               {ZPPixFloat, 0.5f, 0.0f},
                                               {ZPPixFloat, 1.25f, 4.5f},
                                               {ZPPixFloat, -0.5f, -6.0f}}) {
        ZPImage flow(2, 2, 2, ZPPixFloat, 0), image(2, 2, 4, type, 0);
        PutAll(image, image.whitePoint);
        PutValue(image, 1, 0, 1, coded);
        UnpackMotionImage(flow, image, 3.0f, nullptr);
        EXPECT_SAME_BITS(ValueAt(flow, 1, 0, 1), decoded);
    }
}

// The least transparency is a hole, whatever the pixel codes; of holes alone nothing is known.
TEST(MotionImage, FillsWhatIsNotOpaque) {
    std::uint64_t sum = kEmptySum;
    for (int type : {ZPPixUChar, ZPPixUShort, ZPPixFloat}) {
        for (int holes : {0, 5, 23}) {
            const auto unpack = [&](ZPImage& flow, ZPImage& coded) {
                const float white = coded.whitePoint;
                PutEach(coded, [&](int x, int y, int c) {
                    if (c < 3) return white * static_cast<float>((x + 2 * y + c) % 5) * 0.25f;
                    if (x == 6 && x < holes) return 0.0f;
                    return x >= holes ? white : type == ZPPixFloat ? 0.999f : white - 1.0f;
                });
                UnpackMotionImage(flow, coded, 3.0f, nullptr);
            };
            sum = ChecksumOfNoise({23, 17, 2, ZPPixFloat}, {23, 17, 4, type}, unpack, sum);
        }
    }
    EXPECT_EQ(sum, 796939353494311169u);
}

TEST(MotionImage, WrongImagesAreLeftAlone) {
    const Shape flow{9, 8, 2, ZPPixFloat}, coded{9, 8, 4, ZPPixUChar};
    const Shape wrong[][2] = {{flow, {8, 8, 4, ZPPixUChar}},
                              {flow, {9, 8, 3, ZPPixUChar}},
                              {flow, {9, 8, 4, ZPPixShort}},
                              {{9, 8, 2, ZPPixUChar}, coded}};
    for (const auto& [to, from] : wrong) {
        ExpectRefused({to, from}, "",
                      [](Images& i) { UnpackMotionImage(*i[0], *i[1], 2.0f, nullptr); });
    }
    ZPImage motion(9, 8, 2, ZPPixFloat, 0), holes(9, 8, 4, ZPPixUChar, 0);
    PutAll(holes, 7.0f);
    Recorder stopping(1);
    EXPECT_THROW(UnpackMotionImage(motion, holes, 2.0f, &stopping), ZPErr);
}

// On purpose: float or 2 channels are enough. A row gives no more floats than it holds.
TEST(MotionImage, ScaleXYTakesWhatIsHalfAFlowForOne) {
    struct Case {
        int type, channels, scaled;
    };
    for (const Case& known : {Case{ZPPixFloat, 2, 14}, Case{ZPPixFloat, 4, 14},
                              Case{ZPPixFloat, 1, 7}, Case{ZPPixUChar, 2, 3}}) {
        SCOPED_TRACE(std::to_string(known.type) + " by " + std::to_string(known.channels));
        GapImage image(7, 5, known.channels, known.type, 1);
        const int floats = static_cast<int>(image->RowPixelBytes() / sizeof(float));
        for (int y = 0; y < 5; ++y) std::fill_n(image->Row<float>(y), floats, 1.0f);
        ScaleXY(*image, 2.0f, -3.0f);
        for (int i = 0; i < 5 * floats; ++i) {
            const int column = i / 5;
            const float factor = column >= known.scaled ? 1.0f : column % 2 == 0 ? 2.0f : -3.0f;
            EXPECT_SAME_BITS(image->Row<float>(i % 5)[column], factor);
        }
        EXPECT_TRUE(image.GapsUntouched());
    }
    ZPImage bytes(7, 5, 4, ZPPixUChar, 0);
    ClearImage(&bytes);
    EXPECT_EQ(StderrOf([&] { ScaleXY(bytes, 2.0f, -3.0f); }), "error in ScaleXY!\n");
}

}  // namespace
}  // namespace velorin
