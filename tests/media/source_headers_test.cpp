#include "media/source_headers.h"

#include <OpenImageIO/imageio.h>

#include <fstream>
#include <iterator>
#include <map>

#include "media/clips.h"
#include "media/timecode.h"

namespace velorin {
namespace {

constexpr std::uint32_t kCode = 0x01020321;  // 01:02:03:21

OIIO::ImageSpec HeaderOf(const std::string& name) {
    const auto input = OIIO::ImageInput::open(name);
    EXPECT_TRUE(input) << OIIO::geterror();
    return input ? input->spec() : OIIO::ImageSpec();
}

// The attributes as text, by name.
std::map<std::string, std::string> AttributesOf(const OIIO::ImageSpec& header) {
    std::map<std::string, std::string> texts;
    for (const OIIO::ParamValue& value : header.extra_attribs) {
        texts[value.name().string()] = value.get_string(100);
    }
    return texts;
}

void WriteStill(const std::string& name, const OIIO::ImageSpec& layout, unsigned seed = 1) {
    const std::vector<float> values =
        Noise(seed).Floats(static_cast<int>(layout.image_pixels()) * layout.nchannels, -0.1f, 8.0f);
    const auto output = OIIO::ImageOutput::create(name);
    ASSERT_TRUE(output && output->open(name, layout)) << OIIO::geterror();
    ASSERT_TRUE(output->write_image(OIIO::TypeDesc::FLOAT, values.data())) << output->geterror();
    ASSERT_TRUE(output->close());
}

// A film scan as an EXR: frames store more and less than is shown, each another part of it.
OIIO::ImageSpec FilmFrame(int frame) {
    OIIO::ImageSpec layout(31, 17 + frame, 4, OIIO::TypeDesc::HALF);
    layout.x = -7;
    layout.y = -5 - frame;
    layout.full_x = 3;
    layout.full_y = 2;
    layout.full_width = 40;
    layout.full_height = 12;
    layout.channelnames = {"beauty.R", "beauty.G", "beauty.B", "beauty.A"};
    const int rate[2] = {24000, 1001};
    const std::uint32_t code[2] = {kCode + static_cast<std::uint32_t>(frame), 77};
    const int key[7] = {1, 2, 3, 4, frame, 4, 64};
    const float primaries[8] = {0.7f, 0.3f, 0.1f, 0.8f, 0.1f, 0.0f, 0.32f, 0.33f};
    layout.attribute("FramesPerSecond", OIIO::TypeRational, rate);
    layout.attribute("smpte:TimeCode", OIIO::TypeTimeCode, code);
    layout.attribute("smpte:KeyCode", OIIO::TypeKeyCode, key);
    layout.attribute("chromaticities", OIIO::TypeDesc(OIIO::TypeDesc::FLOAT, 8), primaries);
    layout.attribute("compression", "piz");
    layout.attribute("DateTime", "2020:01:02 03:04:05");
    layout.attribute("Copyright", "the lab");
    layout.attribute("Software", "a scanner");
    layout.attribute("PixelAspectRatio", 1.3333334f);
    layout.attribute("take", frame);
    return layout;
}

// Writes and reads pictures as a run at `speed` halves of a frame a step does.
void PassThrough(const std::string& from, const std::string& to, int frames, int halves) {
    const auto clip = OpenClip(from);
    OutputSettings settings = SettingsFor(clip->Info());
    settings.madeOf = [halves](std::int64_t frame) {
        return SourceFrames{frame * halves / 2, (frame * halves + 1) / 2};
    };
    const auto writer = CreateClip(to, settings, {});
    for (int frame = 0; frame < frames; ++frame) {
        Picture picture;
        clip->Read(settings.madeOf(frame).earlier, picture);
        writer->Write(frame, picture);
    }
    writer->Finish();
}

std::string BytesOf(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<float> SamplesOf(const std::string& name) {
    const auto input = OIIO::ImageInput::open(name);
    std::vector<float> samples(input->spec().image_pixels() * input->spec().nchannels);
    EXPECT_TRUE(input->read_image(0, 0, 0, -1, OIIO::TypeDesc::FLOAT, samples.data()));
    return samples;
}

TEST(SourceHeaders, AnExrGoesThroughUnchanged) {
    const TemporaryFolder folder;
    for (int frame : {0, 1, 2}) {
        OIIO::ImageSpec layout = FilmFrame(frame);
        if (frame == 2) layout.attribute("compression", "dwab:80");
        layout.attribute("captureSHA1", "0123abcd");
        layout.attribute("velorin:settings", "of an earlier run");
        WriteStill(folder / ("in." + std::to_string(frame) + ".exr"), layout,
                   static_cast<unsigned>(frame + 1));
    }
    PassThrough(folder / "in.%d.exr", folder / "out.%d.exr", 3, 2);
    for (const char* number : {"0", "1", "2"}) {
        const std::string in = folder / ("in." + std::string(number) + ".exr");
        const std::string out = folder / ("out." + std::string(number) + ".exr");
        const OIIO::ImageSpec before = HeaderOf(in), after = HeaderOf(out);
        EXPECT_EQ(after.roi(), before.roi());
        EXPECT_EQ(after.roi_full(), before.roi_full());
        EXPECT_EQ(after.format, before.format);
        EXPECT_EQ(after.channelnames, before.channelnames);
        auto expected = AttributesOf(before);
        EXPECT_EQ(expected.erase("captureSHA1") + expected.erase("velorin:settings"), 2u);
        EXPECT_EQ(AttributesOf(after), expected);
        // Compressed once more with a loss, samples are no longer quite the same.
        if (*number != '2') {
            EXPECT_EQ(SamplesOf(out), SamplesOf(in));
        }
    }
}

// A frame between two others stores what either stores, and speaks for the earlier one. Time goes
// on from the first, over the second's end.
TEST(SourceHeaders, ComputedFramesFollowTheEarlierOne) {
    const TemporaryFolder folder;
    for (int frame : {0, 1, 2}) {
        WriteStill(folder / ("in." + std::to_string(frame) + ".exr"), FilmFrame(frame));
    }
    PassThrough(folder / "in.%d.exr", folder / "out.%d.exr", 4, 1);
    const OIIO::ImageSpec header = HeaderOf(folder / "out.3.exr");
    EXPECT_EQ(header.y, -7);
    EXPECT_EQ(header.height, 19);
    EXPECT_EQ(header.get_int_attribute("take"), 1);
    const auto* code = header.find_attribute("smpte:TimeCode", OIIO::TypeTimeCode);
    ASSERT_TRUE(code);
    EXPECT_EQ(static_cast<const std::uint32_t*>(code->data())[0], 0x01020400u);
    EXPECT_EQ(static_cast<const std::uint32_t*>(code->data())[1], 77u);
}

// What a warp draws outside of the frames' own windows is not cut off.
TEST(SourceHeaders, NothingThatIsThereIsCutOff) {
    const TemporaryFolder folder;
    OIIO::ImageSpec layout(4, 3, 3, OIIO::TypeDesc::FLOAT);
    layout.x = 2;
    layout.y = 2;
    layout.full_width = layout.full_height = 10;
    WriteStill(folder / "in.0.exr", layout);
    const auto clip = OpenClip(folder / "in.%d.exr");
    OutputSettings settings = SettingsFor(clip->Info());
    settings.madeOf = [](std::int64_t) { return SourceFrames(); };
    Picture picture;
    clip->Read(0, picture);
    reinterpret_cast<float*>(picture.pixels.data())[(7 * 10 + 1) * 4 + 2] = -0.5f;
    CreateClip(folder / "out.%d.exr", settings, {0})->Write(0, picture);
    const OIIO::ImageSpec header = HeaderOf(folder / "out.0.exr");
    EXPECT_EQ(header.roi(), OIIO::ROI(1, 6, 2, 8, 0, 1, 0, 3));
    EXPECT_EQ(header.full_width, 10);
}

TEST(SourceHeaders, DpxAndTiffKeepWhatTheirHeadersSay) {
    const TemporaryFolder folder;
    OIIO::ImageSpec dpx(9, 5, 3, OIIO::TypeDesc::UINT16);
    const std::uint32_t code[2] = {kCode, 0};
    const int key[7] = {1, 2, 3, 4, 5, 4, 64};
    dpx.attribute("oiio:BitsPerSample", 10);
    dpx.attribute("smpte:TimeCode", OIIO::TypeTimeCode, code);
    dpx.attribute("smpte:KeyCode", OIIO::TypeKeyCode, key);
    dpx.attribute("dpx:FrameRate", 25.0f);
    dpx.attribute("dpx:FramePosition", 40);
    dpx.attribute("dpx:Transfer", "Printing density");
    dpx.attribute("dpx:InputDevice", "scanner 3");
    dpx.attribute("dpx:SlateInfo", "12A take 3");
    dpx.attribute("Software", "a scanner");
    WriteStill(folder / "in.1.dpx", dpx);
    OIIO::ImageSpec tiff(9, 5, 4, OIIO::TypeDesc::UINT16);
    tiff.attribute("oiio:BitsPerSample", 12);
    tiff.attribute("compression", "lzw");
    tiff.attribute("Artist", "somebody");
    tiff.attribute("DateTime", "2020:01:02 03:04:05");
    tiff.attribute("XResolution", 300.0f);
    tiff.attribute("ResolutionUnit", "in");
    tiff.attribute("oiio:UnassociatedAlpha", 1);
    WriteStill(folder / "in.1.tif", tiff);

    for (const std::string extension : {"dpx", "tif"}) {
        const auto name = [&](const char* stem) { return folder / (stem + extension); };
        PassThrough(name("in.%d."), name("out.%d."), 1, 2);
        std::filesystem::create_directory(folder / extension);
        PassThrough(name("in.%d."), folder / (extension + "/out.%d." + extension), 3, 0);
        EXPECT_EQ(AttributesOf(HeaderOf(name("out.1."))), AttributesOf(HeaderOf(name("in.1."))));
        EXPECT_EQ(SamplesOf(name("out.1.")), SamplesOf(name("in.1.")));
        EXPECT_EQ(BytesOf(name("out.1.")), BytesOf(folder / (extension + "/out.1." + extension)));
    }
    const OIIO::ImageSpec third = HeaderOf(folder / "dpx/out.3.dpx");
    EXPECT_EQ(third.get_int_attribute("dpx:FramePosition"), 42);
    EXPECT_EQ(third.get_string_attribute("dpx:TimeCode"), "01:02:03:23");
}

TEST(SourceHeaders, AnotherFormatTakesWhatBelongsToNone) {
    const TemporaryFolder folder;
    WriteStill(folder / "in.0.exr", FilmFrame(0));
    PassThrough(folder / "in.%d.exr", folder / "out.%d.dpx", 1, 2);
    const OIIO::ImageSpec header = HeaderOf(folder / "out.0.dpx");
    EXPECT_EQ(header.get_string_attribute("Copyright"), "the lab");
    EXPECT_EQ(header.get_string_attribute("dpx:TimeCode"), "01:02:03:21");
    EXPECT_EQ(header.get_string_attribute("compression"), "");
}

TEST(Timecode, CountsAndKeepsToTheClockWhereItDrops) {
    const struct {
        const char* first;
        std::int64_t frames;
        int rate;
        const char* expected;
    } cases[] = {
        {"00:00:00:00", 24 * 3600, 24, "01:00:00:00"}, {"01:02:03:23", 1, 24, "01:02:04:00"},
        {"23:59:59:24", 1, 25, "00:00:00:00"},         {"00:00:59;29", 1, 30, "00:01:00;02"},
        {"00:09:59;29", 1, 30, "00:10:00;00"},         {"00:00:00;00", 107892, 30, "01:00:00;00"},
        {"23:59:59;29", 1, 30, "00:00:00;00"},         {"00:00:59;59", 1, 60, "00:01:00;04"},
        {"10:00:00:20", -21, 25, "09:59:59:24"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.first);
        EXPECT_EQ(TimecodeText(TimecodeAfter(*ParseTimecode(c.first), c.frames, c.rate)),
                  c.expected);
    }
    for (const char* bad : {"", "1:2", "25:00:00:00", "00:61:00:00", "00:00:00:00x"}) {
        EXPECT_FALSE(ParseTimecode(bad)) << bad;
    }
    EXPECT_EQ(RateBetween({1, 2, 3, 20, false}, {1, 2, 4, 10, false}, 15), 25);
    // Above 30 a header counts pairs; its other bits stay.
    const Timecode fast = TimecodeOfWord(0x81020304u | 1u << 15, 50);
    EXPECT_EQ(fast, (Timecode{1, 2, 3, 9, false}));
    EXPECT_EQ(WordOfTimecode(TimecodeAfter(fast, 1, 50), 50, 0x81020304u), 0x81020305u);
}

TEST(MovieHeaders, ColoursAndTimeGoOn) {
    const TemporaryFolder folder;
    ClipInfo source = SourceInfo(64, 48, 3, SampleDepth::kByte);
    source.isMovie = true;
    source.rate = {30000, 1001};
    source.primaries = 9;
    source.transfer = 16;
    source.matrix = 9;
    source.fullRange = true;
    source.timecode = ParseTimecode("00:00:59;28");
    source.timecodeRate = 30;
    for (const std::string extension : {"mp4", "mov", "mkv"}) {
        SCOPED_TRACE(extension);
        const std::string name = folder / ("a." + extension);
        const auto writer = CreateClip(name, SettingsFor(source), {});
        writer->Write(2, NoisePicture<std::uint8_t>(1, 64, 48, 3));
        writer->Finish();
        const auto clip = OpenClip(name);
        const ClipInfo& info = clip->Info();
        EXPECT_EQ(info.primaries, 9);
        EXPECT_EQ(info.transfer, 16);
        EXPECT_EQ(info.matrix, extension == "mkv" ? 2 : 9);
        EXPECT_EQ(info.fullRange, extension == "mp4");
        EXPECT_EQ(TimecodeText(info.timecode.value()), "00:01:00;02");
    }
}

}  // namespace
}  // namespace velorin
