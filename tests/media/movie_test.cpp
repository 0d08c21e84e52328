#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <map>
#include <numeric>

#include "media/clips.h"
#include "media/libav.h"
#include "support/noise.h"

namespace velorin {
namespace {

using Kind = MediaError::Kind;

// The frame's number in ten squares of black and white, over a moving ground: any decoded frame
// tells which it is.
constexpr int kSquare = 16;
constexpr int kWidth = 10 * kSquare;
constexpr int kHeight = 64;

template <typename Value>
Picture NumberedPicture(int number, int width = kWidth, int height = kHeight) {
    Picture picture;
    picture.SetShape(width, height, PictureType<Value>::kPixelType);
    const auto white = static_cast<Value>(PictureType<Value>::kWhite);
    auto* pixel = reinterpret_cast<Value*>(picture.pixels.data());
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x, pixel += 4) {
            for (int c = 0; c < 3; ++c) {
                pixel[c] =
                    y < kSquare
                        ? ((number >> std::min(x / kSquare, 9)) & 1 ? white : Value{0})
                        : static_cast<Value>(white / 255 * ((x * (c + 1) + y + number * 3) % 256));
            }
            pixel[3] = white;
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

std::vector<Picture> NumberedPictures(int count) {
    std::vector<Picture> pictures;
    for (int i = 0; i < count; ++i) pictures.push_back(NumberedPicture<std::uint8_t>(i));
    return pictures;
}

OutputSettings MovieSettings(int channels = 3, SampleDepth depth = SampleDepth::kByte) {
    OutputSettings settings = SettingsFor(SourceInfo(kWidth, kHeight, channels, depth));
    settings.source.rate = {24000, 1001};
    return settings;
}

// Reads every frame in order, then in an order made at random and backwards, and compares.
void ExpectExactFrames(const std::string& name, const std::vector<int>& numbers) {
    SCOPED_TRACE(name);
    const int count = static_cast<int>(numbers.size());
    const auto clip = OpenClip(name);
    ASSERT_EQ(clip->Info().frames, count);
    std::vector<Picture> inOrder(count);
    for (int i = 0; i < count; ++i) {
        clip->Read(i, inOrder[i]);
        ASSERT_EQ(NumberIn(inOrder[i]), numbers[i]) << "frame " << i;
    }
    std::vector<int> order(count);
    std::iota(order.begin(), order.end(), 0);
    std::reverse(order.begin(), order.end());
    if (count > 60) order.resize(60);
    Noise noise(5);
    for (int i = 0; i < 60; ++i) order.push_back(noise.Int(0, count - 1));
    const auto again = OpenClip(name);
    Picture read;
    for (const int i : order) {
        again->Read(i, read);
        ASSERT_TRUE(SamePixels(read, inOrder[i])) << "frame " << i;
    }
}

std::vector<int> FromTo(int first, int last) {
    std::vector<int> numbers(last - first + 1);
    std::iota(numbers.begin(), numbers.end(), first);
    return numbers;
}

// Copies a movie's packets into another file, changed on the way. `change` may answer false to
// leave a packet out; `adjust` may change the new stream before its head is written.
template <typename Change, typename Adjust>
void Remux(const std::string& from, const std::string& to, AVRational timeBase, Change&& change,
           Adjust&& adjust) {
    AVFormatContext* in = nullptr;
    ASSERT_EQ(avformat_open_input(&in, from.c_str(), nullptr, nullptr), 0);
    ASSERT_GE(avformat_find_stream_info(in, nullptr), 0);
    AVFormatContext* out = nullptr;
    ASSERT_GE(avformat_alloc_output_context2(&out, nullptr, nullptr, to.c_str()), 0);
    AVStream* stream = avformat_new_stream(out, nullptr);
    avcodec_parameters_copy(stream->codecpar, in->streams[0]->codecpar);
    stream->codecpar->codec_tag = 0;
    stream->time_base = timeBase;
    adjust(*stream);
    ASSERT_GE(avio_open(&out->pb, to.c_str(), AVIO_FLAG_WRITE), 0);
    ASSERT_GE(avformat_write_header(out, nullptr), 0);
    const AvPacket packet = MakePacket();
    while (av_read_frame(in, packet.get()) >= 0) {
        av_packet_rescale_ts(packet.get(), in->streams[0]->time_base, timeBase);
        if (change(*packet)) {
            av_packet_rescale_ts(packet.get(), timeBase, stream->time_base);
            packet->stream_index = 0;
            packet->pos = -1;
            ASSERT_GE(av_write_frame(out, packet.get()), 0);
        }
        av_packet_unref(packet.get());
    }
    ASSERT_EQ(av_write_trailer(out), 0);
    avio_closep(&out->pb);
    avformat_free_context(out);
    avformat_close_input(&in);
}

TEST(Movie, H264FramesComeByExactNumber) {
    const TemporaryFolder folder;
    const std::string mp4 = folder / "long.mp4";
    constexpr int kFrames = 300;  // more than one group of pictures of the encoder's 250
    WriteClip(mp4, MovieSettings(), NumberedPictures(kFrames));
    ExpectExactFrames(mp4, FromTo(0, kFrames - 1));
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"long.mp4"});

