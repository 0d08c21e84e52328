#include "media/movie_pixels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace velorin {
namespace {

AvFrame MakeVideo(AVPixelFormat format, int width, int height) {
    AvFrame frame = MakeFrame();
    frame->format = format;
    frame->width = width;
    frame->height = height;
    EXPECT_EQ(av_frame_get_buffer(frame.get(), 0), 0);
    return frame;
}

// Red, green, blue of one Y'CbCr colour, each 0 to 1 in and out, by the textbook: `red` and `blue`
// are the matrix's shares of luma.
struct Rgb {
    double r, g, b;
};
Rgb PlainRgb(double y, double cb, double cr, double red, double blue) {
    const double r = y + 2.0 * (1.0 - red) * cr;
    const double b = y + 2.0 * (1.0 - blue) * cb;
    return {r, (y - red * r - blue * b) / (1.0 - red - blue), b};
}

TEST(MoviePixels, MatrixAndRangeAreTheStreamsOwn) {
    constexpr double kRed601 = 0.299, kBlue601 = 0.114;
    constexpr double kRed709 = 0.2126, kBlue709 = 0.0722;
    constexpr double kRed2020 = 0.2627, kBlue2020 = 0.0593;
    struct Case {
        AVColorSpace matrix;
        bool full;
        int height;
        double red, blue;
    };
    const Case cases[] = {
        {AVCOL_SPC_UNSPECIFIED, false, 576, kRed601, kBlue601},
        {AVCOL_SPC_UNSPECIFIED, false, 720, kRed709, kBlue709},
        {AVCOL_SPC_SMPTE170M, false, 720, kRed601, kBlue601},
        {AVCOL_SPC_BT709, false, 64, kRed709, kBlue709},
        {AVCOL_SPC_BT709, true, 64, kRed709, kBlue709},
        {AVCOL_SPC_BT2020_NCL, false, 64, kRed2020, kBlue2020},
    };
    for (const Case& c : cases) {
        for (const AVPixelFormat format : {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV422P10}) {
            const bool deep = format == AV_PIX_FMT_YUV422P10;
            SCOPED_TRACE(std::to_string(c.matrix) + (c.full ? " full " : " ") +
                         std::to_string(c.height) + (deep ? " deep" : ""));
            const AvFrame frame = MakeVideo(format, 32, c.height);
            frame->colorspace = c.matrix;
            frame->color_range = c.full ? AVCOL_RANGE_JPEG : AVCOL_RANGE_UNSPECIFIED;
            const int stored[3] = {100, 140, 160};  // in 8 bits
            for (int plane = 0; plane < 3; ++plane) {
                const int rows = plane > 0 && !deep ? c.height / 2 : c.height;
                const int bytes = frame->linesize[plane] * rows;
                if (deep) {
                    std::fill_n(reinterpret_cast<std::uint16_t*>(frame->data[plane]), bytes / 2,
                                static_cast<std::uint16_t>(stored[plane] * 4));
                } else {
                    std::memset(frame->data[plane], stored[plane], bytes);
                }
            }
            Picture picture;
            PixelConverter().ToPicture(*frame, {}, picture);
            ASSERT_EQ(picture.pixelType, deep ? ZPPixUShort : ZPPixUChar);
            const double luma = c.full ? 255.0 : 219.0;
            const double chroma = c.full ? 255.0 : 224.0;
            // Full range goes up to the format's last code: 1023, not 4 times 255.
            const double stretch = c.full && deep ? 1020.0 / 1023.0 : 1.0;
            const double foot = c.full ? 0.0 : 16.0;
            const Rgb wanted = PlainRgb((100.0 - foot) / luma * stretch, 12.0 / chroma * stretch,
                                        32.0 / chroma * stretch, c.red, c.blue);
            const double white = deep ? 65535.0 : 255.0;
            const auto at = [&](int channel) -> double {
                const std::size_t i = (c.height / 2 * 32 + 16) * 4 + channel;
                const std::byte* bytes = picture.pixels.data();
                return deep ? reinterpret_cast<const std::uint16_t*>(bytes)[i]
                            : std::to_integer<int>(bytes[i]);
            };
            EXPECT_NEAR(at(0), wanted.r * white, 1.0);
            EXPECT_NEAR(at(1), wanted.g * white, 1.0);
            EXPECT_NEAR(at(2), wanted.b * white, 1.0);
            EXPECT_EQ(at(3), white);
        }
    }
}

TEST(MoviePixels, RgbOfEveryDepthIsExact) {
    PixelConverter converter;
    const auto expectPixels = [&](const AvFrame& frame, const auto& wanted) {
        Picture picture;
        converter.ToPicture(*frame, {}, picture);
        ASSERT_EQ(picture.pixels.size(), sizeof wanted);
        EXPECT_EQ(std::memcmp(picture.pixels.data(), wanted, sizeof wanted), 0);
    };
    // Ten bits are stretched to 65535: 1023 is white, 512 is 512 * 65535 / 1023, rounded.
    AvFrame frame = MakeVideo(AV_PIX_FMT_GBRP10, 3, 1);
    const std::uint16_t greenBlueRed[3][3] = {{0, 512, 1023}, {1, 2, 3}, {1023, 0, 1}};
    for (int plane = 0; plane < 3; ++plane) std::memcpy(frame->data[plane], greenBlueRed[plane], 6);
    const std::uint16_t stretched[] = {65535, 0,     64, 65535, 0,   32800,
                                       128,   65535, 64, 65535, 192, 65535};
    expectPixels(frame, stretched);

    // Bytes the other way round.
    frame = MakeVideo(AV_PIX_FMT_RGBA64BE, 1, 1);
    const std::uint8_t big[] = {1, 2, 3, 4, 5, 6, 7, 8};
    std::memcpy(frame->data[0], big, 8);
    const std::uint16_t swapped[] = {0x0102, 0x0304, 0x0506, 0x0708};
    expectPixels(frame, swapped);

    // The alpha may come first.
    frame = MakeVideo(AV_PIX_FMT_ARGB, 1, 1);
    std::memcpy(frame->data[0], big, 4);
    const std::uint8_t ordered[] = {2, 3, 4, 1};
    expectPixels(frame, ordered);
}

}  // namespace
}  // namespace velorin
