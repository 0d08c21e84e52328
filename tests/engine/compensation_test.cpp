#include <gtest/gtest.h>

#include "support/checksum.h"
#include "support/engine_clips.h"

namespace velorin {
namespace {

constexpr float kMoveX = 7.0f;
constexpr float kMoveY = -2.5f;

// A moving texture of frames 0 to 3, played at a speed.
struct MovingHost : MemoryHost {
    MovingHost(int pixelType, float speed, float compensation)
        : MemoryHost(DrawClip(4, 128, 96, pixelType, kMoveX, kMoveY)) {
        timeMap = [=](float t) { return speed * t; };
        compensateAsked = compensation;
    }
};

TEST(Compensation, TheSourcesOwnSpeedLeavesThePictureAlone) {
    for (int type : {ZPPixUChar, ZPPixUShort, ZPPixFloat}) {
        for (std::int64_t method : {0, 1, 2}) {
            MovingHost plain(type, 1.0f, 0.0f), compensated(type, 1.0f, 5.0f);
            plain.method = compensated.method = method;
            ASSERT_EQ(plain.Render(1.0f), 0);
            ASSERT_EQ(compensated.Render(1.0f), 0);
            EXPECT_SAME_IMAGE(*compensated.result, *plain.result);
            EXPECT_EQ(plain.internal->opticalFlow, nullptr);
            EXPECT_NE(compensated.internal->opticalFlow, nullptr);  // paid for all the same
        }
    }
}

// In units of fields the source's own speed is 2 on the way in, and half of it on the way out.
TEST(Compensation, GoldenChecksums) {
    struct Golden {
        std::int64_t method;
        float speed, compensation;
        int inputFields, outputFields;
        std::uint64_t checksum;
    };
    for (const Golden& golden : {Golden{0, 2.0f, 1.0f, 0, 0, 5231188375936257733u},
                                 {1, 2.0f, 0.5f, 0, 0, 16065824198959037370u},
                                 {0, 0.5f, 1.0f, 0, 0, 12721777963857010030u},
                                 {1, 0.5f, 3.0f, 0, 0, 5111817813494440313u},
                                 {2, 0.25f, 1.0f, 0, 0, 3460720427664016700u},
                                 {1, 1.0f, 1.0f, 1, 0, 9040713952558314136u},
                                 {1, 1.0f, 1.0f, 0, 1, 12889096721364133922u},
                                 {1, 1.0f, 1.0f, 2, 2, 7774168905891860063u}}) {
        MemoryHost host(GoldenClip());
        host.method = golden.method;
        host.compensateAsked = golden.compensation;
        host.inputFieldsAsked = golden.inputFields;
        host.outputFieldsAsked = golden.outputFields;
        host.timeMap = [&](float t) { return 0.3f + golden.speed * t; };
        ASSERT_EQ(host.Render(0.0f), 0);
        EXPECT_EQ(Checksum(*host.result), golden.checksum) << golden.method << golden.speed;
    }
}

// Neither a still frame nor a frame without vectors is blurred, and none by 0.005.
TEST(Compensation, RunsOnlyWhereTimeAdvancesAndVectorsAre) {
    const auto differs = [](float speed, float compensation, int quality) {
        MovingHost plain(ZPPixUChar, speed, 0.0f), other(ZPPixUChar, speed, compensation);
        for (MovingHost* host : {&plain, &other}) {
            host->quality = quality;
            if (speed == 0.0f) host->timeMap = [](float) { return 1.5f; };
            EXPECT_EQ(host->Render(1.0f), 0);
        }
        return !FirstDifference(*plain.result, *other.result).empty();
    };
    EXPECT_TRUE(differs(2.0f, 1.0f, 4));
    EXPECT_TRUE(differs(0.5f, 1.0f, 4));
    EXPECT_FALSE(differs(0.0f, 1.0f, 4));
    EXPECT_FALSE(differs(2.0f, 1.0f, 0));
    EXPECT_FALSE(differs(2.0f, 0.005f, 4));
}

TEST(Compensation, EachLayerIsBlurredAlongItsOwnMotion) {
    const float sensitivity = 0.7f, shrink = 0.0f;
    MovingHost plain(ZPPixFloat, 2.0f, 0.0f), layered(ZPPixFloat, 2.0f, 1.0f);
    MovingHost single(ZPPixFloat, 2.0f, 1.0f);
    for (const auto& frame : layered.frames) {
        layered.mattes.push_back(
            std::make_unique<ZPImage>(frame->width, frame->height, 1, ZPPixFloat, 0));
        ClearImage(layered.mattes.back().get());
    }
    layered.matteLayers = 1;
    layered.layerSensitivity = &sensitivity;
    layered.layerShrink = &shrink;
    layered.drawStart = 1;
    for (MovingHost* host : {&plain, &layered, &single}) ASSERT_EQ(host->Render(1.0f), 0);
    // With nothing in front the background is the whole picture.
    EXPECT_TRUE(FirstDifference(*layered.result, *single.result).empty());
    EXPECT_FALSE(FirstDifference(*layered.result, *plain.result).empty());
}

}  // namespace
}  // namespace velorin