    const ClipInfo info = OpenClip(mp4)->Info();
    EXPECT_TRUE(info.isMovie);
    EXPECT_EQ(info.rate.numerator, 24000);
    EXPECT_EQ(info.rate.denominator, 1001);
    EXPECT_EQ(info.channels, 3);

    // The test is about pictures that are stored out of order: see that there are some.
    bool outOfOrder = false;
    const AVRational ticks{1, 90000};
    const auto same = [&](AVPacket& packet) {
        outOfOrder = outOfOrder || packet.pts != packet.dts;
        return true;
    };
    const auto keep = [](AVStream&) {};
    Remux(mp4, folder / "same.mkv", ticks, same, keep);
    EXPECT_TRUE(outOfOrder);
    ExpectExactFrames(folder / "same.mkv", FromTo(0, kFrames - 1));
    Remux(mp4, folder / "same.ts", ticks, same, keep);
    ExpectExactFrames(folder / "same.ts", FromTo(0, kFrames - 1));

    // Times that grow ever more, and keep the order of showing and decoding.
    const auto stretch = [](AVPacket& packet) {
        const auto later = [](std::int64_t time) { return time + time * time / 400000; };
        packet.pts = later(packet.pts + 20000);
        packet.dts = later(packet.dts + 20000);
        packet.duration = 0;
        return true;
    };
    Remux(mp4, folder / "variable.mkv", ticks, stretch, keep);
    ExpectExactFrames(folder / "variable.mkv", FromTo(0, kFrames - 1));
    EXPECT_NE(OpenClip(folder / "variable.mkv")->Info().rate.numerator, 24000);

