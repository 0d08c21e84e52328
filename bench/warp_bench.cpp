#include <cmath>

#include "bench/timing.h"
#include "warp/blend.h"
#include "warp/inverse_warp.h"

namespace velorin {
namespace {

// Vectors of up to five pixels that turn slowly over the picture.
std::shared_ptr<ZPImage> DrawFlow() {
    auto flow = std::make_shared<ZPImage>(kFlowWidth, kFlowHeight, 2, ZPPixFloat, 0);
    for (int y = 0; y < kFlowHeight; ++y) {
        float* vector = flow->Row<float>(y);
        for (int x = 0; x < kFlowWidth; ++x, vector += 2) {
            vector[0] = 5.0f * std::sin(static_cast<float>(x) * 0.006f);
            vector[1] = 5.0f * std::cos(static_cast<float>(y) * 0.011f);
        }
    }
    return flow;
}

Operation PrepareWarp(int pixelType, bool withCoverage) {
    const ZPImage& source = DrawnFrame(pixelType, 0);
    const auto dest = CreateCopy(source);
    const auto flow = DrawFlow();
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

bool Register() {
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
