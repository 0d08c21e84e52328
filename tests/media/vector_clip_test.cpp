#include "media/vector_clip.h"

#include <OpenImageIO/imageio.h>

#include <cmath>
#include <fstream>
#include <limits>

#include "media/clips.h"
#include "media/vector_writer.h"

namespace velorin {
namespace {

using Kind = MediaError::Kind;
using Names = std::vector<std::string>;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

OIIO::ImageSpec Layout(int width, int height, const Names& names,
                       OIIO::TypeDesc type = OIIO::TypeDesc::FLOAT) {
    OIIO::ImageSpec layout(width, height, static_cast<int>(names.size()), type);
    layout.channelnames = names;
    layout.alpha_channel = -1;
    layout.attribute("oiio:subimagename", names[0]);  // parts differ in it
    return layout;
}

// Writes a file of one part or several, as another program would; each part has the same values.
void WriteParts(const std::string& name, const std::vector<OIIO::ImageSpec>& parts,
                const std::vector<float>& values) {
    const auto output = OIIO::ImageOutput::create(name);
    ASSERT_TRUE(output);
    ASSERT_TRUE(output->open(name, static_cast<int>(parts.size()), parts.data()));
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (i > 0) {
            ASSERT_TRUE(output->open(name, parts[i], OIIO::ImageOutput::AppendSubimage));
        }
        ASSERT_TRUE(output->write_image(OIIO::TypeDesc::FLOAT, values.data()));
    }
    ASSERT_TRUE(output->close());
}

// What the reader hands over, decoded: u, v and alpha of each pixel.
std::vector<float> VectorsOf(ClipReader& clip, int frame) {
    Picture picture;
    clip.Read(frame, picture);
    EXPECT_EQ(picture.pixelType, ZPPixFloat);
    std::vector<float> vectors;
    const auto* pixel = reinterpret_cast<const float*>(picture.pixels.data());
    for (int i = 0; i < picture.width * picture.height; ++i, pixel += 4) {
        const bool hole = pixel[3] == 0.0f;
        for (int c = 0; c < 2; ++c) vectors.push_back(hole ? 0.0f : 2.0f * pixel[c] - 1.0f);
        vectors.push_back(pixel[3]);
    }
    return vectors;
}

Picture FlowPicture(int width, int height, const std::vector<float>& values) {
    Picture flow;
    flow.SetShape(width, height, ZPPixFloat, 2);
    std::memcpy(flow.pixels.data(), values.data(), flow.pixels.size());
    return flow;
}

TEST(VectorClip, ComesBackWithinTheBoundOfItsCode) {
    const TemporaryFolder folder;
    constexpr int kWidth = 512, kHeight = 256;
    std::vector<float> values;
    Noise noise(3);
    for (const float reach : {0.01f, 1.0f, 15.0f, 4000.0f}) {
        const std::vector<float> some = noise.Floats(kWidth * kHeight / 2, -reach, reach);
        values.insert(values.end(), some.begin(), some.end());
    }
    const Picture flow = FlowPicture(kWidth, kHeight, values);
    Picture joined;
    JoinVectors(&flow, nullptr, kWidth, kHeight, joined);
    const auto settings = SettingsFor(SourceInfo(kWidth, kHeight, 3, SampleDepth::kByte));
    CreateVectors(folder / "flow.%d.exr", settings, {0})->Write(0, joined);

    const auto clip = OpenPixelVectors(folder / "flow.%d.exr", VectorDirection::kForward, {});
    const std::vector<float> read = VectorsOf(*clip, 0);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const float back = read[i / 2 * 3 + i % 2];
        const double error = std::abs(static_cast<double>(back) - values[i]);
        const double bound = values[i] <= -0.5f ? 0.0 : std::ldexp(1.0 + values[i], -24);
        ASSERT_LE(error, bound) << values[i];
    }
}

