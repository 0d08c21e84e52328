#include <OpenImageIO/imageio.h>

#include <fstream>
#include <limits>

#include "media/clips.h"

namespace velorin {
namespace {

using Kind = MediaError::Kind;

constexpr int kWidth = 37;
constexpr int kHeight = 11;
constexpr const char* kExtensions[] = {"png", "tif", "exr", "dpx", "ppm", "jpg"};

OutputSettings Settings(int channels = 3, SampleDepth depth = SampleDepth::kByte) {
    return SettingsFor(SourceInfo(kWidth, kHeight, channels, depth));
}

Picture MakePicture(int channels = 3, SampleDepth depth = SampleDepth::kByte, unsigned seed = 1) {
    if (depth == SampleDepth::kByte) {
        return NoisePicture<std::uint8_t>(seed, kWidth, kHeight, channels);
    }
    if (depth == SampleDepth::kWord) {
        return NoisePicture<std::uint16_t>(seed, kWidth, kHeight, channels);
    }
    Picture picture = NoisePicture<float>(seed, kWidth, kHeight, channels);
    auto* pixel = reinterpret_cast<float*>(picture.pixels.data());
    using Limits = std::numeric_limits<float>;
    // Halves lose the sign of zero.
    const float zero = depth == SampleDepth::kHalf ? 0.0f : -0.0f;
    for (const float special :
         {zero, Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN(), 6.103515625e-05f}) {
        for (int c = 0; c < (channels <= 2 ? 3 : 1); ++c) pixel[c] = special;
        pixel += 4;
    }
    return picture;
}

void ExpectRoundTrip(const std::string& extension, SampleDepth depth, int channels) {
    SCOPED_TRACE(extension + " depth " + std::to_string(static_cast<int>(depth)) + " channels " +
                 std::to_string(channels));
    const TemporaryFolder folder;
    const std::string name = folder / ("shot.%03d." + extension);
    OutputSettings settings = Settings(channels, depth);
    settings.firstNumber = 7;
    const std::vector<Picture> pictures{MakePicture(channels, depth, 1),
                                        MakePicture(channels, depth, 2)};
    WriteClip(name, settings, pictures);

    const auto clip = OpenClip(name);
    EXPECT_EQ(clip->Info().frames, 2);
    EXPECT_EQ(clip->Info().firstNumber, 7);
    EXPECT_EQ(clip->Info().channels, channels);
    EXPECT_EQ(clip->Info().depth, depth);
    Picture read;
    for (const int frame : {1, 0}) {
        clip->Read(frame, read);
        EXPECT_TRUE(SamePixels(read, pictures[frame]));
    }
}

TEST(Sequence, EveryFormatKeepsEveryBit) {
    for (int channels = 1; channels <= 4; ++channels) {
        for (const SampleDepth depth : {SampleDepth::kByte, SampleDepth::kWord}) {
            ExpectRoundTrip("png", depth, channels);
            ExpectRoundTrip("tif", depth, channels);
            if (channels > 2) ExpectRoundTrip("dpx", depth, channels);
        }
        ExpectRoundTrip("tif", SampleDepth::kFloat, channels);
        ExpectRoundTrip("exr", SampleDepth::kHalf, channels);
        ExpectRoundTrip("exr", SampleDepth::kFloat, channels);
    }
    ExpectRoundTrip("ppm", SampleDepth::kByte, 1);
    ExpectRoundTrip("ppm", SampleDepth::kByte, 3);
}

// Writes a still as another program would.
void WriteStill(const std::string& name, const OIIO::ImageSpec& layout,
                const std::vector<float>& values) {
    const auto output = OIIO::ImageOutput::create(name);
    ASSERT_TRUE(output);
    ASSERT_TRUE(output->open(name, layout)) << output->geterror();
    ASSERT_TRUE(output->write_image(OIIO::TypeDesc::FLOAT, values.data())) << output->geterror();
    ASSERT_TRUE(output->close());
}

std::string ContentOf(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Headers of two pixels as programs write them; the samples that follow look like more of it.
TEST(Sequence, PpmIsReadAndWrittenAsTheLibraryDoes) {
    constexpr const char* kHeaders[] = {
        "P6\n2 1\n255\n",     "P6 2 1 255 ",    "P6\t2\n\n1  255\t", "P6\n#a\n2 1\n255\n",
        "P6\r\n2 1\r\n255\n", "P5\n2 1\n255\n", "P6\n2 1\n100\n",    "P3\n2 1\n255\n1 2 3 4 5 6\n",
        "P6\n2 1\n0255\n",
    };
    for (const char* header : kHeaders) {
        SCOPED_TRACE(header);
        const TemporaryFolder folder;
        const std::string name = folder / "a.1.ppm";
        std::ofstream(name, std::ios::binary) << header << "\n\n# 2\xff";
        const auto library = OIIO::ImageInput::open(name);
        ASSERT_TRUE(library);
        const int channels = library->spec().nchannels;
        std::vector<std::uint8_t> expected(2 * channels);
        ASSERT_TRUE(library->read_image(0, 0, 0, channels, OIIO::TypeDesc::UINT8, expected.data()));

        const auto clip = OpenClip(folder / "a.%d.ppm");
        Picture read;
        clip->Read(0, read);
        for (int i = 0; i < 2 * channels; ++i) {
            EXPECT_EQ(read.pixels[i / channels * 4 + i % channels], std::byte{expected[i]}) << i;
        }
        WriteClip(folder / "b.%d.ppm", SettingsFor(clip->Info()), {read});
        const auto output = OIIO::ImageOutput::create(folder / "c.ppm");
        const OIIO::ImageSpec layout(2, 1, channels, OIIO::TypeDesc::UINT8);
        ASSERT_TRUE(output->open(folder / "c.ppm", layout));
        ASSERT_TRUE(output->write_image(OIIO::TypeDesc::UINT8, expected.data()));
        ASSERT_TRUE(output->close());
        EXPECT_EQ(ContentOf(folder / "b.1.ppm"), ContentOf(folder / "c.ppm"));
    }
}

TEST(Sequence, TiffKeepsTheKindOfItsAlpha) {
    for (const bool straight : {false, true}) {
        const TemporaryFolder folder;
        OutputSettings settings = Settings(4, SampleDepth::kWord);
        settings.source.straightAlpha = straight;
        const Picture picture = MakePicture(4, SampleDepth::kWord);
        WriteClip(folder / "a.#.tif", settings, {picture});
        const auto clip = OpenClip(folder / "a.#.tif");
        Picture read;
        clip->Read(0, read);
        EXPECT_EQ(clip->Info().straightAlpha, straight);
        EXPECT_TRUE(SamePixels(read, picture));
    }
}

TEST(Sequence, DpxKeepsItsTenBits) {
    const TemporaryFolder folder;
    OIIO::ImageSpec layout(5, 3, 3, OIIO::TypeDesc::UINT16);
    layout.attribute("oiio:BitsPerSample", 10);
    WriteStill(folder / "in.1.dpx", layout, Noise(1).Floats(45, 0.0f, 1.0f));

    const auto clip = OpenClip(folder / "in.%d.dpx");
    EXPECT_EQ(clip->Info().storedBits, 10);
    Picture read, again;
    clip->Read(0, read);
    EXPECT_EQ(read.pixelType, ZPPixUShort);
    WriteClip(folder / "out.%d.dpx", SettingsFor(clip->Info()), {read});
    const auto written = OpenClip(folder / "out.%d.dpx");
    EXPECT_EQ(written->Info().storedBits, 10);
    written->Read(0, again);
    EXPECT_TRUE(SamePixels(read, again));
}

// Channels out of order and among others, a data window inside the display window.
TEST(Sequence, ExrChannelsGoByNameAndWindowsAreFilledUp) {
    const TemporaryFolder folder;
    OIIO::ImageSpec layout(2, 1, 5, OIIO::TypeDesc::FLOAT);
    layout.channelnames = {"Z", "B", "A", "G", "R"};
    layout.x = 11;
    layout.y = 21;
    layout.full_x = 10;
    layout.full_y = 20;
    layout.full_width = 4;
    layout.full_height = 2;
    WriteStill(folder / "a.0001.exr", layout, {9, 3, 4, 2, 1, 9, 7, 8, 6, 5});
    layout.x = 13;  // the window of another frame lies elsewhere, and is smaller
    layout.width = 1;
    WriteStill(folder / "a.0002.exr", layout, {9, 3, 4, 2, 1});

    const auto clip = OpenClip(folder / "a.####.exr");
    EXPECT_EQ(clip->Info().channels, 4);
    Picture read;
    const auto expectFrame = [&](int frame, std::vector<float> lowerLine) {
        clip->Read(frame, read);
        ASSERT_EQ(read.pixels.size(), 128u);
        lowerLine.insert(lowerLine.begin(), 16, 0.0f);
        EXPECT_EQ(std::memcmp(read.pixels.data(), lowerLine.data(), 128), 0);
    };
    expectFrame(0, {0, 0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 0, 0, 0, 0});
    expectFrame(1, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 4});

    WriteClip(folder / "b.####.exr", SettingsFor(clip->Info()), {read});
    const auto written = OpenClip(folder / "b.####.exr");
    EXPECT_EQ(written->Info().display, clip->Info().display);
    EXPECT_EQ(written->Info().window, clip->Info().window);
}

void Touch(const std::string& name) {
    std::ofstream(name) << "x";
}

TEST(Sequence, HolesAndWrongNamesAreTold) {
    const TemporaryFolder folder;
    const auto expectTold = [&](const std::string& name, const std::string& part) {
        ExpectContains(ErrorOf(Kind::kInput, [&] { OpenClip(folder / name); }), part);
    };
    expectTold("shot.####.png", "shot.0001.png");
    expectTold("none/shot.####.png", "no folder");
    expectTold("none.mov", "no such file");
    expectTold(".", "no sequence");
    for (const char* number : {"0008", "0009", "0011", "0015", "10000", "00012", "12"}) {
        Touch(folder / ("shot." + std::string(number) + ".png"));
    }
    expectTold("shot.####.png", ": 10, 12-14, 16-9999;");
    expectTold("shot.0008.png", "shot.%04d.png");
    Touch(folder / "other_1.tif");
    Touch(folder / "other_2.tif");
    expectTold(".", "shot.%04d.png");
    expectTold(".", "other_%d.tif");
    Touch(folder / "dated.1.png");
    Touch(folder / "dated.20260131.png");
    ExpectContains(ErrorOf(Kind::kInput, [&] { OpenClip(folder / "dated.#.png", true); }),
                   "20260129 frames are missing between 1 and 20260131");
}

TEST(Sequence, AFolderMayHoldOneSequenceAndMore) {
    const TemporaryFolder folder;
    const Picture picture = MakePicture();
    WriteClip(folder / "v2_shot.%d.png", Settings(), std::vector<Picture>(12, picture));
    for (const char* name : {"notes1.txt", "notes2.txt", ".hidden1.png", ".hidden2.png"}) {
        Touch(folder / name);
    }
    Touch(folder / "poster3.png");
    const auto clip = OpenClip(folder / "");
    EXPECT_EQ(clip->Info().frames, 12);
    EXPECT_EQ(clip->Info().firstNumber, 0);
    Picture read;
    clip->Read(11, read);
    EXPECT_TRUE(SamePixels(read, picture));
}

TEST(Sequence, FramesThatDifferAreNamed) {
    const TemporaryFolder folder;
    const auto write = [&](int number, int channels, SampleDepth depth) {
        OutputSettings settings = Settings(channels, depth);
        settings.firstNumber = number;
        WriteClip(folder / "a.%02d.png", settings, {MakePicture(channels, depth)});
    };
    write(5, 3, SampleDepth::kByte);
    write(6, 4, SampleDepth::kByte);
    write(7, 3, SampleDepth::kWord);
    Touch(folder / "a.08.png");
    const auto clip = OpenClip(folder / "a.%02d.png");
    Picture picture;
    const auto expectTold = [&](int frame, const std::string& part) {
        ExpectContains(ErrorOf(Kind::kInput, [&] { clip->Read(frame, picture); }), part);
    };
    expectTold(1, "a.06.png (frame 1)");
    expectTold(2, "16 bits instead of");
    expectTold(3, "a.08.png (frame 3) cannot be read");
    expectTold(4, "no frame 4");
    clip->Read(0, picture);
}

TEST(Sequence, ACutFileIsNoFrameAndAFullDiskLeavesNone) {
    for (const std::string extension : kExtensions) {
        SCOPED_TRACE(extension);
        const TemporaryFolder folder;
        const std::string name = folder / ("a.%d." + extension);
        const SampleDepth depth = extension == "exr" ? SampleDepth::kFloat : SampleDepth::kByte;
        const OutputSettings settings = Settings(3, depth);
        const auto writer = CreateClip(name, settings, {0});
        const auto write = [&] { writer->Write(0, MakePicture(3, depth)); };
        ExpectContains(FullDiskErrorOf(600, write), "make room");
        EXPECT_TRUE(folder.Names().empty());

        write();
        const std::string file = folder / ("a.0." + extension);
        std::filesystem::resize_file(file, std::filesystem::file_size(file) * 2 / 3);
        Picture picture;
        ErrorOf(Kind::kInput, [&] { OpenClip(name)->Read(0, picture); });
    }
}

TEST(Sequence, OutputsAreRefusedBeforeWork) {
    const TemporaryFolder folder;
    OutputSettings settings = Settings();
    WriteClip(folder / "a.%d.png", settings, {MakePicture(), MakePicture()});
    const auto refused = [&](Kind kind, const std::string& name, std::vector<std::int64_t> frames) {
        return ErrorOf(kind, [&] { CreateClip(folder / name, settings, frames); });
    };
    ExpectContains(refused(Kind::kOutputExists, "a.%d.png", {1, 2}), "a.1.png");
    refused(Kind::kFailure, "none/a.%d.png", {0});
    refused(Kind::kFailure, "a.%d.xyz", {0});
    refused(Kind::kFailure, "a.png", {0});
    CreateClip(folder / "a.%d.png", settings, {2, 3});

    settings.overwrite = true;
    const Picture other = MakePicture(3, SampleDepth::kByte, 2);
    WriteClip(folder / "a.%d.png", settings, {other});
    const auto clip = OpenClip(folder / "a.%d.png");
    Picture read;
    clip->Read(0, read);
    EXPECT_TRUE(SamePixels(read, other));
    settings.source = clip->Info();
    ExpectContains(refused(Kind::kFailure, "a.%d.png", {0}), "of the input");
}

TEST(Sequence, DepthsFollowTheFormat) {
    EXPECT_EQ(DepthForOutput("a.%d.png", SampleDepth::kFloat), SampleDepth::kWord);
    EXPECT_EQ(DepthForOutput("a.%d.TIF", SampleDepth::kHalf), SampleDepth::kFloat);
    EXPECT_EQ(DepthForOutput("a.%d.exr", SampleDepth::kByte), SampleDepth::kHalf);
    EXPECT_EQ(DepthForOutput("a.%d.exr", SampleDepth::kWord), SampleDepth::kFloat);
    EXPECT_EQ(DepthForOutput("a.%d.jpg", SampleDepth::kFloat), SampleDepth::kByte);
    ErrorOf(Kind::kFailure, [] { DepthForOutput("a.xyz", SampleDepth::kByte); });
}

}  // namespace
}  // namespace velorin
