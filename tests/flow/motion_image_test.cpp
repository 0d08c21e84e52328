#include "flow/motion_image.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "flow/matte.h"
#include "image/copy.h"
#include "support/forms.h"
#include "support/noise.h"
#include "support/put_each.h"
#include "support/recorder.h"
#include "support/stderr_text.h"

namespace velorin {
namespace {

struct Code {
    float coded, decoded;
};

// At a scale of 3.0.
std::vector<Code> CodesOf(int type) {
    if (type == ZPPixUChar) {
        return {{0, -3.0f}, {127, 0.0f}, {254, 3.0f}, {255, 0x1.83060cp+1f}, {1, -0x1.7cf9f4p+1f}};
    }
    if (type == ZPPixUShort) {
        return {{0, -3.0f}, {32767, 0.0f}, {65534, 3.0f}, {65535, 0x1.80030p+1f}};
    }
    return {{0.0f, -3.0f}, {0.5f, 0.0f}, {1.0f, 3.0f}, {1.25f, 4.5f}, {-0.5f, -6.0f}};
}

TEST(MotionImage, DecodesEachTypeAndFillsWhatIsNotOpaque) {
    for (int type : {ZPPixUChar, ZPPixUShort, ZPPixFloat}) {
        SCOPED_TRACE("type " + std::to_string(type));
        const std::vector<Code> codes = CodesOf(type);
        const int kinds = static_cast<int>(codes.size());
        const auto codeAt = [&](int x, int y, int c) { return codes[(x + 2 * y + c) % kinds]; };
        ForEachThreadCount([&] {
            ForEachRowOrderPair([&](int flowOrder, int codedOrder) {
                GapImage flow(23, 17, 2, ZPPixFloat, flowOrder);
                GapImage coded(23, 17, 4, type, codedOrder);
                ZPImage expected(23, 17, 2, ZPPixFloat, 0), holes(23, 17, 1, ZPPixUChar, 0);
                PutEach(*coded, [&](int x, int y, int c) {
                    return c == 3 ? coded->whitePoint : codeAt(x, y, c).coded;
                });
                PutEach(expected, [&](int x, int y, int c) { return codeAt(x, y, c).decoded; });
                UnpackMotionImage(*flow, *coded, 3.0f, nullptr);
                EXPECT_SAME_IMAGE(*flow, expected);

                // The least transparency is a hole, whatever the pixel codes.
                ClearImage(&holes);
                const float almost = type == ZPPixFloat ? 0.999f : coded->whitePoint - 1.0f;
                for (int x = 4; x < 9; ++x) {
                    PutValue(*coded, x, 7, 3, x == 6 ? 0.0f : almost);
                    PutValue(holes, x, 7, 0, 1.0f);
                }
                FillUnderMatte(expected, holes, nullptr);
                UnpackMotionImage(*flow, *coded, 3.0f, nullptr);
                EXPECT_SAME_IMAGE(*flow, expected);
                EXPECT_TRUE(flow.GapsUntouched() && coded.GapsUntouched());

                PutEach(*coded, [](int, int, int c) { return c == 3 ? 0.0f : 1.0f; });
                UnpackMotionImage(*flow, *coded, 3.0f, nullptr);
                ClearImage(&expected);
                EXPECT_SAME_IMAGE(*flow, expected);
            });
        });
    }
}

TEST(MotionImage, WrongImagesAreLeftAlone) {
    ZPImage flow(9, 8, 2, ZPPixFloat, 0), coded(9, 8, 4, ZPPixUChar, 0);
    ZPImage narrow(8, 8, 4, ZPPixUChar, 0), three(9, 8, 3, ZPPixUChar, 0);
    ZPImage words(9, 8, 4, ZPPixShort, 0), bytes(9, 8, 2, ZPPixUChar, 0);
    for (ZPImage* image : {&flow, &coded, &narrow, &three, &words, &bytes}) PutAll(*image, 7.0f);
    Snapshot before(flow), bytesBefore(bytes);
    for (const ZPImage* wrong : {&narrow, &three, &words}) {
        UnpackMotionImage(flow, *wrong, 2.0f, nullptr);
        EXPECT_SAME_IMAGE(flow, *before);
    }
    UnpackMotionImage(bytes, coded, 2.0f, nullptr);
    EXPECT_SAME_IMAGE(bytes, *bytesBefore);
    Recorder stopping(1);
    EXPECT_THROW(UnpackMotionImage(flow, coded, 2.0f, &stopping), ZPErr);
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