    // No times at all: frames are counted.
    const auto bare = [](AVPacket& packet) {
        packet.pts = packet.dts = AV_NOPTS_VALUE;
        return true;
    };
    Remux(mp4, folder / "bare.h264", ticks, bare, keep);
    ExpectExactFrames(folder / "bare.h264", FromTo(0, kFrames - 1));
}

// Encodes with settings that CreateClip does not use.
void EncodeWith(const std::string& name, const std::string& codecName, AVPixelFormat format,
                const std::map<std::string, std::string>& options, int frames) {
    const AVCodec* found = avcodec_find_encoder_by_name(codecName.c_str());
    ASSERT_NE(found, nullptr) << codecName << " is not installed";
    SilenceLibraries();
    AVFormatContext* out = nullptr;
    avformat_alloc_output_context2(&out, nullptr, nullptr, name.c_str());
    AvCodec codec(avcodec_alloc_context3(found));
    codec->width = kWidth;
    codec->height = kHeight;
    codec->pix_fmt = format;
    codec->time_base = {1, 25};
    codec->framerate = {25, 1};
    if (out->oformat->flags & AVFMT_GLOBALHEADER) codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    AVDictionary* dictionary = nullptr;
    for (const auto& [key, value] : options) {
        av_dict_set(&dictionary, key.c_str(), value.c_str(), 0);
    }
    ASSERT_EQ(avcodec_open2(codec.get(), found, &dictionary), 0);
    av_dict_free(&dictionary);
    AVStream* stream = avformat_new_stream(out, nullptr);
    avcodec_parameters_from_context(stream->codecpar, codec.get());
    stream->time_base = codec->time_base;
    ASSERT_GE(avio_open(&out->pb, name.c_str(), AVIO_FLAG_WRITE), 0);
    ASSERT_GE(avformat_write_header(out, nullptr), 0);
    const AvPacket packet = MakePacket();
    for (int i = 0; i <= frames; ++i) {
        const AvFrame frame = MakeFrame();
        frame->width = kWidth;
        frame->height = kHeight;
        frame->format = format;
        frame->pts = i;
        av_frame_get_buffer(frame.get(), 0);
        const Picture picture = NumberedPicture<std::uint8_t>(i);
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                const int red = std::to_integer<int>(picture.pixels[(y * kWidth + x) * 4]);
                frame->data[0][y * frame->linesize[0] + x] =
                    static_cast<std::uint8_t>(16 + red * 219 / 255);
            }
        }
        for (int plane : {1, 2}) {
            std::memset(frame->data[plane], 128, frame->linesize[plane] * kHeight / 2);
        }
        ASSERT_EQ(avcodec_send_frame(codec.get(), i < frames ? frame.get() : nullptr), 0);
        while (avcodec_receive_packet(codec.get(), packet.get()) == 0) {
            packet->duration = 1;
            av_packet_rescale_ts(packet.get(), codec->time_base, stream->time_base);
            packet->stream_index = 0;
            ASSERT_EQ(av_interleaved_write_frame(out, packet.get()), 0);
        }
    }
    ASSERT_EQ(av_write_trailer(out), 0);
    avio_closep(&out->pb);
    avformat_free_context(out);
}

TEST(Movie, OtherCodecsAndContainersAreExactToo) {
    const TemporaryFolder folder;
    constexpr int kFrames = 70;
    const auto check = [&](const char* file, const char* codec,
                           const std::map<std::string, std::string>& options) {
        EncodeWith(folder / file, codec, AV_PIX_FMT_YUV420P, options, kFrames);
        ExpectExactFrames(folder / file, FromTo(0, kFrames - 1));
    };
    const std::map<std::string, std::string> openGroups{
        {"x264-params", "open-gop=1:keyint=12:min-keyint=12:bframes=3:scenecut=0"}};
    for (const char* file : {"prores.mov", "ffv1.mkv"}) {
        WriteClip(folder / file, MovieSettings(), NumberedPictures(kFrames));
        ExpectExactFrames(folder / file, FromTo(0, kFrames - 1));
    }
    check("open.mp4", "libx264", openGroups);
    check("open.mkv", "libx264", openGroups);
    check("open.ts", "libx264", openGroups);
    check("mpeg2.ts", "mpeg2video", {{"bf", "2"}, {"g", "12"}, {"b", "4000000"}});
    check("mpeg2.mpg", "mpeg2video", {{"bf", "2"}, {"g", "12"}, {"b", "4000000"}});
    check("mpeg4.avi", "mpeg4", {{"bf", "2"}, {"g", "12"}, {"b", "4000000"}});
    check("h264.avi", "libx264", {});
    check("hidden.webm", "libvpx",
          {{"auto-alt-ref", "1"}, {"lag-in-frames", "16"}, {"g", "20"}, {"b", "2000000"}});
    check("vp9.webm", "libvpx-vp9",
          {{"lag-in-frames", "16"}, {"g", "20"}, {"b", "2000000"}, {"cpu-used", "8"}});
}

