#include <OpenImageIO/imageio.h>

#include "cli/retime.h"
#include "media/clips.h"

namespace velorin {
namespace {

// Halves from -0.1 to 8 with alpha, in windows that neither hold nor fill each other.
void WriteFilm(const std::string& name, int frame) {
    OIIO::ImageSpec layout(41, 30, 4, OIIO::TypeDesc::HALF);
    layout.x = -5 + frame;
    layout.y = -3;
    layout.full_x = 2;
    layout.full_y = 1;
    layout.full_width = 50;
    layout.full_height = 24;
    const std::uint32_t code[2] = {0x10000023, 0};
    const int rate[2] = {24, 1};
    layout.attribute("smpte:TimeCode", OIIO::TypeTimeCode, code);
    layout.attribute("FramesPerSecond", OIIO::TypeRational, rate);
    layout.attribute("shot", frame);
    const auto values = Noise(static_cast<unsigned>(frame + 1)).Floats(41 * 30 * 4, -0.1f, 8.0f);
    const auto output = OIIO::ImageOutput::create(name);
    ASSERT_TRUE(output && output->open(name, layout));
    ASSERT_TRUE(output->write_image(OIIO::TypeDesc::FLOAT, values.data()));
    ASSERT_TRUE(output->close());
}

void RunRetime(const std::string& in, const std::string& out, const char* speed,
               const char* frames) {
    const char* words[] = {in.c_str(), "-o",        out.c_str(), "--speed", speed,   "--frames",
                           frames,     "--quality", "full",      "--warp",  "smart", "--quiet"};
    const auto options = ParseOptions(kVerbRetime, std::size(words), words);
    ASSERT_EQ(Retime(options.value()), 0);
}

struct Still {
    OIIO::ImageSpec header;
    std::vector<float> samples;
    explicit Still(const std::string& name) {
        const auto input = OIIO::ImageInput::open(name);
        header = input->spec();
        samples.resize(header.image_pixels() * header.nchannels);
        EXPECT_TRUE(input->read_image(0, 0, 0, -1, OIIO::TypeDesc::FLOAT, samples.data()));
    }
};

TEST(Film, AnExrGoesThroughARunUnchanged) {
    const TemporaryFolder folder;
    for (int frame : {0, 1, 2}) {
        WriteFilm(folder / ("in." + std::to_string(frame) + ".exr"), frame);
    }
    RunRetime(folder / "in.%d.exr", folder / "out.%d.exr", "1", "0-2");
    RunRetime(folder / "in.%d.exr", folder / "slow.%d.exr", "0.5", "1-2");
    for (int frame : {0, 1, 2}) {
        const std::string number = "." + std::to_string(frame) + ".exr";
        const Still before(folder / ("in" + number)), after(folder / ("out" + number));
        EXPECT_EQ(after.header.roi(), before.header.roi());
        EXPECT_EQ(after.header.roi_full(), before.header.roi_full());
        EXPECT_EQ(after.samples, before.samples);
        EXPECT_EQ(after.header.get_int_attribute("shot"), frame);
    }
    // A computed frame covers both of its neighbours; one on a source frame is that one.
    const Still computed(folder / "slow.1.exr"), same(folder / "slow.2.exr");
    EXPECT_LE(computed.header.x, -5);
    EXPECT_GE(computed.header.x + computed.header.width, 37);
    EXPECT_EQ(computed.header.get_int_attribute("shot"), 0);
    EXPECT_EQ(same.header.get_int_attribute("shot"), 1);
    EXPECT_EQ(same.header.x, -4);
    EXPECT_EQ(same.header["smpte:TimeCode"].get<std::string>(), "10:00:01:01");
    EXPECT_GT(*std::max_element(computed.samples.begin(), computed.samples.end()), 2.0f);
}

}  // namespace
}  // namespace velorin
