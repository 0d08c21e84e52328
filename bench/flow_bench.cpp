#include "bench/timing.h"
#include "flow/level_pass.h"
#include "flow/level_solver.h"
#include "flow/luminance.h"
#include "flow/matte.h"
#include "flow/morph_flow.h"
#include "flow/optical_flow.h"
#include "flow/propagate.h"
#include "image/arithmetic.h"
#include "image/copy.h"
#include "support/noise.h"

namespace velorin {
namespace {

std::shared_ptr<ZPOpticalFlowUChar> CreateEstimator() {
    auto estimator = std::make_shared<ZPOpticalFlowUChar>(kFrameWidth, kFrameHeight, 1, 0, 0, 2);
    estimator->SetSensitivity(0.7f);
    return estimator;
}

void ComputeWhole(ZPOpticalFlowUChar& estimator) {
    estimator.ComputeFlowFromImages(nullptr, &DrawnFrame(ZPPixUChar, 0), &DrawnFrame(ZPPixUChar, 1),
                                    1, 1, 0, nullptr, false);
}

// The finest level after a whole computation, with the flow in its internal sign again.
struct FinestLevel {
    FinestLevel() {
        ComputeWhole(*estimator);
        ScaleValues(*estimator->Flow(), -1.0f);
        flow = CreateCopy(*estimator->Flow());
    }
    Operation Reset(std::function<void()> run) {
        return {CountPixels(*flow), std::move(run),
                [this] { CopyExact(flow.get(), estimator->Flow()); }};
    }

