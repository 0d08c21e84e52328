#include <algorithm>
#include <fstream>
#include <map>
#include <numeric>

#include "media/clips.h"
#include "media/libav.h"
#include "media/movie_pixels.h"

namespace velorin {
namespace {

using Kind = MediaError::Kind;
using CodecOptions = std::map<std::string, std::string>;

constexpr const char* kOutputNames[] = {"a.mp4", "a.mov", "a.mkv"};

// The frame's number in ten squares of black and white, over a moving ground: any decoded frame
// tells which it is.
constexpr int kSquare = 16;
constexpr int kWidth = 10 * kSquare;
constexpr int kHeight = 64;

Picture NumberedPicture(int number) {
    Picture picture;
    picture.SetShape(kWidth, kHeight, ZPPixUChar);
    std::byte* value = picture.pixels.data();
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            for (int c = 0; c < 3; ++c) {
                const int square = (number >> (x / kSquare) & 1) * 255;
                const int ground = (x * (c + 1) + y + number * 3) % 256;
                *value++ = static_cast<std::byte>(y < kSquare ? square : ground);
            }
            *value++ = std::byte{255};
        }
    }
    return picture;
}

int NumberIn(const Picture& picture) {
    const int bytes = ChannelBytes(picture.pixelType);
    int number = 0;
    for (int bit = 0; bit < 10; ++bit) {
        const int at = (kSquare / 2 * picture.width + bit * kSquare + kSquare / 2) * 4;
        // The higher byte of a little-endian word.
        if (std::to_integer<int>(picture.pixels[at * bytes + bytes - 1]) > 127) number |= 1 << bit;
    }
    return number;
}

OutputSettings MovieSettings() {
    OutputSettings settings = SettingsFor(SourceInfo(kWidth, kHeight, 3, SampleDepth::kByte));
    settings.source.rate = {24000, 1001};
    return settings;
}

void WriteNumbered(const std::string& name, int frames,
                   const OutputSettings& settings = MovieSettings()) {
    std::vector<Picture> pictures;
    for (int i = 0; i < frames; ++i) pictures.push_back(NumberedPicture(i));
    WriteClip(name, settings, pictures);
}

// Reads the frames, numbered from `first` on, in order, then backwards and in an order made at
// random, and compares.
void ExpectExactFrames(const std::string& name, int frames, int first = 0) {
    SCOPED_TRACE(name);
    const auto clip = OpenClip(name);
    ASSERT_EQ(clip->Info().frames, frames);
    std::vector<Picture> inOrder(frames);
    for (int i = 0; i < frames; ++i) {
        clip->Read(i, inOrder[i]);
        ASSERT_EQ(NumberIn(inOrder[i]), first + i);
    }
    std::vector<int> order(std::min(frames, 60));
    std::iota(order.rbegin(), order.rend(), frames - static_cast<int>(order.size()));
    Noise noise(5);
    for (int i = 0; i < 60; ++i) order.push_back(noise.Int(0, frames - 1));
    const auto again = OpenClip(name);
    Picture read;
    for (const int i : order) {
        again->Read(i, read);
        ASSERT_TRUE(SamePixels(read, inOrder[i])) << "frame " << i;
    }
}

// A movie file of one stream, written packet by packet.
class MovieFile {
  public:
    MovieFile(const std::string& name, AVRational timeBase) {
        SilenceLibraries();
        avformat_alloc_output_context2(&format, nullptr, nullptr, name.c_str());
        stream = avformat_new_stream(format, nullptr);
        stream->time_base = timeBase;
        EXPECT_GE(avio_open(&format->pb, name.c_str(), AVIO_FLAG_WRITE), 0);
    }
    ~MovieFile() {
        EXPECT_EQ(av_write_trailer(format), 0);
        avio_closep(&format->pb);
        avformat_free_context(format);
    }
    void Begin() { ASSERT_GE(avformat_write_header(format, nullptr), 0); }
    void Put(AVPacket& packet, AVRational timeBase) {
        av_packet_rescale_ts(&packet, timeBase, stream->time_base);
        packet.stream_index = 0;
        packet.pos = -1;
        ASSERT_GE(av_write_frame(format, &packet), 0);
    }

