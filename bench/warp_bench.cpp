#include <cmath>

#include "bench/timing.h"
#include "warp/blend.h"
#include "warp/inverse_warp.h"
#include "warp/warp_image.h"

namespace velorin {
namespace {

// Vectors of `size` pixels of the flow that turn within `length` of them; long ones fold the mesh.
std::shared_ptr<ZPImage> DrawWaves(float size, float length) {
    auto flow = std::make_shared<ZPImage>(kFlowWidth, kFlowHeight, 2, ZPPixFloat, 0);
    for (int y = 0; y < kFlowHeight; ++y) {
        float* vector = flow->Row<float>(y);
        for (int x = 0; x < kFlowWidth; ++x, vector += 2) {
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

bool Register() {
    for (int type : {ZPPixUChar, ZPPixFloat}) TimeForward(type);
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
