#include "engine/layer_images.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "image/copy.h"
#include "support/noise.h"
#include "support/stderr_text.h"

namespace velorin {
namespace {

// An image of one row.
template <typename Value>
std::unique_ptr<ZPImage> Row(int channels, std::initializer_list<Value> values) {
    const int width = static_cast<int>(values.size()) / channels;
    auto image = std::make_unique<ZPImage>(width, 1, channels, PictureType<Value>::kPixelType, 0);
    std::copy(values.begin(), values.end(), image->template Row<Value>(0));
    return image;
}

template <typename Value>
void ExpectCut(int channels, std::initializer_list<Value> source,
               std::initializer_list<Value> matte, std::initializer_list<Value> expected) {
    const auto dest = Row<Value>(4, expected);
    const auto wanted = Row<Value>(4, expected);
    ClearImage(dest.get());
    MultiplyByMatte(*dest, *Row<Value>(channels, source), *Row<Value>(1, matte));
    EXPECT_SAME_IMAGE(*dest, *wanted);
}

TEST(LayerImages, APictureIsCutOutByItsMatte) {
    // 200 * 128 / 255 is 100.39; without alpha the matte itself becomes it.
    ExpectCut<std::uint8_t>(3, {200, 255, 1, 9, 8, 7}, {128, 255},
                            {100, 128, 1, 128, 9, 8, 7, 255});
    ExpectCut<std::uint8_t>(4, {200, 255, 1, 255, 9, 8, 7, 100}, {128, 0},
                            {100, 128, 1, 128, 0, 0, 0, 0});
    ExpectCut<std::uint16_t>(4, {65535, 40000, 3, 65535}, {32768}, {32768, 20000, 2, 32768});
    ExpectCut<float>(4, {-2.0f, 0.5f, 30.0f, 1.0f}, {0.25f}, {-0.5f, 0.125f, 7.5f, 0.25f});
    ExpectCut<float>(3, {-2.0f, 0.5f, 30.0f}, {1.5f}, {-3.0f, 0.75f, 45.0f, 1.5f});
    const auto dest = Row<std::uint8_t>(4, {1, 2, 3, 4});
    for (const auto& [channels, matteChannels] : {std::pair{1, 1}, {2, 1}, {4, 2}}) {
        const ZPImage source(1, 1, channels, ZPPixUChar, 0), matte(1, 1, matteChannels, 0, 0);
        EXPECT_THROW(MultiplyByMatte(*dest, source, matte), ZPErr);
    }
}

TEST(LayerImages, MattesAreSubtractedAndPunched) {
    const auto bytes = Row<std::uint8_t>(1, {200, 100, 7});
    Subtract1Channel(*bytes, *Row<std::uint8_t>(1, {50, 101, 7}));
    EXPECT_SAME_IMAGE(*bytes, *Row<std::uint8_t>(1, {150, 0, 0}));
    const auto floats = Row<float>(1, {0.75f, 0.25f});
    Subtract1Channel(*floats, *Row<float>(1, {0.5f, 0.5f}));
    EXPECT_SAME_IMAGE(*floats, *Row<float>(1, {0.25f, 0.0f}));

    const auto punched = Row<std::uint8_t>(1, {255, 200, 9, 9});
    RenderBlackMatte(*punched, *Row<float>(1, {0.5f, 0.25f, 0.0f, 1.0f}));
    EXPECT_SAME_IMAGE(*punched, *Row<std::uint8_t>(1, {128, 150, 9, 0}));
    const auto limited = Row<float>(1, {1.0f, 1.0f});
    RenderBlackMatte(*limited, *Row<float>(1, {-1.0f, 2.0f}));
    EXPECT_SAME_IMAGE(*limited, *Row<float>(1, {1.0f, 0.0f}));

    const auto kept = Row<std::uint8_t>(1, {255, 200});
    EXPECT_EQ(StderrOf([&] {
                  Subtract1Channel(*kept, *Row<float>(1, {1.0f, 1.0f}));
              }),
              "error in image types for Subtract1Channel\n");
    EXPECT_EQ(StderrOf([&] {
                  RenderBlackMatte(*kept, *Row<std::uint8_t>(1, {1, 1}));
              }),
              "error in image types for RenderBlackMatte\n");
    EXPECT_SAME_IMAGE(*kept, *Row<std::uint8_t>(1, {255, 200}));
}

TEST(LayerImages, TheBackgroundTakesTheAlphaOfItsFrame) {
    const auto matte = Row<std::uint8_t>(1, {10, 20});
    const LayerMattes mattes{matte.get()};
    const auto dest = Row<std::uint8_t>(1, {0, 0});
    const auto frame = Row<std::uint8_t>(4, {1, 2, 3, 40, 5, 6, 7, 80});
    LayerMatte(*dest, mattes, 0, 2, frame.get());
    EXPECT_SAME_IMAGE(*dest, *matte);
    LayerMatte(*dest, mattes, 1, 2, frame.get());
    EXPECT_SAME_IMAGE(*dest, *Row<std::uint8_t>(1, {40, 80}));
    const auto opaque = Row<std::uint8_t>(3, {1, 2, 3, 5, 6, 7});
    for (const ZPImage* fallback : {opaque.get(), static_cast<ZPImage*>(nullptr)}) {
        LayerMatte(*dest, mattes, 1, 2, fallback);
        EXPECT_SAME_IMAGE(*dest, *Row<std::uint8_t>(1, {255, 255}));
    }
}

}  // namespace
}  // namespace velorin
