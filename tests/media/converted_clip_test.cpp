#include "media/converted_clip.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

namespace velorin {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

TEST(ConvertedClip, CarriesSamplesOverByWhitePointsAndLevels) {
    using Levels = std::optional<MatteLevels>;
    const Levels none;
    const Levels video = MatteLevels{16.0f, 235.0f};
    struct Case {
        int from, to;
        Levels levels;
        float sample, converted;
    };
    for (const Case& c : {Case{ZPPixUChar, ZPPixUShort, none, 200.0f, 51400.0f},
                          {ZPPixUChar, ZPPixFloat, none, 255.0f, 1.0f},
                          {ZPPixUShort, ZPPixUChar, none, 33024.0f, 128.0f},
                          {ZPPixUShort, ZPPixUChar, none, 33025.0f, 129.0f},
                          {ZPPixUShort, ZPPixFloat, none, 65535.0f, 1.0f},
                          {ZPPixFloat, ZPPixUChar, none, 0.5f, 128.0f},
                          {ZPPixFloat, ZPPixUShort, none, 7.0f, 65535.0f},
                          {ZPPixFloat, ZPPixFloat, none, 0.3f, 0.3f},
                          {ZPPixFloat, ZPPixFloat, none, 1.5f, 1.0f},
                          {ZPPixFloat, ZPPixFloat, none, -0.5f, 0.0f},
                          {ZPPixFloat, ZPPixFloat, none, kNan, 0.0f},
                          {ZPPixUChar, ZPPixUChar, video, 16.0f, 0.0f},
                          {ZPPixUChar, ZPPixUChar, video, 126.0f, 128.0f},
                          {ZPPixUChar, ZPPixUChar, video, 255.0f, 255.0f},
                          {ZPPixUChar, ZPPixFloat, video, 235.0f, 1.0f},
                          {ZPPixUShort, ZPPixUChar, MatteLevels{0.0f, 65280.0f}, 65280.0f, 255.0f},
                          {ZPPixFloat, ZPPixUShort, MatteLevels{-1.0f, 1.0f}, 0.0f, 32768.0f}}) {
        EXPECT_EQ(ConvertMatteSample(c.sample, c.from, c.to, c.levels), c.converted)
            << c.sample << " from " << c.from << " to " << c.to;
    }
    for (int value = 0; value <= 65535; ++value) {
        const auto sample = static_cast<float>(value);
        ASSERT_EQ(ConvertMatteSample(sample, ZPPixUShort, ZPPixUShort, none), sample);
        if (value > 255) continue;
        ASSERT_EQ(ConvertMatteSample(sample, ZPPixUChar, ZPPixUChar, none), sample);
        ASSERT_EQ(ConvertMatteSample(sample, ZPPixUChar, ZPPixUChar, MatteLevels{0.0f, 255.0f}),
                  sample);
    }
}

// Two pixels of 8 bits.
class TwoPixels final : public ClipReader {
  public:
    const ClipInfo& Info() const override { return info; }
    void Read(std::int64_t, Picture& picture) override {
        constexpr unsigned char kPixels[] = {10, 20, 30, 255, 40, 50, 60, 0};
        picture.SetShape(2, 1, ZPPixUChar);
        std::memcpy(picture.pixels.data(), kPixels, sizeof kPixels);
    }

  private:
    ClipInfo info;
};

std::vector<int> WordsOf(ClipReader& clip, int channels) {
    Picture picture;
    clip.Read(0, picture);
    EXPECT_EQ(picture.channels, channels);
    const auto* words = reinterpret_cast<const std::uint16_t*>(picture.pixels.data());
    return {words, words + picture.pixels.size() / 2};
}

TEST(ConvertedClip, TakesTheChosenChannelOrAllFour) {
    for (int channel = 0; channel < 3; ++channel) {
        const auto matte = ReadAsMatte(std::make_unique<TwoPixels>(), {channel, {}}, ZPPixUShort);
        const int first = 2570 * (channel + 1);
        EXPECT_EQ(WordsOf(*matte, 1), std::vector<int>({first, first + 7710}));
        Picture picture;
        TwoPixels().Read(0, picture);
        const ValueRange range = RangeOf(picture, channel);
        EXPECT_EQ(range.least, 10.0f * (channel + 1));
        EXPECT_EQ(range.greatest, range.least + 30.0f);
    }
    const auto whole = ReadAsType(std::make_unique<TwoPixels>(), ZPPixUShort);
    EXPECT_EQ(WordsOf(*whole, 4),
              std::vector<int>({2570, 5140, 7710, 65535, 10280, 12850, 15420, 0}));
}

}  // namespace
}  // namespace velorin
