#include "cli/motion_transfer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "cli/frame_renderer.h"
#include "cli/layer_clips.h"
#include "media/clips.h"

namespace velorin {
namespace {

constexpr int kWidth = 256;
constexpr int kHeight = 144;
constexpr float kWayOfWall = 4.0f;  // pixels to the right from frame 0 to frame 1
constexpr float kWayOfLamps = -3.0f;
constexpr float kLamp = 8.0f;

// A night street: a dim wall with a pattern, and before it lamps that move the other way. `time` 0
// is frame 0, 1 is frame 1.
float Wall(float x, float y) {
    const float pattern = std::sin(x * 0.11f + 2.0f * std::sin(y * 0.07f)) +
                          std::sin(y * 0.13f + 2.0f * std::sin(x * 0.05f)) +
                          0.7f * std::sin(x * 0.37f + y * 0.21f) +
                          0.7f * std::sin(y * 0.41f - x * 0.29f);
    return 0.042f + 0.012f * pattern;
}

// How much of a lamp covers the place, 0 to 1.
float Cover(float x, float y, float time) {
    float cover = 0.0f;
    for (const auto& [cx, cy] : {std::pair{54.0f, 50.0f}, {134.0f, 88.0f}, {196.0f, 46.0f}}) {
        const float dx = x - cx - kWayOfLamps * (time - 0.5f);
        cover = std::max(cover, std::clamp(6.0f - std::hypot(dx, y - cy), 0.0f, 1.0f));
    }
    return cover;
}

float Light(int x, int y, float time) {
    const auto fx = static_cast<float>(x);
    const auto fy = static_cast<float>(y);
    const float cover = Cover(fx, fy, time);
    return Wall(fx - kWayOfWall * (time - 0.5f), fy) * (1.0f - cover) + kLamp * cover;
}

// Away from the lamps and from the borders.
bool IsWall(int x, int y) {
    if (x < 16 || y < 10 || x >= kWidth - 16 || y >= kHeight - 10) return false;
    for (const int dx : {-8, -4, 0, 4, 8}) {
        if (Cover(static_cast<float>(x + dx), static_cast<float>(y), 0.5f) > 0.0f) return false;
    }
    return true;
}

class StreetClip final : public ClipReader {
  public:
    StreetClip() : info(SourceInfo(kWidth, kHeight, 3, SampleDepth::kFloat)) {
        info.frames = 2;
        info.sceneLinear = true;
    }
    const ClipInfo& Info() const override { return info; }
    void Read(std::int64_t frame, Picture& picture) override {
        picture.SetShape(kWidth, kHeight, ZPPixFloat);
        auto* pixel = reinterpret_cast<float*>(picture.pixels.data());
        for (int i = 0; i < kWidth * kHeight; ++i, pixel += 4) {
            std::fill_n(pixel, 3, Light(i % kWidth, i / kWidth, static_cast<float>(frame)));
            pixel[3] = 1.0f;
        }
    }

  private:
    ClipInfo info;
};

// Bytes, each frame of which is the same.
class ByteClip final : public ClipReader {
  public:
    explicit ByteClip(Picture newPicture)
        : info(SourceInfo(kWidth, kHeight, 3, SampleDepth::kByte)), picture(std::move(newPicture)) {
        info.frames = 3;
    }
    const ClipInfo& Info() const override { return info; }
    void Read(std::int64_t, Picture& copy) override { copy = picture; }