// The file is read as any other program reads it: the top line first, plain pixels, a note.
TEST(VectorClip, WritesOneFileForAFrameAsItsSourceLies) {
    const TemporaryFolder folder;
    const std::string name = folder / "flow.%04d.exr";
    OutputSettings settings = SettingsFor(SourceInfo(1, 2, 3, SampleDepth::kByte));
    settings.source.window = {5, 7, 1, 2};
    settings.source.display = {5, 6, 1, 3};
    settings.firstNumber = 9;
    const Picture forward = FlowPicture(1, 2, {10.5f, 3.0f, -1.0f, -2.0f});
    const Picture backward = FlowPicture(1, 2, {-10.5f, -3.0f, 1.0f, 2.0f});
    const auto writer = CreateVectors(name, settings, {0, 1});
    Picture joined;
    JoinVectors(&forward, &backward, 1, 2, joined);
    writer->Write(0, joined);
    JoinVectors(nullptr, &backward, 1, 2, joined);
    writer->Write(1, joined);
    writer->Finish();
    EXPECT_EQ(folder.Names(), (Names{"flow.0009.exr", "flow.0010.exr"}));

    const auto file = OIIO::ImageInput::open(folder / "flow.0009.exr");
    const OIIO::ImageSpec& layout = file->spec();
    EXPECT_EQ(layout.channelnames, (Names{"backward.u", "backward.v", "forward.u", "forward.v"}));
    EXPECT_EQ(layout.format, OIIO::TypeDesc::FLOAT);
    EXPECT_EQ(layout.get_string_attribute("Compression"), "zip");
    ExpectContains(layout.get_string_attribute("velorin:vectors"), "u to the right, v up");
    std::vector<float> values(8);
    ASSERT_TRUE(file->read_image(0, 0, 0, 4, OIIO::TypeDesc::FLOAT, values.data()));
    EXPECT_EQ(values, (std::vector{-10.5f, -3.0f, 10.5f, 3.0f, 1.0f, 2.0f, -1.0f, -2.0f}));

    // The display window holds a line above the stored pixels: no vectors there.
    const auto clip = OpenPixelVectors(name, VectorDirection::kForward, {});
    EXPECT_EQ(clip->Info().rate.numerator, 24);
    EXPECT_EQ(VectorsOf(*clip, 0),
              (std::vector{0.0f, 0.0f, 0.0f, 10.5f, 3.0f, 1.0f, -1.0f, -2.0f, 1.0f}));
    EXPECT_EQ(VectorsOf(*clip, 1),
              (std::vector{0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 1.0f, 0.0f, 0.0f, 1.0f}));

    ExpectContains(ErrorOf(Kind::kOutputExists, [&] { CreateVectors(name, settings, {0}); }),
                   "flow.0009.exr");
    for (const char* wrong : {"flow.%04d.png", "flow.exr", "flow.mov", "flow"}) {
        const auto create = [&] { CreateVectors(folder / wrong, settings, {0}); };
        ExpectContains(ErrorOf(Kind::kFailure, create), "as in " + (folder / "flow.%04d.exr"));
    }
}

TEST(VectorClip, PicksChannelsByNameThroughAllParts) {
    constexpr auto kForward = VectorDirection::kForward, kBackward = VectorDirection::kBackward;
    const Names rgb{"R", "G", "B"}, both{"backward.u", "backward.v", "forward.u", "forward.v"};
    const Names motion{"motion.x", "motion.y", "forward.u"}, ahead{"forward.u", "forward.v"};
    struct Case {
        std::vector<Names> parts;
        VectorDirection direction;
        std::optional<VectorChannels> chosen;
        int first;         // of the two channels that are read, which follow each other
        const char* told;  // null where there are two
    };
    const Case cases[] = {
        {{both}, kForward, {}, 2, nullptr},
        {{both}, kBackward, {}, 0, nullptr},
        {{motion}, kForward, {}, 0, nullptr},
        {{{"R", "G"}}, kBackward, {}, 0, nullptr},
        {{rgb, ahead}, kForward, {}, 0, nullptr},
        {{rgb}, kForward, {{"G", "B"}}, 1, nullptr},
        {{ahead}, kBackward, {{"forward.u", "forward.v"}}, 0, nullptr},
        {{rgb}, kForward, {}, 0, "a.1.exr (frame 0) has the channels R, G, B; give two of them"},
        {{ahead}, kBackward, {}, 0, "forward.u and forward.v belong to --forward-vectors"},
        {{{"Z"}}, kForward, {}, 0, "has the channel Z alone"},
        {{{"R", "forward.u", "motion"}}, kForward, {}, 0, "forward.u, but no forward.v"},
        {{rgb}, kForward, {{"G", "V"}}, 0, "R, G, B, but no V; give"},
        {{rgb}, kForward, {{"U", "V"}}, 0, "R, G, B, but no U and no V"},
        {{{"forward.u", "a"}, {"forward.v", "b"}}, kForward, {}, 0, "different parts"},
    };
    for (const Case& c : cases) {
        const TemporaryFolder folder;
        std::vector<OIIO::ImageSpec> parts;
        for (const Names& names : c.parts) parts.push_back(Layout(1, 1, names));
        WriteParts(folder / "a.1.exr", parts, {10, 20, 30, 40});
        const auto open = [&] {
            return OpenPixelVectors(folder / "a.%d.exr", c.direction, c.chosen);
        };
        if (c.told) {
            ExpectContains(ErrorOf(Kind::kInput, open), c.told);
            continue;
        }
        const float u = static_cast<float>(c.first + 1) * 10.0f;
        EXPECT_EQ(VectorsOf(*open(), 0), (std::vector{u, u + 10.0f, 1.0f})) << u;
    }
}

