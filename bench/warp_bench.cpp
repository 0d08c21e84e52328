#include <cmath>

#include "bench/timing.h"
#include "image/arithmetic.h"
#include "support/noise.h"
#include "warp/blend.h"
#include "warp/blend_coverage.h"
#include "warp/change_matte.h"
#include "warp/inverse_warp.h"
#include "warp/invert_flow.h"
#include "warp/voronoi_fill.h"
#include "warp/warp_image.h"

namespace velorin {
namespace {

// Vectors of `size` pixels of the flow that turn within `length` of them; long ones fold the mesh.
std::shared_ptr<ZPImage> DrawWaves(float size, float length, int width = kFlowWidth,
                                   int height = kFlowHeight) {
    auto flow = std::make_shared<ZPImage>(width, height, 2, ZPPixFloat, 0);
    for (int y = 0; y < height; ++y) {
        float* vector = flow->Row<float>(y);
        for (int x = 0; x < width; ++x, vector += 2) {
            vector[0] = size * std::sin(static_cast<float>(x) * 6.2832f / length);
            vector[1] = size * std::cos(static_cast<float>(y) * 6.2832f / length);
        }
    }
    return flow;
}

Operation PrepareWarp(int pixelType, bool withCoverage) {
    const ZPImage& source = DrawnFrame(pixelType, 0);
    const auto dest = CreateCopy(source);
    const auto flow = DrawWaves(5.0f, 1000.0f);
    std::shared_ptr<ZPImage> coverage;
    if (withCoverage) {
        coverage = std::make_shared<ZPImage>(kFrameWidth, kFrameHeight, 1, ZPPixUChar, 0);
    }
    const int extendEdges = withCoverage ? 0 : 1;
    return {
        CountPixels(source),
        [=, &source] { ZPInverseWarp(*dest, source, *flow, extendEdges, coverage.get(), 1, 0.5f); },
        {}};
}

Operation PrepareBlend(int pixelType) {
    const ZPImage& first = DrawnFrame(pixelType, 0);
    const ZPImage& second = DrawnFrame(pixelType, 1);
    const auto dest = CreateCopy(first);
    return {
        CountPixels(first), [=, &first, &second] { ZPBlendTwo(*dest, first, second, 0.25f); }, {}};
}

Operation PrepareForward(int pixelType, float size, float length) {
    const ZPImage& source = DrawnFrame(pixelType, 0);
    const auto dest = CreateCopy(source);
    const auto flow = DrawWaves(size, length);
    // Else a flow of zeros would be a copy.
    flow->Row<float>(0)[0] = 0.001f;
    const auto coverage = std::make_shared<ZPImage>(kFrameWidth, kFrameHeight, 1, ZPPixUChar, 0);
    return {CountPixels(source),
            [=, &source] {
                ZPWarpImage(*dest, source, *flow, 1, 1, 1, 0.5f, 1, 1, 1, 1, nullptr,
                            coverage.get(), 1, 1, nullptr);
            },
            {}};
}

void TimeForward(int pixelType) {
    const std::string form = TypeName(pixelType) + std::string(" x 4");
    for (const auto& [name, size, length] : {std::tuple{"no motion", 0.0f, 1000.0f},
                                             {"smooth flow", 5.0f, 1000.0f},
                                             {"folded flow", 40.0f, 120.0f}}) {
        Time("warp: ZPWarpImage, " + std::string(name) + ", " + form,
             [=, s = size, l = length] { return PrepareForward(pixelType, s, l); });
    }
}

// Of vectors at the frame's own size, as a host supplies them.
Operation PrepareReverse(float size, float length) {
    const auto flow = DrawWaves(size, length, kFrameWidth, kFrameHeight);
    const auto reverse = CreateCopy(*flow);
    const auto holes = std::make_shared<ZPImage>(kFrameWidth, kFrameHeight, 1, ZPPixUChar, 0);
    return {CountPixels(*flow), [=] { ZPInvertFlow(*reverse, *flow, *holes, nullptr); }, {}};
}

void TimeReverse() {
    for (const auto& [name, size, length] : {std::tuple{"no motion", 0.0f, 1000.0f},
                                             {"smooth flow", 5.0f, 1000.0f},
                                             {"folded flow", 40.0f, 120.0f}}) {
        Time("warp: ZPInvertFlow, " + std::string(name),
             [s = size, l = length] { return PrepareReverse(s, l); });
    }
}

Operation PrepareBlendInPlace() {
    const ZPImage& first = DrawnFrame(ZPPixUChar, 0);
    const ZPImage& second = DrawnFrame(ZPPixUChar, 1);
    const auto target = CreateCopy(first);
    return {CountPixels(first), [=, &second] { ZPBlend(*target, second, 0.25f); }, {}};
}

// One channel of bytes: `value` in discs that cover about `percent` of the frame, else 255 - value.
std::shared_ptr<ZPImage> DrawDiscs(int percent, int value) {
    auto discs = std::make_shared<ZPImage>(kFrameWidth, kFrameHeight, 1, ZPPixUChar, 0);
    FillColor(*discs, static_cast<float>(255 - value) / 255.0f, 0, 0, 0);
    Noise noise(5);
    const int wanted = kFrameWidth * (kFrameHeight / 100) * percent;
    for (int covered = 0; covered < wanted;) {
        const int radius = noise.Int(2, 24);
        const int centerX = noise.Int(radius, kFrameWidth - 1 - radius);
        const int centerY = noise.Int(radius, kFrameHeight - 1 - radius);
        for (int y = -radius; y <= radius; ++y) {
            std::uint8_t* row = discs->Row<std::uint8_t>(centerY + y) + centerX;
            for (int x = -radius; x <= radius; ++x) {
                if (x * x + y * y > radius * radius || row[x] == value) continue;
                row[x] = static_cast<std::uint8_t>(value);
                ++covered;
            }
        }
    }
    return discs;
}

// A twentieth of each picture is a hole.
Operation PrepareCoverageBlend(bool inYCbCr) {
    const auto first = CreateCopy(DrawnFrame(ZPPixUChar, 0));
    const auto second = CreateCopy(DrawnFrame(ZPPixUChar, 1));
    const auto dest = CreateCopy(*first);
    const auto coverage = DrawDiscs(5, 0);
    const int matte = inYCbCr ? 0 : 3;
    for (int y = 0; y < kFrameHeight; ++y) {
        for (int x = 0; x < kFrameWidth; ++x) {
            const std::uint8_t covered = coverage->Row<std::uint8_t>(y)[x];
            first->Row<std::uint8_t>(y)[4 * x + matte] = covered;
            second->Row<std::uint8_t>(kFrameHeight - 1 - y)[4 * x + matte] = covered;
        }
    }
    const auto blend = inYCbCr ? ZPBlendCoverageYCbCr : ZPBlendCoverage;
    return {CountPixels(*first),
            [=] { blend(*dest, *first, *second, *coverage, *coverage, 0.25f); },
            {}};
}

Operation PrepareChangeMatte() {
    const ZPImage& first = DrawnFrame(ZPPixUChar, 0);
    const ZPImage& second = DrawnFrame(ZPPixUChar, 1);
    const auto matte = DrawDiscs(0, 0);
    return {CountPixels(first),
            [=, &first, &second] { ZPChangeMatte(*matte, first, second, 0.4f, 1); },
            {}};
}

// Noise: every pixel is mixed.
Operation PrepareMatteMix() {
    const ZPImage& other = DrawnFrame(ZPPixUChar, 1);
    const auto target = CreateCopy(DrawnFrame(ZPPixUChar, 0));
    const auto matte = CreateNoise(kFrameWidth, kFrameHeight, 1, ZPPixUChar);
    return {CountPixels(other), [=, &other] { ZPMatteMix(*target, other, *matte); }, {}};
}

Operation PrepareVoronoi(int percent) {
    const auto image = CreateCopy(DrawnFrame(ZPPixUChar, 0));
    const auto marks = DrawDiscs(percent, 255);
    return {CountPixels(*image), [=] { ZPVoronoiFill(*image, *marks); }, {}};
}

void TimeBlends() {
    Time("warp: ZPBlend, 8-bit x 4", PrepareBlendInPlace);
    Time("warp: ZPBlendCoverage, 8-bit x 4", [] { return PrepareCoverageBlend(false); });
    Time("warp: ZPBlendCoverageYCbCr, 8-bit x 4", [] { return PrepareCoverageBlend(true); });
    Time("warp: ZPChangeMatte, 8-bit x 4", PrepareChangeMatte);
    Time("warp: ZPMatteMix, 8-bit x 4", PrepareMatteMix);
    for (int percent : {0, 5, 50}) {
        Time("warp: ZPVoronoiFill, 8-bit x 4, " + std::to_string(percent) + " % holes",
             [percent] { return PrepareVoronoi(percent); });
    }
}

bool Register() {
    for (int type : {ZPPixUChar, ZPPixFloat}) TimeForward(type);
    TimeReverse();
    TimeBlends();
    for (int type : {ZPPixUChar, ZPPixUShort, ZPPixFloat}) {
        const std::string form = TypeName(type) + std::string(" x 4");
        Time("warp: ZPInverseWarp, " + form, [type] { return PrepareWarp(type, false); });
        Time("warp: ZPInverseWarp with coverage, " + form,
             [type] { return PrepareWarp(type, true); });
        Time("warp: ZPBlendTwo, " + form, [type] { return PrepareBlend(type); });
    }
    return true;
}

const bool kRegistered = Register();

}  // namespace
}  // namespace velorin