    AVFormatContext* format = nullptr;
    AVStream* stream = nullptr;
};

bool Keep(AVPacket&) {
    return true;
}

// Copies a movie's packets into another file, changed on the way. `change` may answer false to
// leave a packet out; `matrix` is the new stream's display matrix, if any.
template <typename Change>
void Remux(const std::string& from, const std::string& to, AVRational timeBase, Change&& change,
           const std::vector<std::int32_t>& matrix = {}) {
    AVFormatContext* in = nullptr;
    ASSERT_EQ(avformat_open_input(&in, from.c_str(), nullptr, nullptr), 0);
    ASSERT_GE(avformat_find_stream_info(in, nullptr), 0);
    MovieFile out(to, timeBase);
    avcodec_parameters_copy(out.stream->codecpar, in->streams[0]->codecpar);
    out.stream->codecpar->codec_tag = 0;
    if (!matrix.empty()) {
        const std::size_t bytes = matrix.size() * sizeof matrix[0];
        std::memcpy(av_stream_new_side_data(out.stream, AV_PKT_DATA_DISPLAYMATRIX, bytes),
                    matrix.data(), bytes);
    }
    out.Begin();
    const AvPacket packet = MakePacket();
    while (av_read_frame(in, packet.get()) >= 0) {
        av_packet_rescale_ts(packet.get(), in->streams[0]->time_base, timeBase);
        if (change(*packet)) out.Put(*packet, timeBase);
        av_packet_unref(packet.get());
    }
    avformat_close_input(&in);
}

// Encodes with settings that CreateClip does not use.
void EncodeWith(const std::string& name, const char* codecName, const CodecOptions& options,
                int frames) {
    const AVCodec* found = avcodec_find_encoder_by_name(codecName);
    ASSERT_NE(found, nullptr) << codecName << " is not installed";
    MovieFile out(name, {1, 25});
    AvCodec codec(avcodec_alloc_context3(found));
    codec->width = kWidth;
    codec->height = kHeight;
    codec->pix_fmt = AV_PIX_FMT_YUV420P;
    codec->time_base = {1, 25};
    codec->framerate = {25, 1};
    if (out.format->oformat->flags & AVFMT_GLOBALHEADER) {
        codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    }
    AVDictionary* dictionary = nullptr;
    for (const auto& [key, value] : options) {
        av_dict_set(&dictionary, key.c_str(), value.c_str(), 0);
    }
    ASSERT_EQ(avcodec_open2(codec.get(), found, &dictionary), 0);
    av_dict_free(&dictionary);
    avcodec_parameters_from_context(out.stream->codecpar, codec.get());
    out.Begin();
    PixelConverter converter;
    const AvPacket packet = MakePacket();
    for (int i = 0; i <= frames; ++i) {
        const AvFrame frame = MakeFrame();
        frame->width = kWidth;
        frame->height = kHeight;
        frame->format = AV_PIX_FMT_YUV420P;
        frame->pts = i;
        av_frame_get_buffer(frame.get(), 0);
        converter.ToFrame(NumberedPicture(i), *frame);
        for (const int plane : {1, 2}) {  // gray takes the codecs less time
            std::memset(frame->data[plane], 128, frame->linesize[plane] * kHeight / 2);
        }
        ASSERT_EQ(avcodec_send_frame(codec.get(), i < frames ? frame.get() : nullptr), 0);
        while (avcodec_receive_packet(codec.get(), packet.get()) == 0) {
            packet->duration = 1;
            out.Put(*packet, codec->time_base);
        }
    }
}

