#include <cmath>

#include "bench/timing.h"
#include "filter/blur_along_flow.h"
#include "filter/convolve.h"
#include "filter/gaussian_blur.h"
#include "filter/resample.h"
#include "image/copy.h"

namespace velorin {
namespace {

// Filters an image in place, from noise each time: what is smooth already would not be typical.
template <typename Filter>
Operation InPlace(int channels, int pixelType, Filter filter) {
    const auto noise = CreateNoise(kFlowWidth, kFlowHeight, channels, pixelType);
    const auto image = CreateCopy(*noise);
    return {CountPixels(*image), [=] { filter(*image); },
            [=] { CopyExact(image.get(), noise.get()); }};
}

void TimeBlur(const std::string& radiusName, float radius, int channels, int pixelType) {
    const std::string form = TypeName(pixelType) + (" x " + std::to_string(channels));
    Time("filter: GaussianBlur, radius " + radiusName + ", " + form, [=] {
        return InPlace(channels, pixelType,
                       [radius](ZPImage& image) { GaussianBlur(image, 0, radius); });
    });
}

void TimeResample(const std::string& name, int fromWidth, int fromHeight, int toWidth,
                  int toHeight) {
    Time("filter: Resample, float x 1, " + name, [=] {
        const auto source = CreateNoise(fromWidth, fromHeight, 1, ZPPixFloat);
        const auto dest = std::make_shared<ZPImage>(toWidth, toHeight, 1, ZPPixFloat, 0);
        return Operation{CountPixels(*dest), [=] { Resample(*dest, *source); }, {}};
    });
}

// Vectors of one length, in pixels of the frame, that turn slowly over it.
Operation PrepareBlurAlongFlow(float length, int bilinear) {
    const ZPImage& source = DrawnFrame(ZPPixUChar, 0);
    const auto dest = CreateCopy(source);
    const auto flow = std::make_shared<ZPImage>(kFlowWidth, kFlowHeight, 2, ZPPixFloat, 0);
    for (int y = 0; y < kFlowHeight; ++y) {
        float* vector = flow->Row<float>(y);
        for (int x = 0; x < kFlowWidth; ++x, vector += 2) {
            const float angle = static_cast<float>(x + y) * 0.004f;
            vector[0] = 0.5f * length * std::cos(angle);
            vector[1] = 0.5f * length * std::sin(angle);
        }
    }
    return {CountPixels(source),
            [=, &source] {
                BlurAlongFlow(*dest, source, *flow, bilinear, nullptr, 0, 0, source.lastColumn, 0,
                              source.lastRow, 1.0f);
            },
            {}};
}

void TimeBlurAlongFlow(float length) {
    const std::string vectors = std::to_string(static_cast<int>(length)) + " px";
    for (int bilinear : {0, 1}) {
        const std::string samples = bilinear ? "bilinear, " : "nearest, ";
        Time("filter: BlurAlongFlow, " + samples + vectors + ", 8-bit x 4",
             [=] { return PrepareBlurAlongFlow(length, bilinear); });
    }
}

bool Register() {
    for (int channels = 1; channels <= 3; ++channels) {
        TimeBlur("7", 7.0f, channels, ZPPixFloat);
        TimeBlur("5", 5.0f, channels, ZPPixFloat);
        TimeBlur("1.95", 1.95f, channels, ZPPixFloat);
    }
    TimeBlur("7", 7.0f, 4, ZPPixUChar);
    Time("filter: SmoothBinomial, float x 1",
         [] { return InPlace(1, ZPPixFloat, [](ZPImage& image) { SmoothBinomial(image); }); });
    TimeResample("to half size", kFrameWidth, kFrameHeight, kFlowWidth, kFlowHeight);
    TimeResample("to double size", kFlowWidth, kFlowHeight, kFrameWidth, kFrameHeight);
    for (float length : {0.0f, 5.0f, 40.0f, 200.0f}) TimeBlurAlongFlow(length);
    return true;
}

const bool kRegistered = Register();

}  // namespace
}  // namespace velorin