// A movie whose first group leans on one that was cut off begins with the first whole picture.
TEST(Movie, PicturesThatLeanOnACutGroupDoNotCount) {
    const TemporaryFolder folder;
    EncodeWith(folder / "whole.mkv", "libx264", AV_PIX_FMT_YUV420P,
               {{"x264-params", "open-gop=1:keyint=12:min-keyint=12:bframes=3:scenecut=0"}}, 70);
    int keys = 0;
    int first = -1;
    Remux(
        folder / "whole.mkv", folder / "cut.mkv", {1, 25},
        [&](AVPacket& packet) {
            if ((packet.flags & AV_PKT_FLAG_KEY) != 0 && ++keys == 2) {
                first = static_cast<int>(packet.pts);
            }
            return keys >= 2;
        },
        [](AVStream&) {});
    ASSERT_GT(first, 0);
    ExpectExactFrames(folder / "cut.mkv", FromTo(first, 69));
}

TEST(Movie, RotationIsApplied) {
    const TemporaryFolder folder;
    WriteClip(folder / "flat.mp4", MovieSettings(), NumberedPictures(2));
    Picture flat;
    OpenClip(folder / "flat.mp4")->Read(1, flat);
    constexpr std::int32_t kOne = 1 << 16;
    // Matrix entries 0, 1, 3 and 4, and where the picture's pixel (0, 0) comes to stand.
    struct Case {
        std::int32_t a, b, c, d;
        bool right, bottom;
    };
    for (const Case& turned :
         {Case{0, kOne, -kOne, 0, true, false}, Case{0, -kOne, kOne, 0, false, true},
          Case{-kOne, 0, 0, -kOne, true, true}, Case{-kOne, 0, 0, kOne, true, false}}) {
        const std::string name = folder / "turned.mov";
        Remux(
            folder / "flat.mp4", name, {1, 24000}, [](AVPacket&) { return true; },
            [&](AVStream& stream) {
                const std::int32_t matrix[9] = {turned.a, turned.b, 0, turned.c, turned.d,
                                                0,        0,        0, 1 << 30};
                auto* data =
                    av_stream_new_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, sizeof matrix);
                std::memcpy(data, matrix, sizeof matrix);
            });
        const auto clip = OpenClip(name);
        const bool across = turned.a == 0;
        EXPECT_EQ(clip->Info().width, across ? kHeight : kWidth);
        Picture read;
        clip->Read(1, read);
        const int x = turned.right ? read.width - 1 : 0;
        const int y = turned.bottom ? read.height - 1 : 0;
        const auto* pixels = reinterpret_cast<const std::uint32_t*>(read.pixels.data());
        const auto* original = reinterpret_cast<const std::uint32_t*>(flat.pixels.data());
        EXPECT_EQ(pixels[y * read.width + x], original[0]);
        // One step to the right in the stored picture.
        const int stepX = across ? 0 : (turned.right ? -1 : 1);
        const int stepY = across ? (turned.bottom ? -1 : 1) : 0;
        for (int step = 1; step < kHeight; ++step) {
            EXPECT_EQ(pixels[(y + stepY * step) * read.width + x + stepX * step], original[step]);
        }
    }
}

template <typename Value>
void ExpectLossless(int channels, int width, int height) {
    const TemporaryFolder folder;
    const SampleDepth depth = sizeof(Value) == 1 ? SampleDepth::kByte : SampleDepth::kWord;
    std::vector<Picture> pictures(5);
    Noise noise(9);
    for (Picture& picture : pictures) {
        picture.SetShape(width, height, PictureType<Value>::kPixelType);
        auto* value = reinterpret_cast<Value*>(picture.pixels.data());
        for (int i = 0; i < width * height * 4; ++i) {
            value[i] = static_cast<Value>(noise.Bits());
            if (i % 4 == 3 && channels == 3) value[i] = static_cast<Value>(~Value{0});
            if (i % 12 == 3 && channels == 4) value[i] = 0;
        }
    }
    OutputSettings settings = SettingsFor(SourceInfo(width, height, channels, depth));
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
}

TEST(Movie, Ffv1LosesNothing) {
    for (const int channels : {3, 4}) {
        SCOPED_TRACE(channels);
        ExpectLossless<std::uint8_t>(channels, 47, 31);
        ExpectLossless<std::uint16_t>(channels, 47, 31);
    }
}