TEST(Movie, H264FramesComeByExactNumber) {
    const TemporaryFolder folder;
    const std::string mp4 = folder / "long.mp4";
    constexpr int kFrames = 300;  // more than one group of pictures of the encoder's 250
    WriteNumbered(mp4, kFrames);
    ExpectExactFrames(mp4, kFrames);
    const ClipInfo info = OpenClip(mp4)->Info();
    EXPECT_TRUE(info.isMovie);
    EXPECT_EQ(info.rate.numerator, 24000);
    EXPECT_EQ(info.rate.denominator, 1001);
    EXPECT_EQ(info.channels, 3);

    const auto expectCopy = [&](const char* name, auto change) {
        Remux(mp4, folder / name, {1, 90000}, change);
        ExpectExactFrames(folder / name, kFrames);
    };
    // The test is about pictures that are stored out of order: see that there are some.
    bool outOfOrder = false;
    expectCopy("same.mkv", [&](AVPacket& packet) {
        outOfOrder = outOfOrder || packet.pts != packet.dts;
        return true;
    });
    EXPECT_TRUE(outOfOrder);
    expectCopy("same.ts", Keep);
    // Times that grow ever more, and keep the order of showing and decoding.
    expectCopy("variable.mkv", [](AVPacket& packet) {
        const auto later = [](std::int64_t time) { return time + time * time / 400000; };
        packet.pts = later(packet.pts + 20000);
        packet.dts = later(packet.dts + 20000);
        packet.duration = 0;
        return true;
    });
    EXPECT_NE(OpenClip(folder / "variable.mkv")->Info().rate.numerator, 24000);
    // No times at all: frames are counted.
    expectCopy("bare.h264", [](AVPacket& packet) {
        packet.pts = packet.dts = AV_NOPTS_VALUE;
        return true;
    });
}

const CodecOptions kOpenGroups{
    {"x264-params", "open-gop=1:keyint=12:min-keyint=12:bframes=3:scenecut=0"}};

TEST(Movie, OtherCodecsAndContainersAreExactToo) {
    const TemporaryFolder folder;
    constexpr int kFrames = 70;
    for (const char* file : {"prores.mov", "ffv1.mkv"}) {
        WriteNumbered(folder / file, kFrames);
        ExpectExactFrames(folder / file, kFrames);
    }
    const CodecOptions reordering{{"bf", "2"}, {"g", "12"}, {"b", "4000000"}};
    const CodecOptions hidden{{"lag-in-frames", "16"}, {"g", "20"}, {"b", "2000000"}};
    CodecOptions hidden8 = hidden, hidden9 = hidden;
    hidden8["auto-alt-ref"] = "1";
    hidden9["cpu-used"] = "8";
    struct Case {
        const char* file;
        const char* codec;
        CodecOptions options;
    };
    for (const Case& c : {Case{"open.mp4", "libx264", kOpenGroups},
                          {"open.mkv", "libx264", kOpenGroups},
                          {"open.ts", "libx264", kOpenGroups},
                          {"mpeg2.ts", "mpeg2video", reordering},
                          {"mpeg2.mpg", "mpeg2video", reordering},
                          {"mpeg4.avi", "mpeg4", reordering},
                          {"h264.avi", "libx264", {}},
                          {"hidden.webm", "libvpx", hidden8},
                          {"vp9.webm", "libvpx-vp9", hidden9}}) {
        EncodeWith(folder / c.file, c.codec, c.options, kFrames);
        ExpectExactFrames(folder / c.file, kFrames);
    }
}

// What an encoder says of itself stands in the first packet alone, and decoders go by it: this one
// says to be of a version with a fault in how pictures follow each other.
TEST(Movie, AnEncodersFaultsAreKnownWhereverReadingBegins) {
    const TemporaryFolder folder;
    const std::string name = folder / "old.mp4";
    constexpr int kFrames = 60;
    EncodeWith(name, "libx264",
               {{"x264-params",
                 "keyint=15:bframes=5:b-pyramid=2:b-adapt=0:scenecut=0:direct=spatial:qp=40"}},
               kFrames);
    const auto read = [&](int first) {
        const auto clip = OpenClip(name);
        std::vector<Picture> pictures(kFrames);
        for (int i = first; i < kFrames; ++i) clip->Read(i, pictures[i]);
        return pictures;
    };
    const std::vector<Picture> wellMade = read(0);
    std::fstream file(name, std::ios::in | std::ios::out | std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(file), {});
    const std::size_t place = bytes.find("x264 - core ");
    ASSERT_NE(place, bytes.npos);
    file.seekp(static_cast<std::streamoff>(place) + 12);
    file << "030";
    file.close();
    const std::vector<Picture> inOrder = read(0);
    const std::vector<Picture> fromLater = read(46);
    int faults = 0;
    for (int i = 46; i < kFrames; ++i) {
        faults += SamePixels(inOrder[i], wellMade[i]) ? 0 : 1;
        EXPECT_TRUE(SamePixels(inOrder[i], fromLater[i])) << "frame " << i;
    }
    EXPECT_GT(faults, 0) << "the version makes no difference to these pictures";
}

