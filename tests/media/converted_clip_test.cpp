#include "media/converted_clip.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

namespace velorin {
namespace {

TEST(ConvertedClip, CarriesSamplesOverByWhitePointsAndLevels) {
    constexpr int kByte = ZPPixUChar, kWord = ZPPixUShort, kReal = ZPPixFloat;
    using Levels = std::optional<MatteLevels>;
    const Levels none, video = MatteLevels{16.0f, 235.0f}, wide = MatteLevels{-1.0f, 1.0f};
    struct Case {
        int from, to;
        Levels levels;
        float sample, converted;
    };
    for (const Case& c : {Case{kByte, kWord, none, 200.0f, 51400.0f},
                          {kByte, kReal, none, 255.0f, 1.0f},
                          {kWord, kByte, none, 33024.0f, 128.0f},
                          {kWord, kByte, none, 33025.0f, 129.0f},
                          {kWord, kReal, none, 65535.0f, 1.0f},
                          {kReal, kByte, none, 0.5f, 128.0f},
                          {kReal, kWord, none, 7.0f, 65535.0f},
                          {kReal, kReal, none, 0.3f, 0.3f},
                          {kReal, kReal, none, 1.5f, 1.5f},
                          {kReal, kReal, none, -0.5f, -0.5f},
                          {kReal, kByte, none, std::numeric_limits<float>::quiet_NaN(), 0.0f},
                          {kReal, kReal, wide, 1.5f, 1.0f},
                          {kByte, kByte, video, 16.0f, 0.0f},
                          {kByte, kByte, video, 126.0f, 128.0f},
                          {kByte, kByte, video, 255.0f, 255.0f},
                          {kByte, kReal, video, 235.0f, 1.0f},
                          {kReal, kWord, wide, 0.0f, 32768.0f}}) {
        EXPECT_EQ(ConvertMatteSample(c.sample, c.from, c.to, c.levels), c.converted)
            << c.sample << " from " << c.from << " to " << c.to;
    }
    for (int value = 0; value <= 65535; ++value) {
        const auto sample = static_cast<float>(value);
        ASSERT_EQ(ConvertMatteSample(sample, kWord, kWord, none), sample);
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

std::vector<int> WordsOf(const std::unique_ptr<ClipReader>& clip) {
    Picture picture;
    clip->Read(0, picture);
    const auto* words = reinterpret_cast<const std::uint16_t*>(picture.pixels.data());
    return {words, words + 2 * picture.channels};
}

TEST(ConvertedClip, TakesTheChosenChannelOrAllFour) {
    const auto clip = [] { return std::make_unique<TwoPixels>(); };
    EXPECT_EQ(WordsOf(ReadAsMatte(clip(), {0, {}}, ZPPixUShort)), std::vector({2570, 10280}));
    EXPECT_EQ(WordsOf(ReadAsMatte(clip(), {2, {}}, ZPPixUShort)), std::vector({7710, 15420}));
    EXPECT_EQ(WordsOf(ReadAsType(clip(), ZPPixUShort)),
              std::vector({2570, 5140, 7710, 65535, 10280, 12850, 15420, 0}));
}

}  // namespace
}  // namespace velorin