// The largest difference of one sample between two pictures, in parts of 65536.
int LargestDifference(const Picture& a, const Picture& b) {
    const std::size_t samples = static_cast<std::size_t>(a.width) * a.height * 4;
    int largest = 0;
    const auto at = [](const Picture& picture, std::size_t i) {
        return picture.pixelType == ZPPixUChar
                   ? std::to_integer<int>(picture.pixels[i]) * 257
                   : reinterpret_cast<const std::uint16_t*>(picture.pixels.data())[i];
    };
    for (std::size_t i = 0; i < samples; ++i) {
        largest = std::max(largest, std::abs(at(a, i) - at(b, i)));
    }
    return largest;
}

// Soft colours without edges: what is left of them tells matrices and ranges that do not match.
Picture SoftPicture(int width, int height) {
    Picture picture;
    picture.SetShape(width, height, ZPPixUShort);
    auto* value = reinterpret_cast<std::uint16_t*>(picture.pixels.data());
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x, value += 4) {
            value[0] = static_cast<std::uint16_t>(60000 * x / width);
            value[1] = static_cast<std::uint16_t>(60000 * y / height);
            value[2] = static_cast<std::uint16_t>(60000 - 50000 * x / width);
            value[3] = static_cast<std::uint16_t>(65535 - 30000 * y / height);
        }
    }
    return picture;
}

TEST(Movie, ProResKeepsColoursAndDepth) {
    for (const int channels : {3, 4}) {
        for (const auto& [width, height] : {std::pair{160, 96}, {161, 722}, {175, 97}}) {
            SCOPED_TRACE(std::to_string(channels) + " channels, width " + std::to_string(width));
            const TemporaryFolder folder;
            Picture picture = SoftPicture(width, height);
            auto* value = reinterpret_cast<std::uint16_t*>(picture.pixels.data());
            for (int i = 3; channels == 3 && i < width * height * 4; i += 4) value[i] = 65535;
            const OutputSettings settings =
                SettingsFor(SourceInfo(width, height, channels, SampleDepth::kWord));
            WriteClip(folder / "a.mov", settings, {picture, picture});
            const auto clip = OpenClip(folder / "a.mov");
            EXPECT_EQ(clip->Info().channels, channels);
            EXPECT_EQ(static_cast<int>(clip->Info().depth), static_cast<int>(SampleDepth::kWord));
            Picture read;
            clip->Read(1, read);
            ASSERT_EQ(read.pixelType, ZPPixUShort);
            EXPECT_LT(LargestDifference(read, picture), 65536 / 80);
        }
    }
}

TEST(Movie, H264KeepsColoursAtEverySize) {
    for (const int width : {160, 161}) {
        const TemporaryFolder folder;
        Picture picture = SoftPicture(width, 97);
        Picture bytes;
        bytes.SetShape(width, 97, ZPPixUChar);
        const auto* value = reinterpret_cast<const std::uint16_t*>(picture.pixels.data());
        for (std::size_t i = 0; i < bytes.pixels.size(); ++i) {
            bytes.pixels[i] = i % 4 == 3 ? std::byte{255} : static_cast<std::byte>(value[i] / 257);
        }
        WriteClip(folder / "a.mp4", SettingsFor(SourceInfo(width, 97, 3, SampleDepth::kByte)),
                  {bytes});
        Picture read;
        OpenClip(folder / "a.mp4")->Read(0, read);
        EXPECT_LT(LargestDifference(read, bytes), 65536 / 25);
    }
}