// A movie whose first group leans on one that was cut off begins with the first whole picture.
TEST(Movie, PicturesThatLeanOnACutGroupDoNotCount) {
    const TemporaryFolder folder;
    EncodeWith(folder / "whole.mkv", "libx264", kOpenGroups, 70);
    int keys = 0;
    int first = -1;
    Remux(folder / "whole.mkv", folder / "cut.mkv", {1, 25}, [&](AVPacket& packet) {
        const bool isKey = (packet.flags & AV_PKT_FLAG_KEY) != 0;
        if (isKey && ++keys == 2) first = static_cast<int>(packet.pts);
        return keys >= 2;
    });
    ASSERT_GT(first, 0);
    ExpectExactFrames(folder / "cut.mkv", 70 - first, first);
}

TEST(Movie, RotationIsApplied) {
    const TemporaryFolder folder;
    WriteNumbered(folder / "flat.mp4", 2);
    Picture flat, read;
    OpenClip(folder / "flat.mp4")->Read(1, flat);
    const auto* original = reinterpret_cast<const std::uint32_t*>(flat.pixels.data());
    // Shown x is a x + c y, shown y is b x + d y, and the picture is moved back into sight.
    struct Case {
        int a, b, c, d;
    };
    for (const auto& [a, b, c, d] :
         {Case{0, 1, -1, 0}, {0, -1, 1, 0}, {-1, 0, 0, -1}, {-1, 0, 0, 1}}) {
        const std::string name = folder / "turned.mov";
        constexpr int kOne = 1 << 16;
        Remux(folder / "flat.mp4", name, {1, 24000}, Keep,
              {a * kOne, b * kOne, 0, c * kOne, d * kOne, 0, 0, 0, 1 << 30});
        const auto clip = OpenClip(name);
        EXPECT_EQ(clip->Info().width, a == 0 ? kHeight : kWidth);
        clip->Read(1, read);
        const auto* pixels = reinterpret_cast<const std::uint32_t*>(read.pixels.data());
        int wrong = 0;
        for (int i = 0; i < kWidth * kHeight; ++i) {
            const int x = a * (i % kWidth) + c * (i / kWidth) + (a + c < 0 ? read.width - 1 : 0);
            const int y = b * (i % kWidth) + d * (i / kWidth) + (b + d < 0 ? read.height - 1 : 0);
            wrong += pixels[y * read.width + x] != original[i] ? 1 : 0;
        }
        EXPECT_EQ(wrong, 0) << a << b << c << d;
    }
}

TEST(Movie, Ffv1LosesNothing) {
    const auto expectLossless = [](int channels, SampleDepth depth, auto makePicture) {
        SCOPED_TRACE(channels);
        const TemporaryFolder folder;
        std::vector<Picture> pictures;
        for (unsigned i = 0; i < 5; ++i) pictures.push_back(makePicture(i, 47, 31, channels));
        OutputSettings settings = SettingsFor(SourceInfo(47, 31, channels, depth));
        settings.source.rate = {30000, 1001};
        settings.source.pixelAspect = {16, 15};
        WriteClip(folder / "a.mkv", settings, pictures);
        const auto clip = OpenClip(folder / "a.mkv");
        EXPECT_EQ(clip->Info().channels, channels);
        EXPECT_EQ(clip->Info().frames, 5);
        EXPECT_EQ(clip->Info().rate.numerator, 30000);
        EXPECT_EQ(clip->Info().rate.denominator, 1001);
        EXPECT_EQ(clip->Info().pixelAspect.numerator, 16);
        EXPECT_EQ(clip->Info().pixelAspect.denominator, 15);
        Picture read;
        for (const int i : {4, 0, 2, 1, 3}) {
            clip->Read(i, read);
            EXPECT_TRUE(SamePixels(read, pictures[i])) << i;
        }
    };
    for (const int channels : {3, 4}) {
        expectLossless(channels, SampleDepth::kByte, NoisePicture<std::uint8_t>);
        expectLossless(channels, SampleDepth::kWord, NoisePicture<std::uint16_t>);
    }
}