TEST(VectorClip, ReadsHalfAndFloatAndTellsFramesThatDiffer) {
    const TemporaryFolder folder;
    const Names names{"motion.x", "motion.y"};
    const auto open = [&](const std::string& name) {
        return OpenPixelVectors(folder / name, VectorDirection::kForward, {});
    };
    // Half holds 10.0078125, not 10.01.
    const std::vector<float> values{10.01f, -3.0f, kNan, 0.0f, 1.0f, -kInfinity};
    WriteParts(folder / "a.1.exr", {Layout(3, 1, names, OIIO::TypeDesc::HALF)}, values);
    WriteParts(folder / "a.2.exr", {Layout(2, 1, names, OIIO::TypeDesc::HALF)}, values);
    WriteParts(folder / "a.3.exr", {Layout(3, 1, {"R", "G"}, OIIO::TypeDesc::HALF)}, values);
    const auto clip = open("");
    EXPECT_EQ(VectorsOf(*clip, 0),
              (std::vector{10.0078125f, -3.0f, 1.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f}));
    ExpectContains(ErrorOf(Kind::kInput, [&] { VectorsOf(*clip, 1); }),
                   "2 x 1, motion.x and motion.y, half instead of 3 x 1");
    ExpectContains(ErrorOf(Kind::kInput, [&] { VectorsOf(*clip, 2); }), "but no motion.x");

    WriteParts(folder / "b.1.tif", {Layout(3, 1, {"R", "G"})}, values);
    EXPECT_EQ(VectorsOf(*open("b.%d.tif"), 0)[0], 10.01f);
    WriteParts(folder / "c.1.tif", {Layout(1, 1, {"R", "G"}, OIIO::TypeDesc::UINT8)}, {0, 0});
    ExpectContains(ErrorOf(Kind::kInput, [&] { open("c.%d.tif"); }), "8 bits; vectors in pixels");
    WriteParts(folder / "d.1.png", {Layout(1, 1, {"R", "G", "B"}, OIIO::TypeDesc::UINT16)},
               {0, 0, 0});
    ExpectContains(ErrorOf(Kind::kInput, [&] { open("d.%d.png"); }), "give --vectors-format coded");
    std::ofstream(folder / "movie.mov") << "moov";
    ExpectContains(ErrorOf(Kind::kInput, [&] { open("movie.mov"); }),
                   "give --vectors-format coded");
    ExpectContains(ErrorOf(Kind::kInput, [&] { open("a.1.exr"); }), folder / "a.%d.exr");
}

TEST(VectorClip, CodedFloatsThatAreNoNumbersAreHoles) {
    const TemporaryFolder folder;
    const std::vector<float> pixels{0.5f,      0.75f, kNan, 1.0f, kNan, 0.5f, 0.0f, 1.0f,
                                    kInfinity, 0.5f,  0.0f, 1.0f, 0.5f, 0.5f, 0.0f, kNan};
    WriteParts(folder / "a.1.exr", {Layout(4, 1, {"R", "G", "B", "A"})}, pixels);
    EXPECT_EQ(
        VectorsOf(*OpenCodedVectors(folder / "a.#.exr", false), 0),
        (std::vector{0.0f, 0.5f, 1.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f}));

    // Black would be a vector of -1: what is not stored has none.
    OIIO::ImageSpec cropped = Layout(1, 1, {"R", "G", "B"});
    cropped.full_width = 2;
    WriteParts(folder / "b.1.exr", {cropped}, {0.5f, 1.0f, 0.0f});
    EXPECT_EQ(VectorsOf(*OpenCodedVectors(folder / "b.#.exr", false), 0),
              (std::vector{0.0f, 1.0f, 1.0f, 0.0f, 0.0f, 0.0f}));

    WriteParts(folder / "c.1.exr", {Layout(1, 1, {"Y", "A"})}, {0, 0});
    ExpectContains(ErrorOf(Kind::kInput, [&] { OpenCodedVectors(folder / "c.#.exr", false); }),
                   "coded vectors need RGB or RGBA");
}

TEST(VectorClip, CodedVectorsAreNotTakenForTheOnesInPixels) {
    const Names rgb{"R", "G", "B"}, motion{"motion.x", "motion.y"};
    struct Case {
        std::vector<Names> parts;
        bool saidToBeCoded;
        const char* told;  // null where the colours are read
    };
    for (const Case& c :
         {Case{{motion}, true, "in motion.x and motion.y; give --vectors-format pixels"},
          {{{"R", "G"}}, false, "in R and G; give --vectors-format pixels"},
          {{{"R", "G", "B", "forward.u", "forward.v"}}, false, "give --vectors-format pixels, or"},
          {{rgb, motion}, false, "give --vectors-format pixels, or --vectors-format coded if"},
          {{{"a", "b", "c"}}, false, "; R, G, B, or Y, are wanted"},
          {{rgb, motion}, true, nullptr},
          {{rgb, {"a", "b"}}, false, nullptr}}) {
        const TemporaryFolder folder;
        std::vector<OIIO::ImageSpec> parts;
        for (const Names& names : c.parts) parts.push_back(Layout(1, 1, names));
        WriteParts(folder / "a.1.exr", parts, {0.5f, 1.0f, 0, 0, 0});
        const auto open = [&] { return OpenCodedVectors(folder / "a.%d.exr", c.saidToBeCoded); };
        if (c.told) {
            ExpectContains(ErrorOf(Kind::kInput, open), c.told);
        } else {
            EXPECT_EQ(VectorsOf(*open(), 0), (std::vector{0.0f, 1.0f, 1.0f}));
        }
    }
}

}  // namespace
}  // namespace velorin