TEST(Movie, ACutMovieNamesItsLastFrame) {
    for (const std::string name : {"a.mp4", "a.mkv", "a.mov"}) {
        SCOPED_TRACE(name);
        const TemporaryFolder folder;
        const std::string file = folder / name;
        WriteClip(file, MovieSettings(), NumberedPictures(60));
        std::filesystem::resize_file(file, std::filesystem::file_size(file) / 2);
        const auto clip = OpenClip(file);
        EXPECT_NEAR(static_cast<double>(clip->Info().frames), 60.0, 1.0);
        Picture read;
        int whole = 0;
        const std::string text = ErrorOf(Kind::kInput, [&] {
            for (int i = 0; i < 60; ++i) {
                clip->Read(i, read);
                ASSERT_EQ(NumberIn(read), i);
                ++whole;
            }
        });
        EXPECT_GT(whole, 3);
        EXPECT_LT(whole, 58);
        EXPECT_NE(text.find(name + ", frame " + std::to_string(whole)), std::string::npos) << text;
        EXPECT_NE(text.find("cut short"), std::string::npos) << text;
    }
}

TEST(Movie, WhatIsNoMovieIsTold) {
    const TemporaryFolder folder;
    std::ofstream(folder / "text.mov") << "no movie";
    const auto open = [&](const std::string& name) {
        return ErrorOf(Kind::kInput, [&] { OpenClip(folder / name); });
    };
    EXPECT_NE(open("text.mov").find("text.mov"), std::string::npos);
    WriteClip(folder / "a.mkv", MovieSettings(), NumberedPictures(3));
    const auto clip = OpenClip(folder / "a.mkv");
    Picture read;
    for (const int frame : {-1, 3}) {
        const std::string text = ErrorOf(Kind::kInput, [&] { clip->Read(frame, read); });
        EXPECT_NE(text.find("the last is 2"), std::string::npos) << text;
    }
}

TEST(Movie, OutputsStandUnderTheirNameWhenWhole) {
    for (const std::string name : {"a.mp4", "a.mov", "a.mkv"}) {
        SCOPED_TRACE(name);
        const TemporaryFolder folder;
        OutputSettings settings = MovieSettings();
        {
            const auto writer = CreateClip(folder / name, settings, {0, 1});
            for (int i = 0; i < 2; ++i) writer->Write(i, NumberedPicture<std::uint8_t>(i));
            EXPECT_FALSE(std::filesystem::exists(folder / name));
        }
        EXPECT_TRUE(folder.Names().empty());

        WriteClip(folder / name, settings, NumberedPictures(2));
        ErrorOf(Kind::kOutputExists, [&] { CreateClip(folder / name, settings, {0}); });
        settings.overwrite = true;
        WriteClip(folder / name, settings, NumberedPictures(3));
        const auto clip = OpenClip(folder / name);
        EXPECT_EQ(clip->Info().frames, 3);
        settings.source = clip->Info();
        ErrorOf(Kind::kFailure, [&] { CreateClip(folder / name, settings, {0}); });
        EXPECT_EQ(folder.Names(), std::vector<std::string>{name});
    }
}

TEST(Movie, EqualRunsGiveEqualFiles) {
    for (const std::string name : {"a.mp4", "a.mov", "a.mkv"}) {
        const TemporaryFolder folder;
        const auto content = [&](const std::string& file) {
            WriteClip(folder / file, MovieSettings(), NumberedPictures(8));
            std::ifstream stream(folder / file, std::ios::binary);
            return std::string(std::istreambuf_iterator<char>(stream), {});
        };
        EXPECT_EQ(content(name), content("other_" + name)) << name;
    }
}

// A limit on the size of files stands for the full disk.
TEST(Movie, AFullDiskLeavesNoFile) {
    const TemporaryFolder folder;
    for (const std::string name : {"a.mp4", "a.mov", "a.mkv"}) {
        rlimit old;
        getrlimit(RLIMIT_FSIZE, &old);
        const rlimit small{3000, old.rlim_max};
        const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &small);
        const std::string text = ErrorOf(Kind::kFailure, [&] {
            WriteClip(folder / name, MovieSettings(), NumberedPictures(30));
        });
        setrlimit(RLIMIT_FSIZE, &old);
        std::signal(SIGXFSZ, oldHandler);
        EXPECT_NE(text.find("make room"), std::string::npos) << text;
        EXPECT_TRUE(folder.Names().empty());
    }
}

}  // namespace
}  // namespace velorin
