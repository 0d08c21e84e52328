#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "support/memory_host.h"
#include "support/noise.h"
#include "support/plain_stored.h"
#include "support/put_each.h"

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

// Red, as a fraction of white.
float RedAt(const ZPImage& image, int x, int y) {
    return image.readChannel(image.Row<char>(y) +
                             static_cast<std::ptrdiff_t>(x) * image.pixelBytes) /
           image.whitePoint;
}

// Calls work(x, y) for the pixels whose way over two frames lies inside the picture.
template <typename Work>
void ForEachInner(Work&& work) {
    for (int y = 12; y < 84; ++y) {
        for (int x = 20; x < 108; ++x) work(x, y);
    }
}

TEST(Compensation, TwiceTheSpeedBlursOverOneInterval) {
    MovingHost plain(ZPPixFloat, 2.0f, 0.0f), blurred(ZPPixFloat, 2.0f, 1.0f);
    ASSERT_EQ(plain.Render(1.0f), 0);
    ASSERT_EQ(blurred.Render(1.0f), 0);
    std::vector<std::unique_ptr<ZPImage>> moments;
    for (int i = -16; i <= 16; ++i) {
        const float time = 2.0f + static_cast<float>(i) / 32.0f;
        moments.push_back(DrawTexture(128, 96, ZPPixFloat, time * kMoveX, time * kMoveY));
    }
    double without = 0.0, with = 0.0;
    int count = 0;
    ForEachInner([&](int x, int y) {
        float sum = 0.0f;
        for (const auto& moment : moments) sum += RedAt(*moment, x, y);
        const float truth = sum / static_cast<float>(moments.size());
        without += std::fabs(RedAt(*plain.result, x, y) - truth);
        with += std::fabs(RedAt(*blurred.result, x, y) - truth);
        ++count;
    });
    std::printf("mean error against a box over one interval, in levels: %.3f, without blur %.3f\n",
                255.0 * with / count, 255.0 * without / count);
    // Both ends of the way count in full, so that it is a little longer than the interval.
    EXPECT_LT(with, without / 3.0);
}

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

// Squares of what changes from one pixel to the next along the motion.
double EnergyAlongMotion(const ZPImage& image) {
    double energy = 0.0;
    ForEachInner([&](int x, int y) {
        energy += std::pow(RedAt(image, x + 1, y) - RedAt(image, x, y), 2.0);
    });
    return energy;
}

TEST(Compensation, HalfTheSpeedSharpensAlongTheMotion) {
    for (int type : {ZPPixUChar, ZPPixUShort}) {
        MovingHost plain(type, 0.5f, 0.0f), sharp(type, 0.5f, 1.0f);
        for (MovingHost* host : {&plain, &sharp}) {
            for (const auto& frame : host->frames) {  // most of it black or white
                Snapshot soft(*frame);
                PutEach(*frame, [&](int x, int y, int c) {
                    const float white = WhiteOf(type);
                    if (c == 3) return white;
                    return std::clamp(
                        white * 0.5f + 4.0f * (ValueAt(*soft, x, y, c) - white * 0.5f), 0.0f,
                        white);
                });
            }
            host->method = 0;
            ASSERT_EQ(host->Render(3.0f), 0);
        }
        const double energy = EnergyAlongMotion(*plain.result);
        const double sharpened = EnergyAlongMotion(*sharp.result);
        std::printf("gradient energy along the motion: %.2f, sharpened %.2f\n", energy, sharpened);
        EXPECT_GT(sharpened, 1.1 * energy);
        // No value wraps around: what is far from the plain one is nowhere.
        ForEachInner([&](int x, int y) {
            EXPECT_NEAR(RedAt(*sharp.result, x, y), RedAt(*plain.result, x, y), 0.3f);
        });
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

// In units of fields the source's own speed is 2 on the way in, and half of it on the way out.
TEST(Compensation, FieldsCountAsTheyAre) {
    const auto amountOf = [](int inputFields, int outputFields) {
        MovingHost plain(ZPPixUChar, 1.0f, 0.0f), other(ZPPixUChar, 1.0f, 1.0f);
        for (MovingHost* host : {&plain, &other}) {
            host->timeMap = [](float t) { return 0.75f + t; };
            host->inputFieldsAsked = inputFields;
            host->outputFieldsAsked = outputFields;
            EXPECT_EQ(host->Render(1.0f), 0);
        }
        const double change = EnergyAlongMotion(*other.result) / EnergyAlongMotion(*plain.result);
        return change < 0.9 ? 1 : change > 1.1 ? -1 : 0;
    };
    EXPECT_EQ(amountOf(0, 0), 0);
    EXPECT_EQ(amountOf(1, 0), 1);
    EXPECT_EQ(amountOf(0, 1), -1);
    EXPECT_EQ(amountOf(2, 2), 0);
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
