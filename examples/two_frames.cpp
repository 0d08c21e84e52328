// The smallest use of the engine without a host: two frames in memory, the picture half-way between
// them, printed as a portable pixmap on the standard output.
//
//   two_frames > half-way.ppm

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "engine/kq_velorin.h"
#include "engine/kq_velorin_internal.h"
#include "standalone/thread_pool.h"

using namespace velorin;

namespace {

constexpr int kWidth = 320;
constexpr int kHeight = 240;
constexpr int kRowBytes = kWidth * 4;
using Pixels = std::vector<std::uint8_t>;

// A soft ripple that moves by `shift` pixels to the right.
Pixels DrawFrame(float shift) {
    Pixels pixels;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const float fx = static_cast<float>(x) - shift;
            const float fy = static_cast<float>(y);
            const float wave =
                std::sin(fx * 0.21f) * std::cos(fy * 0.17f) + std::sin(fx * 0.057f + fy * 0.043f);
            const auto level = static_cast<std::uint8_t>(128.0f + 60.0f * wave);
            pixels.insert(pixels.end(), {level, level, level, 255});
        }
    }
    return pixels;
}

// Answers the engine's questions for a clip of two frames that is played at half speed.
class TwoFrames : public KQVelorin4 {
  public:
    TwoFrames() { internal = new KQVelorin4Internal; }

    int GetToBeWarpedSequenceImage(KQImage** out, int frame) override {
        // Frames count from the bottom line up, so a block with its top line first is wrapped with
        // row direction 0.
        Pixels& pixels = frame <= 0 ? first : second;
        *out = new KQImage;
        (*out)->CreateInternal();
        return (*out)->InitRGBA(pixels.data(), kWidth, kHeight, kRowBytes, 0, ZPPixUChar);
    }
    int GetTrackingSequenceImage(KQImage** out, int frame) override {
        return GetToBeWarpedSequenceImage(out, frame);
    }
    int CleanUpCheckedOutImage(KQImage* image) override {
        delete image;
        return 0;
    }
    int GetKeyframedTime(float* out, float outputTime) override {
        *out = outputTime * 0.5f;
        return 0;
    }
    int GetMatteLayerSequenceImage(KQImage**, int, int) override { return ZPErrBadArgument; }
    int CleanUpCheckedOutMatteImage(KQImage*) override { return 0; }
    int WhichScene(float) override { return 0; }
    int GetDrawStartLayer() override { return 0; }
    int GetDrawEndLayer() override { return 0; }
    int UsesWhichWarping() override { return 0; }
    int EnhanceImages() override { return 0; }

  private:
    Pixels first = DrawFrame(0.0f);
    Pixels second = DrawFrame(6.0f);
};

}  // namespace

int main() {
    UseThreads(AvailableProcessors());
    TwoFrames clip;
    Pixels result(static_cast<std::size_t>(kRowBytes) * kHeight);
    KQImage image;
    image.CreateInternal();
    image.InitRGBA(result.data(), kWidth, kHeight, kRowBytes, 0, ZPPixUChar);
    const int code = clip.RenderFrame(&image, nullptr, 0, 0, 4, 1.0f, 2.0f, 24.0f, 24.0f, 0.0f,
                                      0.7f, 1, 1, 1, 1, 0, nullptr, nullptr, nullptr, false);
    if (code != ZPErrNone) {
        std::fprintf(stderr, "two_frames: the engine answers %d\n", code);
        return 1;
    }
    std::printf("P6\n%d %d\n255\n", kWidth, kHeight);
    for (std::size_t i = 0; i < result.size(); i += 4) std::fwrite(&result[i], 1, 3, stdout);
    return 0;
}