    std::shared_ptr<ZPOpticalFlowUChar> estimator = CreateEstimator();
    const ZPImage& imageA = *estimator->imagePyramidA[0];
    const ZPImage& imageB = *estimator->imagePyramidB[0];
    ZPImage& gradientX = *estimator->gradientXPyramid[0];
    ZPImage& gradientY = *estimator->gradientYPyramid[0];
    ZPImage& tensor = *estimator->tensorPyramid[0];
    ZPImage& mismatch = *estimator->mismatchPyramid[0];
    std::shared_ptr<ZPImage> flow;
};

FinestLevel& Level() {
    static FinestLevel level;
    return level;
}

Operation PrepareGradients() {
    FinestLevel& level = Level();
    return level.Reset([&level] {
        ComputeGradients(level.gradientX, level.gradientY, level.imageA);
        FormTensor(level.tensor, level.gradientX, level.gradientY, 1);
    });
}

Operation PrepareIteration() {
    FinestLevel& level = Level();
    return level.Reset([&level] {
        IterateFlow(level.mismatch,
                    {level.imageA, level.imageB, level.gradientX, level.gradientY, level.tensor,
                     *level.flow, nullptr},
                    1);
    });
}

// As propagation finds it: the coarser level's flow after two iterations on the finest.
Operation PreparePropagation() {
    FinestLevel& level = Level();
    ResampleFlow(*level.flow, *level.estimator->flowPyramid[1]);
    for (int i = 0; i < 2; ++i) {
        ComputeMismatch(level.mismatch, {level.imageA, level.imageB, level.gradientX,
                                         level.gradientY, *level.flow, nullptr});
        BlurStage(level.mismatch, true, 1);
        SolveFlow(*level.flow, level.tensor, level.mismatch);
        BlurStage(*level.flow, false, 1);
    }
    const std::shared_ptr<ZPImage> before = CreateCopy(*level.flow);
    return {CountPixels(*before),
            [&level] {
                KQIdleAndProgressClass progress(nullptr);
                PropagateCandidates(*level.flow, level.imageA, level.imageB, nullptr, nullptr,
                                    progress);
            },
            [&level, before] { CopyExact(level.flow.get(), before.get()); }};
}

// The worst case: every vector differs from its neighbours', and nothing matches.
template <bool kMattes>
Operation PrepareNoisePropagation() {
    const auto a = CreateNoise(kFlowWidth, kFlowHeight, 1, ZPPixFloat);
    const auto b = std::make_shared<ZPImage>(kFlowWidth, kFlowHeight, 1, ZPPixFloat, 0);
    Noise(2).Fill(*b);
    const auto matte = CreateNoise(kFlowWidth, kFlowHeight, 1, ZPPixFloat);
    const float valid = 1.0f;
    FillPixel(*matte, &valid);
    const auto before = CreateNoise(kFlowWidth, kFlowHeight, 2, ZPPixFloat);
    ScaleValues(*before, 8.0f);
    const auto flow = CreateCopy(*before);
    return {CountPixels(*flow),
            [=] {
                KQIdleAndProgressClass progress(nullptr);
                const ZPImage* mattes = kMattes ? matte.get() : nullptr;
                PropagateCandidates(*flow, *a, *b, mattes, mattes, progress);
            },
            [=] { CopyExact(flow.get(), before.get()); }};
}

Operation PrepareLevelResample() {
    FinestLevel& level = Level();
    return level.Reset([&level] { ResampleFlow(*level.flow, *level.estimator->flowPyramid[1]); });
}

Operation PrepareLuminance() {
    const ZPImage& frame = DrawnFrame(ZPPixUChar, 0);
    const auto dest = std::make_shared<ZPImage>(kFrameWidth, kFrameHeight, 1, ZPPixFloat, 0);
    return {CountPixels(frame), [dest, &frame] { ConvertToLuminance(*dest, frame, false); }, {}};
}

Operation PrepareLoad() {
    const ZPImage& frame = DrawnFrame(ZPPixUChar, 0);
    const auto estimator = CreateEstimator();
    return {CountPixels(frame),
            [estimator, &frame] { estimator->LoadImage(frame, nullptr, nullptr, false, false); },
            {}};
}

Operation PrepareWhole() {
    const auto estimator = CreateEstimator();
    ComputeWhole(*estimator);  // so that the frames are drawn
    return {static_cast<std::int64_t>(kFrameWidth) * kFrameHeight,
            [estimator] { ComputeWhole(*estimator); },
            {}};
}

// Marks about five percent of a frame as a warp does: a strip along two borders and slivers along
// the edges of things that moved.
std::shared_ptr<ZPImage> DrawHoles() {
    auto holes = std::make_shared<ZPImage>(kFrameWidth, kFrameHeight, 1, ZPPixUChar, 0);
    for (int y = 0; y < kFrameHeight; ++y) {
        auto* row = holes->Row<std::uint8_t>(y);
        for (int x = 0; x < kFrameWidth; ++x) {
            const int dx = x % 384 - 192, dy = y % 360 - 180;
            const int inner = dx * dx + dy * dy, outer = (dx - 26) * (dx - 26) + dy * dy;
            const bool sliver = inner < 90 * 90 && outer >= 90 * 90;
            row[x] = x < 16 || y >= kFrameHeight - 8 || sliver ? 255 : 0;
        }
    }
    return holes;
}

template <bool kHoles>
Operation PrepareFill() {
    const ZPImage& frame = DrawnFrame(ZPPixUChar, 0);
    const auto image = CreateCopy(frame);
    const auto holes = DrawHoles();
    if (!kHoles) ClearImage(holes.get());
    return {CountPixels(frame), [image, holes] { FillUnderMatte(*image, *holes, nullptr); },
            [image, &frame] { CopyExact(image.get(), &frame); }};
}

Operation PrepareChoke() {
    const auto source = std::make_shared<ZPImage>(kFrameWidth, kFrameHeight, 1, ZPPixFloat, 0);
    CopyConverted(*source, *DrawHoles());
    const auto image = CreateCopy(*source);
    return {CountPixels(*image), [image] { ZPMatte::Choke(*image, 1.5f); },
            [image, source] { CopyExact(image.get(), source.get()); }};
}

// Points on so many different pixels of the flow, all over it.
void AddPoints(ZPMorphFlow& morph, int count) {
    morph.ClearPoints();
    for (int i = 0; i < count; ++i) {
        // A step that shares no factor with the number of pixels.
        const int pixel = static_cast<int>(i * 196613LL % (kFlowWidth * kFlowHeight));
        const float x = static_cast<float>(pixel % kFlowWidth);
        const float y = static_cast<float>(pixel / kFlowWidth);
        morph.AddPoint(x, y, x + 3.0f - 0.01f * y, y + 0.005f * x, kFlowWidth - 1, kFlowHeight - 1);
    }
    morph.FinishPoints();
}

template <int kPoints>
Operation PrepareMorph() {
    const auto morph = std::make_shared<ZPMorphFlow>(1, kFrameWidth, kFrameHeight, 1, 2);
    morph->SetSensitivity(0.7f);
    return {CountPixels(*morph->Flow()), [morph] { morph->Compute(nullptr, nullptr, 1); },
            [morph] { AddPoints(*morph, kPoints); }};
}

bool Register() {
    Time("flow: luminance of a full HD frame, 8-bit x 4", PrepareLuminance);
    Time("flow: load of a full HD frame into a pyramid", PrepareLoad);
    Time("flow: gradients and blurred tensor, 960 x 540", PrepareGradients);
    Time("flow: one of three iterations, 960 x 540", PrepareIteration);
    Time("flow: propagation, 960 x 540", PreparePropagation);
    Time("flow: propagation of noise, 960 x 540", PrepareNoisePropagation<false>);
    Time("flow: propagation of noise with mattes, 960 x 540", PrepareNoisePropagation<true>);
    Time("flow: level resample to 960 x 540", PrepareLevelResample);
    Time("flow: whole flow between full HD frames at half size", PrepareWhole);
    Time("flow: hole fill of a full HD frame, 8-bit x 4, 5 percent holes", PrepareFill<true>);
    Time("flow: hole fill of a full HD frame, 8-bit x 4, no hole", PrepareFill<false>);
    Time("flow: ZPMatte::Choke of a full HD matte by 1.5 pixels, float x 1", PrepareChoke);
    Time("flow: flow of 10 points, 960 x 540", PrepareMorph<10>);
    Time("flow: flow of 1000 points, 960 x 540", PrepareMorph<1000>);
    Time("flow: flow of 100,000 points, 960 x 540", PrepareMorph<100'000>);
    return true;
}

const bool kRegistered = Register();

}  // namespace
}  // namespace velorin