// Soft colours without edges: what is left of them tells matrices and ranges that do not match.
template <typename Value>
Picture SoftPicture(int width, int height, int channels) {
    Picture picture;
    picture.SetShape(width, height, PictureType<Value>::kPixelType);
    auto* value = reinterpret_cast<Value*>(picture.pixels.data());
    for (int i = 0; i < width * height; ++i, value += 4) {
        const int across = i % width * 100 / width, down = i / width * 100 / height;
        const int parts[4] = {across, down, 100 - across * 4 / 5,
                              channels == 4 ? 100 - down / 2 : 100};
        for (int c = 0; c < 4; ++c) {
            value[c] = static_cast<Value>(parts[c] * PictureType<Value>::kWhite / 100);
        }
    }
    return picture;
}

// Writes the soft colours and reads them; no sample may be off by a share of `tolerance` of white.
template <typename Value>
void ExpectColoursKept(const char* name, int channels, int width, int height, float tolerance) {
    SCOPED_TRACE(std::to_string(channels) + " channels, width " + std::to_string(width));
    const TemporaryFolder folder;
    const Picture picture = SoftPicture<Value>(width, height, channels);
    const auto depth = sizeof(Value) == 1 ? SampleDepth::kByte : SampleDepth::kWord;
    WriteClip(folder / name, SettingsFor(SourceInfo(width, height, channels, depth)),
              {picture, picture});
    const auto clip = OpenClip(folder / name);
    EXPECT_EQ(clip->Info().channels, channels);
    Picture read;
    clip->Read(1, read);
    ASSERT_EQ(read.pixelType, picture.pixelType);
    const auto* a = reinterpret_cast<const Value*>(read.pixels.data());
    const auto* b = reinterpret_cast<const Value*>(picture.pixels.data());
    int largest = 0;
    for (int i = 0; i < width * height * 4; ++i) largest = std::max(largest, std::abs(a[i] - b[i]));
    EXPECT_LT(largest, tolerance * PictureType<Value>::kWhite);
}

TEST(Movie, LossyFormatsKeepColoursAtEverySize) {
    for (const int channels : {3, 4}) {
        for (const auto& [width, height] : {std::pair{160, 96}, {161, 722}, {175, 97}}) {
            ExpectColoursKept<std::uint16_t>("a.mov", channels, width, height, 1.0f / 80.0f);
        }
    }
    for (const int width : {160, 161})
        ExpectColoursKept<std::uint8_t>("a.mp4", 3, width, 97, 0.04f);
}

// Lines that differ in colour by turns: where chroma crosses from field to field, all of them do.
TEST(Movie, FieldsKeepTheirOwnColours) {
    Picture picture;
    picture.SetShape(64, 32, ZPPixUChar);
    const std::uint8_t colours[2][4] = {{200, 60, 40, 255}, {40, 90, 200, 255}};
    for (int i = 0; i < 64 * 32; ++i) {
        std::memcpy(&picture.pixels[i * 4], colours[i / 64 % 2], 4);
    }
    OutputSettings settings = SettingsFor(SourceInfo(64, 32, 3, SampleDepth::kByte));
    for (const auto order : {FieldOrder::kUpperFirst, FieldOrder::kLowerFirst}) {
        const TemporaryFolder folder;
        settings.fieldOrder = order;
        WriteClip(folder / "a.mp4", settings, {picture, picture});
        for (const bool apart : {true, false}) {
            const auto clip = OpenClip(folder / "a.mp4");
            EXPECT_EQ(clip->Info().fieldOrder, order);
            if (apart) clip->KeepFieldsApart();
            Picture read;
            clip->Read(1, read);
            int largest = 0;
            for (std::size_t i = 0; i < read.pixels.size(); ++i) {
                largest = std::max(largest, std::abs(std::to_integer<int>(read.pixels[i]) -
                                                     std::to_integer<int>(picture.pixels[i])));
            }
            EXPECT_EQ(largest < 6, apart) << largest;
        }
    }
}

