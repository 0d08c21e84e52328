#include "flow/level_pass.h"

#include <utility>

#include "filter/convolve.h"
#include "filter/resample.h"
#include "flow/level_solver.h"
#include "flow/luminance.h"
#include "flow/reduce.h"
#include "image/arithmetic.h"
#include "image/copy.h"
#include "support/forms.h"
#include "support/noise.h"
#include "support/put_each.h"

namespace velorin {
namespace {

// Narrower than a vector, and around where the blurs' borders meet.
constexpr std::pair<int, int> kSizes[] = {{2, 2},   {3, 17},  {7, 9},   {16, 15},
                                          {19, 16}, {33, 33}, {67, 41}, {130, 130}};

struct Channel : ZPImage {
    Channel(int newWidth, int newHeight, int newChannels = 1)
        : ZPImage(newWidth, newHeight, newChannels, ZPPixFloat, 0) {
        PutAll(*this, 7.0f);
    }
};

// Expects the image that `walk` leaves, with every set and thread count.
template <typename Walk>
void ExpectSame(const ZPImage& expected, ZPImage& image, const Walk& walk) {
    ForEachInstructionSet([&] {
        ForEachThreadCount([&] {
            PutAll(image, 7.0f);
            walk();
            EXPECT_SAME_IMAGE(image, expected);
        });
    });
}

// Values that trip careless arithmetic in every image, and places on the borders.
struct Inputs {
    Inputs(int width, int height) : tensor(width, height, 3), flow(width, height, 2) {
        for (ZPImage* image : {&a, &b, &gx, &gy}) Draw(*image, -200.0f, 200.0f);
        Draw(tensor, -300.0f, 300.0f);
        Draw(flow, -5.0f, 5.0f);
        PutValue(flow, width - 1, height - 1, 0, 0.0f);
        PutValue(flow, width - 1, height - 1, 1, 0.0f);
        PutEach(matte, [&](int, int, int) {
            return noise.Int(0, 9) == 0 ? noise.Float(0.99f, 1.0f) : 1.0f;
        });
    }

    void Draw(ZPImage& image, float low, float high) {
        PutEach(image, [&](int, int, int) { return noise.Float(low, high); });
        noise.Sprinkle(image, image.width * image.height / 90);
    }

    Noise noise{91};
    Channel tensor, flow;
    Channel a{flow.width, flow.height}, b{flow.width, flow.height}, gx{flow.width, flow.height},
        gy{flow.width, flow.height}, matte{flow.width, flow.height};
};

TEST(LevelPass, OneWalkHasTheBitsOfTheSteps) {
    for (const auto& [width, height] : kSizes) {
        SCOPED_TRACE(std::to_string(width) + " by " + std::to_string(height));
        Inputs in(width, height);
        for (int mode : {1, 2}) {
            Channel tensor(width, height, 3), walked(width, height, 3);
            ComputeTensor(tensor, in.gx, in.gy);
            BlurStage(tensor, true, mode);
            ExpectSame(tensor, walked, [&] { FormTensor(walked, in.gx, in.gy, mode); });

            for (const ZPImage* matte :
                 {static_cast<const ZPImage*>(nullptr), static_cast<const ZPImage*>(&in.matte)}) {
                Channel flow(width, height, 2), next(width, height, 2);
                Channel mismatch(width, height, 2);
                CopyExact(&flow, &in.flow);
                ComputeMismatch(mismatch, {in.a, in.b, in.gx, in.gy, flow, matte});
                BlurStage(mismatch, true, mode);
                SolveFlow(flow, in.tensor, mismatch);
                BlurStage(flow, false, mode);
                ExpectSame(flow, next, [&] {
                    IterateFlow(next, {in.a, in.b, in.gx, in.gy, in.tensor, in.flow, matte}, mode);
                });
            }
        }
    }
}

TEST(LevelPass, ReducesAndFiltersLikeTheSteps) {
    for (const auto& [width, height] : kSizes) {
        if (width < 4 || height < 4) continue;
        SCOPED_TRACE(std::to_string(width) + " by " + std::to_string(height));
        Inputs in(width, height);
        Channel smooth(width, height), coarse(width / 2, height / 2);
        SmoothBinomial(smooth, in.a);
        Resample(coarse, smooth);
        Channel walked(width / 2, height / 2), passed(width, height);
        ExpectSame(coarse, walked, [&] { ReduceChannel(walked, in.a); });

        CopyExact(&in.b, &in.a);
        SubtractInto(in.b, smooth);
        ExpectSame(in.b, passed, [&] { HighPassChannel(passed, in.a); });
    }
}

TEST(LevelPass, ReducesFramesOfEveryForm) {
    ForEachPictureForm([&](int type, int channels) {
        if (channels == 2) return;
        for (bool lumaIsFirst : {false, true}) {
            Noise noise(92);
            ZPImage frame(77, 45, channels, type, 1);
            noise.Fill(frame);
            Channel luminance(77, 45), coarse(38, 22), walked(38, 22);
            ConvertToLuminance(luminance, frame, lumaIsFirst);
            SmoothBinomial(luminance);
            Resample(coarse, luminance);
            ExpectSame(coarse, walked, [&] { ReduceFrame(walked, frame, lumaIsFirst); });
        }
    });
}

}  // namespace
}  // namespace velorin