  private:
    ClipInfo info;
    Picture picture;
};

// An output frame of noise behind a matte that is all but white.
Picture RenderForeground(std::vector<const char*> words, const char* transfer, std::int64_t frame) {
    words.insert(words.begin(), {"noise", "-o", "slow.%04d.png", "--matte", "matte", "--view",
                                 "foreground", "--motion-transfer", transfer});
    const Options options =
        ParseOptions(kVerbRetime, static_cast<int>(words.size()), words.data()).value();
    StartThreads(options);
    Picture matte = NoisePicture<std::uint8_t>(1, kWidth, kHeight, 3);
    std::ranges::fill(matte.pixels, std::byte{254});
    RunClips clips;
    clips.source = std::make_unique<ByteClip>(NoisePicture<std::uint8_t>(2, kWidth, kHeight, 3));
    clips.mattes.push_back(std::make_unique<ByteClip>(matte));
    const RunPlan plan = MakePlan(options, clips.source->Info());
    ProgressLine progress(ProgressStyle::kNone, true);
    return *FrameRenderer(options, plan, std::move(clips), {}).Render(frame, {}, progress);
}

struct Street {
    float motionError = 0.0f;   // mean distance from the wall's true motion, in pixels
    float pictureError = 0.0f;  // mean distance of the wall from its true picture, in tones
    Picture picture;            // half-way between the two frames
};

Street RenderStreet(const char* transfer) {
    const char* words[] = {"street",  "-o",        "slow.%04d.exr",
                           "--speed", "0.5",       "--motion-transfer",
                           transfer,  "--threads", "2"};
    const Options options = ParseOptions(kVerbRetime, std::size(words), words).value();
    StartThreads(options);
    RunClips clips;
    clips.source = std::make_unique<StreetClip>();
    const RunPlan plan = MakePlan(options, clips.source->Info());
    ProgressLine progress(ProgressStyle::kNone, true);
    FrameRenderer renderer(options, plan, std::move(clips), {});
    Street street;
    street.picture = *renderer.Render(1, {}, progress);
    const ZPImage& flow = *renderer.MeasureFlows(1, progress).value().forward;
    const auto* pixels = reinterpret_cast<const float*>(street.picture.pixels.data());
    const int step = kWidth / flow.width;
    float count = 0.0f;
    for (int i = 0; i < kWidth * kHeight; ++i) {
        const int x = i % kWidth;
        const int y = i / kWidth;
        if (!IsWall(x, y)) continue;
        const float* vector = flow.Row<float>((kHeight - 1 - y) / step) + x / step * 2;
        const auto scale = static_cast<float>(step);
        street.motionError += std::hypot(vector[0] * scale - kWayOfWall, vector[1] * scale);
        street.pictureError +=
            std::fabs(CompressedTone(pixels[i * 4]) - CompressedTone(Light(x, y, 0.5f)));
        ++count;
    }
    street.motionError /= count;
    street.pictureError /= count;
    return street;
}

// Measured: 4.15 pixels and 0.0060 tones without compression, 0.25 pixels and 0.00056 with it.
TEST(MotionTransfer, CompressedTonesFindTheMotionOfShadows) {
    const Street plain = RenderStreet("none");
    const Street compressed = RenderStreet("log");
    EXPECT_GT(plain.motionError, 2.0f);
    EXPECT_LT(compressed.motionError, 0.4f);
    EXPECT_LT(compressed.pictureError, plain.pictureError / 6.0f);
    EXPECT_TRUE(SamePixels(RenderStreet("auto").picture, compressed.picture));
    // The picture is the clip's own: the middle of a lamp is as bright as ever.
    const auto* pixels = reinterpret_cast<const float*>(compressed.picture.pixels.data());
    EXPECT_EQ(pixels[(88 * kWidth + 134) * 4], kLamp);
}

// Where nothing moves the engine lays a layer's later frame over its tracked one: where scenes say
// so, and in a first field that is a source frame's while the second one moves.
TEST(MotionTransfer, CompressedTonesAreNowhereInThePicture) {
    const std::vector<const char*> still{"--speed", "0.5", "--scenes", "0:blend"};
    EXPECT_TRUE(SamePixels(RenderForeground(still, "none", 1), RenderForeground(still, "log", 1)));
    const std::vector<const char*> fields{"--frame-curve", "0:0.998,1:1.398", "--output-fields",
                                          "upper"};
    const Picture plain = RenderForeground(fields, "none", 0);
    const Picture compressed = RenderForeground(fields, "log", 0);
    const auto line = [](const Picture& picture, int y) {
        return std::span(picture.pixels).subspan(y * picture.RowBytes(), picture.RowBytes());
    };
    for (int y = 0; y < kHeight; y += 2) {
        EXPECT_TRUE(std::ranges::equal(line(plain, y), line(compressed, y))) << "line " << y;
    }
}

TEST(MotionTransfer, TheCurveIsALogarithmMirroredAtZero) {
    for (float light = 1e-6f; light < 70000.0f; light *= 1.01f) {
        const double tone = std::log2(1.0 + 1023.0 / 16.0 * static_cast<double>(light)) / 10.0;
        EXPECT_NEAR(static_cast<double>(CompressedTone(light)), tone, 1e-9 + tone * 6e-8);
        EXPECT_EQ(CompressedTone(-light), -CompressedTone(light));
    }
    EXPECT_EQ(CompressedTone(16.0f), 1.0f);
    EXPECT_EQ(CompressedTone(0.0f), 0.0f);
    EXPECT_TRUE(std::isnan(CompressedTone(std::numeric_limits<float>::quiet_NaN())));
    EXPECT_GT(CompressedTone(std::numeric_limits<float>::infinity()), CompressedTone(65504.0f));
}

TEST(MotionTransfer, IntegersKeepBlackWhiteAndAlpha) {
    Picture picture;
    picture.SetShape(1, 1, ZPPixUShort);
    auto* pixel = reinterpret_cast<std::uint16_t*>(picture.pixels.data());
    const std::uint16_t stored[] = {0, 65535, 11796, 1234};  // 0.18 is 0.36 of 0.60
    std::copy_n(stored, 4, pixel);
    CompressTones(picture);
    EXPECT_EQ(pixel[0], 0);
    EXPECT_EQ(pixel[1], 65535);
    EXPECT_NEAR(pixel[2], 65535.0 * std::log2(12.508) / std::log2(64.9375), 3.0);
    EXPECT_EQ(pixel[3], 1234);
}

}  // namespace
}  // namespace velorin