TEST(Movie, ACutMovieNamesItsLastFrame) {
    for (const std::string name : kOutputNames) {
        SCOPED_TRACE(name);
        const TemporaryFolder folder;
        const std::string file = folder / name;
        WriteNumbered(file, 60);
        std::filesystem::resize_file(file, std::filesystem::file_size(file) / 2);
        const auto clip = OpenClip(file);
        EXPECT_NEAR(static_cast<double>(clip->Info().frames), 60.0, 1.0);
        Picture read;
        int whole = 0;
        const std::string text = ErrorOf(Kind::kInput, [&] {
            for (; whole < 60; ++whole) {
                clip->Read(whole, read);
                ASSERT_EQ(NumberIn(read), whole);
            }
        });
        EXPECT_GT(whole, 3);
        EXPECT_LT(whole, 58);
        ExpectContains(text, name + ", frame " + std::to_string(whole));
        ExpectContains(text, "cut short");
    }
}

TEST(Movie, WhatIsNoMovieIsTold) {
    const TemporaryFolder folder;
    std::ofstream(folder / "text.mov") << "no movie";
    ExpectContains(ErrorOf(Kind::kInput, [&] { OpenClip(folder / "text.mov"); }), "text.mov");
    WriteNumbered(folder / "a.mkv", 3);
    const auto clip = OpenClip(folder / "a.mkv");
    Picture read;
    for (const int frame : {-1, 3}) {
        ExpectContains(ErrorOf(Kind::kInput, [&] { clip->Read(frame, read); }), "the last is 2");
    }
}

TEST(Movie, OutputsStandUnderTheirNameWhenWhole) {
    for (const std::string name : kOutputNames) {
        SCOPED_TRACE(name);
        const TemporaryFolder folder;
        OutputSettings settings = MovieSettings();
        {
            const auto writer = CreateClip(folder / name, settings, {0, 1});
            for (int i = 0; i < 2; ++i) writer->Write(i, NumberedPicture(i));
            EXPECT_FALSE(std::filesystem::exists(folder / name));
        }
        EXPECT_TRUE(folder.Names().empty());

        WriteNumbered(folder / name, 2);
        ErrorOf(Kind::kOutputExists, [&] { CreateClip(folder / name, settings, {0}); });
        settings.overwrite = true;
        WriteNumbered(folder / name, 3, settings);
        settings.source = OpenClip(folder / name)->Info();
        EXPECT_EQ(settings.source.frames, 3);
        ErrorOf(Kind::kFailure, [&] { CreateClip(folder / name, settings, {0}); });
        EXPECT_EQ(folder.Names(), std::vector<std::string>{name});
    }
}

TEST(Movie, EqualRunsGiveEqualFiles) {
    for (const std::string name : kOutputNames) {
        const TemporaryFolder folder;
        const auto content = [&](const std::string& file) {
            WriteNumbered(folder / file, 8);
            std::ifstream stream(folder / file, std::ios::binary);
            return std::string(std::istreambuf_iterator<char>(stream), {});
        };
        EXPECT_EQ(content(name), content("other_" + name)) << name;
    }
}

TEST(Movie, AFullDiskLeavesNoFile) {
    const TemporaryFolder folder;
    for (const std::string name : kOutputNames) {
        ExpectContains(FullDiskErrorOf(3000, [&] { WriteNumbered(folder / name, 30); }),
                       "make room");
        EXPECT_TRUE(folder.Names().empty());
    }
}

}  // namespace
}  // namespace velorin
