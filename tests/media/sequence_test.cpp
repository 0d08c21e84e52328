#include <OpenImageIO/imageio.h>
#include <sys/resource.h>

#include <csignal>
#include <fstream>
#include <limits>

#include "media/clips.h"
#include "support/noise.h"

namespace velorin {
namespace {

using Kind = MediaError::Kind;

constexpr int kWidth = 37;
constexpr int kHeight = 11;

// Noise with colour under zero and under little alpha, with a layout's limits applied: gray has
// three equal channels, and a layout without alpha a full one.
template <typename Value>
Picture NoisePicture(unsigned seed, int channels, Value full) {
    Picture picture;
    picture.SetShape(kWidth, kHeight, PictureType<Value>::kPixelType);
    auto* pixel = reinterpret_cast<Value*>(picture.pixels.data());
    Noise noise(seed);
    for (int i = 0; i < kWidth * kHeight; ++i, pixel += 4) {
        const std::vector<float> v = noise.Floats(4, 0.0f, static_cast<float>(full));
        for (int c = 0; c < 4; ++c) pixel[c] = static_cast<Value>(v[c]);
        if (i % 3 == 0) pixel[3] = 0;
        if (i % 7 == 0) pixel[3] = static_cast<Value>(full / 200);
        if (channels <= 2) pixel[1] = pixel[2] = pixel[0];
        if (channels % 2 == 1) pixel[3] = full;
    }
    return picture;
}

// Floats beyond white and black, and those that are no numbers. All are exact in half.
Picture FloatPicture(unsigned seed, int channels) {
    Picture picture = NoisePicture<float>(seed, channels, 1.0f);
    auto* value = reinterpret_cast<float*>(picture.pixels.data());
    const float special[] = {-0.0f,
                             -1.5f,
                             64.0f,
                             std::numeric_limits<float>::infinity(),
                             -std::numeric_limits<float>::infinity(),
                             std::numeric_limits<float>::quiet_NaN(),
                             6.103515625e-05f};
    for (int i = 0; i < kWidth * kHeight; ++i) {
        for (int c = 0; c < 3; ++c) {
            float& v = value[4 * i + (channels <= 2 ? 0 : c)];
            v = static_cast<float>(static_cast<int>(v * 1024.0f)) / 1024.0f;
        }
        value[4 * i + 3] = static_cast<float>(static_cast<int>(value[4 * i + 3] * 64.0f)) / 64.0f;
        value[4 * i] = i < 7 ? special[i] : value[4 * i];
        if (channels <= 2) value[4 * i + 1] = value[4 * i + 2] = value[4 * i];
    }
    return picture;
}

Picture MakePicture(SampleDepth depth, int channels, unsigned seed) {
    if (depth == SampleDepth::kByte) return NoisePicture<std::uint8_t>(seed, channels, 255);
    if (depth == SampleDepth::kWord) return NoisePicture<std::uint16_t>(seed, channels, 65535);
    return FloatPicture(seed, channels);
}

void ExpectRoundTrip(const std::string& extension, SampleDepth depth, int channels) {
    SCOPED_TRACE(extension + " depth " + std::to_string(static_cast<int>(depth)) + " channels " +
                 std::to_string(channels));
    const TemporaryFolder folder;
    const std::string name = folder / ("shot.%03d." + extension);
    OutputSettings settings = SettingsFor(SourceInfo(kWidth, kHeight, channels, depth));
    settings.firstNumber = 7;
    const std::vector<Picture> pictures{MakePicture(depth, channels, 1),
                                        MakePicture(depth, channels, 2)};
    WriteClip(name, settings, pictures);

    const auto clip = OpenClip(name);
    EXPECT_EQ(clip->Info().frames, 2);
    EXPECT_EQ(clip->Info().firstNumber, 7);
    EXPECT_EQ(clip->Info().channels, channels);
    EXPECT_EQ(static_cast<int>(clip->Info().depth), static_cast<int>(depth));
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

TEST(Sequence, TiffKeepsTheKindOfItsAlpha) {
    for (const bool straight : {false, true}) {
        const TemporaryFolder folder;
        OutputSettings settings = SettingsFor(SourceInfo(kWidth, kHeight, 4, SampleDepth::kWord));
        settings.source.straightAlpha = straight;
        const Picture picture = MakePicture(SampleDepth::kWord, 4, 5);
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
    std::vector<float> values;
    for (int i = 0; i < 45; ++i) values.push_back(static_cast<float>(i) / 44.0f);
    WriteStill(folder / "in.1.dpx", layout, values);

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
    EXPECT_EQ(clip->Info().width, 4);
    EXPECT_EQ(clip->Info().height, 2);
    EXPECT_EQ(clip->Info().channels, 4);
    Picture read;
    clip->Read(0, read);
    std::vector<float> wanted(32, 0.0f);
    for (int i = 0; i < 8; ++i) wanted[20 + i] = static_cast<float>(i + 1);
    EXPECT_EQ(std::memcmp(read.pixels.data(), wanted.data(), 128), 0);
    clip->Read(1, read);
    wanted.assign(32, 0.0f);
    for (int i = 0; i < 4; ++i) wanted[28 + i] = static_cast<float>(i + 1);
    EXPECT_EQ(std::memcmp(read.pixels.data(), wanted.data(), 128), 0);

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
    const auto open = [&](const std::string& name) {
        return ErrorOf(Kind::kInput, [&] { OpenClip(folder / name); });
    };
    const auto has = [](const std::string& text, const std::string& part) {
        EXPECT_NE(text.find(part), std::string::npos) << text;
    };
    has(open("shot.####.png"), "shot.0001.png");
    has(open("none/shot.####.png"), "no folder");
    has(open("none.mov"), "no such file");
    has(open("."), "no sequence");
    for (const char* number : {"0008", "0009", "0011", "0015", "10000", "00012", "12"}) {
        Touch(folder / ("shot." + std::string(number) + ".png"));
    }
    has(open("shot.####.png"), "10, 12-14, 16-9999;");
    has(open("shot.0008.png"), "shot.%04d.png");
    Touch(folder / "other_1.tif");
    Touch(folder / "other_2.tif");
    const std::string several = open(".");
    has(several, "shot.%04d.png");
    has(several, "other_%d.tif");
}

TEST(Sequence, AFolderMayHoldOneSequenceAndMore) {
    const TemporaryFolder folder;
    const OutputSettings settings = SettingsFor(SourceInfo(kWidth, kHeight, 3, SampleDepth::kByte));
    const Picture picture = MakePicture(SampleDepth::kByte, 3, 1);
    const std::vector<Picture> twelve(12, picture);
    WriteClip(folder / "v2_shot.%d.png", settings, twelve);
    Touch(folder / "notes1.txt");
    Touch(folder / ".hidden1.png");
    Touch(folder / ".hidden2.png");
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
        OutputSettings settings = SettingsFor(SourceInfo(kWidth, kHeight, channels, depth));
        settings.firstNumber = number;
        WriteClip(folder / "a.%02d.png", settings, {MakePicture(depth, channels, 1)});
    };
    write(5, 3, SampleDepth::kByte);
    write(6, 4, SampleDepth::kByte);
    write(7, 3, SampleDepth::kWord);
    Touch(folder / "a.08.png");
    const auto clip = OpenClip(folder / "a.%02d.png");
    Picture picture;
    const auto read = [&](int frame) {
        return ErrorOf(Kind::kInput, [&] { clip->Read(frame, picture); });
    };
    EXPECT_NE(read(1).find("a.06.png (frame 1)"), std::string::npos);
    EXPECT_NE(read(2).find("16 bits instead of"), std::string::npos);
    EXPECT_NE(read(3).find("a.08.png (frame 3) cannot be read"), std::string::npos);
    EXPECT_NE(read(4).find("no frame 4"), std::string::npos);
    clip->Read(0, picture);
}

TEST(Sequence, ACutFileIsNoFrame) {
    for (const std::string extension : {"png", "tif", "exr", "dpx", "ppm", "jpg"}) {
        SCOPED_TRACE(extension);
        const TemporaryFolder folder;
        const SampleDepth depth = extension == "exr" ? SampleDepth::kHalf : SampleDepth::kByte;
        const OutputSettings settings = SettingsFor(SourceInfo(kWidth, kHeight, 3, depth));
        WriteClip(folder / ("a.%d." + extension), settings, {MakePicture(depth, 3, 1)});
        const std::string file = folder / ("a.0." + extension);
        std::filesystem::resize_file(file, std::filesystem::file_size(file) * 2 / 3);
        Picture picture;
        ErrorOf(Kind::kInput, [&] { OpenClip(folder / ("a.%d." + extension))->Read(0, picture); });
    }
}

TEST(Sequence, OutputsAreRefusedBeforeWork) {
    const TemporaryFolder folder;
    OutputSettings settings = SettingsFor(SourceInfo(kWidth, kHeight, 3, SampleDepth::kByte));
    const Picture picture = MakePicture(SampleDepth::kByte, 3, 1);
    const Picture other = MakePicture(SampleDepth::kByte, 3, 2);
    WriteClip(folder / "a.%d.png", settings, {picture, picture});
    const auto refused = [&](Kind kind, const std::string& name, std::vector<std::int64_t> frames) {
        return ErrorOf(kind, [&] { CreateClip(folder / name, settings, frames); });
    };
    EXPECT_NE(refused(Kind::kOutputExists, "a.%d.png", {1, 2}).find("a.1.png"), std::string::npos);
    refused(Kind::kFailure, "none/a.%d.png", {0});
    refused(Kind::kFailure, "a.%d.xyz", {0});
    refused(Kind::kFailure, "a.png", {0});
    CreateClip(folder / "a.%d.png", settings, {2, 3});

    settings.overwrite = true;
    WriteClip(folder / "a.%d.png", settings, {other});
    const auto clip = OpenClip(folder / "a.%d.png");
    Picture read;
    clip->Read(0, read);
    EXPECT_TRUE(SamePixels(read, other));
    settings.source = clip->Info();
    EXPECT_NE(refused(Kind::kFailure, "a.%d.png", {0}).find("of the input"), std::string::npos);
}

// A limit on the size of files stands for the full disk.
TEST(Sequence, AFullDiskLeavesNoFile) {
    for (const std::string extension : {"png", "tif", "exr", "dpx", "ppm", "jpg"}) {
        SCOPED_TRACE(extension);
        const TemporaryFolder folder;
        const SampleDepth depth = extension == "exr" ? SampleDepth::kFloat : SampleDepth::kByte;
        const OutputSettings settings = SettingsFor(SourceInfo(kWidth, kHeight, 3, depth));
        const auto writer = CreateClip(folder / ("a.%d." + extension), settings, {0});
        rlimit old;
        getrlimit(RLIMIT_FSIZE, &old);
        const rlimit small{600, old.rlim_max};
        const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &small);
        const std::string text =
            ErrorOf(Kind::kFailure, [&] { writer->Write(0, MakePicture(depth, 3, 1)); });
        setrlimit(RLIMIT_FSIZE, &old);
        std::signal(SIGXFSZ, oldHandler);
        EXPECT_NE(text.find("make room"), std::string::npos) << text;
        EXPECT_TRUE(folder.Names().empty());
    }
}

TEST(Sequence, DepthsFollowTheFormat) {
    const auto depth = [](const char* name, SampleDepth wanted) {
        return DepthForOutput(name, wanted);
    };
    EXPECT_EQ(depth("a.%d.png", SampleDepth::kFloat), SampleDepth::kWord);
    EXPECT_EQ(depth("a.%d.TIF", SampleDepth::kHalf), SampleDepth::kFloat);
    EXPECT_EQ(depth("a.%d.exr", SampleDepth::kByte), SampleDepth::kHalf);
    EXPECT_EQ(depth("a.%d.exr", SampleDepth::kWord), SampleDepth::kFloat);
    EXPECT_EQ(depth("a.%d.jpg", SampleDepth::kFloat), SampleDepth::kByte);
    ErrorOf(Kind::kFailure, [&] { depth("a.xyz", SampleDepth::kByte); });
}

}  // namespace
}  // namespace velorin
