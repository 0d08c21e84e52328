#include <dlfcn.h>
#include <unistd.h>

#include <fstream>

#include "image/arithmetic.h"
#include "spark_host/plugin_session.h"
#include "standalone/thread_pool.h"

namespace velorin {
namespace {

// A frame of the front clip as the plug-in hands it to the engine: 12 bits widened to 16.
std::unique_ptr<ZPImage> EngineFrame(const SparkHost& host, int number) {
    const SparkFrames& shape = host.session.frames;
    std::vector<std::byte> frame(shape.Bytes());
    host.session.serve(0, number, frame.data());
    auto image =
        std::make_unique<ZPImage>(shape.width, shape.height, 4, PixelTypeOfFormat(shape.format), 1);
    UnpackHostFrame(frame.data(), shape.width, shape.height, shape.format,
                    static_cast<std::byte*>(image->data));
    if (image->pixelType != ZPPixUShort) return image;
    KQImage handle;
    KQImageInternal internal(*image);
    handle.WrapInternal(internal);
    for (int y = 0; y < shape.height; ++y) {
        std::uint16_t* row = image->Row<std::uint16_t>(y);
        for (int i = 0; i < 4 * shape.width; ++i) row[i] >>= 4;
    }
    ScaleForHostDepth(&handle, 65535.0f / 4095.0f);
    return image;
}

// The engine's result as the host holds it: 16 bits narrowed to 12.
std::vector<std::byte> HostFrame(ZPImage& image, int format) {
    KQImage handle;
    KQImageInternal internal(image);
    handle.WrapInternal(internal);
    ScaleClamped(&handle, 4095.0f / 65535.0f, 4095.0f);
    for (int y = 0; y < image.height && image.pixelType == ZPPixUShort; ++y) {
        std::uint16_t* row = image.Row<std::uint16_t>(y);
        for (int i = 0; i < 4 * image.width; ++i) row[i] = static_cast<std::uint16_t>(row[i] << 4);
    }
    std::vector<std::byte> frame(static_cast<std::size_t>(image.width) * image.height *
                                 HostPixelBytes(format));
    PackHostFrame(static_cast<const std::byte*>(image.data), image.width, image.height, format,
                  frame.data());
    return frame;
}

TEST(Frames, AreTheEnginesInAllFormats) {
    for (int format : {24, 25, 48, 49, 64}) {
        PluginSession plugin(FramesOf(format));
        plugin.host.Begin();
        EXPECT_TRUE(plugin.host.Supports(format));
        std::vector<std::unique_ptr<ZPImage>> frames;
        for (int i = 0; i < kClipFrames; ++i) frames.push_back(EngineFrame(plugin.host, i));
        MemoryHost engine(std::move(frames));
        engine.timeMap = [](float time) { return time * 0.5f; };
        plugin.Set("SparkFloat32", 0.5);
        for (const auto& [method, warping] : {std::pair{1, 0}, {2, 1}, {0, 2}}) {
            plugin.Set("SparkPup27", engine.method = method);
            plugin.Set("SparkPup29", engine.warping = warping);
            for (int frame : {0, 1, 5, 14, 15}) {
                ASSERT_EQ(engine.Render(static_cast<float>(frame)), 0);
                EXPECT_EQ(plugin.Render(frame), HostFrame(*engine.result, format))
                    << format << " frame " << frame;
            }
        }
    }
    PluginSession plugin(FramesOf(24));
    for (int format : {0, 23, 26, 47, 50, 63, 65}) EXPECT_FALSE(plugin.host.Supports(format));
}

TEST(Frames, CurvesLeadTheTime) {
    PluginSession plugin(FramesOf(24));
    plugin.host.Begin();
    const std::vector<std::byte> third = plugin.Render(3);
    const SparkPanel& panel = plugin.host.Panel();
    for (const char* line : {"SparkFloat32 at 1 = 0", "SparkFloat32 at 4 = 3",
                             "SparkFloat25 at 1 = 1", "SparkFloat25 at 3 = 7"}) {
        ParseSetting(line, panel).Apply(plugin.host.session.curves);
    }
    EXPECT_EQ(plugin.Render(3), third);  // speeds 0, 1 and 2
    plugin.Set("SparkPup31", 0);
    plugin.Edit("SparkPup31", 1);  // the curve holds 4 at its frame 2
    EXPECT_EQ(plugin.host.session.buffers[kSparkResult], third);
}

TEST(Frames, SourceTimeShowsTheFrontClip) {
    for (int format : {24, 48, 49}) {
        PluginSession plugin(FramesOf(format));
        plugin.host.Begin();
        plugin.Set("SparkPup13", 0);
        plugin.Set("SparkFloat32", 0.5);
        std::vector<std::byte> front(plugin.host.session.frames.Bytes());
        plugin.host.session.serve(0, 5, front.data());
        EXPECT_EQ(plugin.CallsDuring("sparkMpFork", [&] { EXPECT_EQ(plugin.Render(5), front); }),
                  0);
    }
}

TEST(Frames, AreTheSameOnAnyNumberOfThreads) {
    for (int format : {24, 48, 49}) {
        std::vector<std::byte> expected;
        for (int threads : {1, 2, 8, 64}) {
            // Lines enough for 64 workers, and pixels that 64 do not divide.
            PluginSession plugin(FramesOf(format, 33, 1031, threads));
            plugin.host.Begin();
            plugin.Set("SparkFloat32", 0.5);
            plugin.Set("SparkBoolean36", 1);
            const std::vector<std::byte> frame = plugin.Render(3);
            if (threads == 1) expected = frame;
            EXPECT_EQ(frame, expected) << format << " on " << threads;
            EXPECT_EQ(std::count(frame.begin(), frame.end(), kUntouched) >
                          static_cast<std::ptrdiff_t>(frame.size() / 2),
                      false);
        }
    }
}

TEST(Frames, SizesAndDepthsMayChangeInBetween) {
    struct Shape {
        int format, width, height;
        std::vector<std::byte> alone;
    };
    std::vector<Shape> shapes = {{24, 48, 40, {}}, {49, 48, 40, {}}, {48, 48, 40, {}},
                                 {24, 40, 48, {}}, {25, 20, 20, {}}, {64, 130, 90, {}}};
    for (Shape& shape : shapes) {
        PluginSession plugin(FramesOf(shape.format, shape.width, shape.height, 2));
        plugin.host.Begin();
        plugin.Set("SparkFloat32", 0.5);
        shape.alone = plugin.Render(3);
        EXPECT_FALSE(IsBlack(shape.alone));
    }
    PluginSession plugin(FramesOf(24));
    plugin.host.Begin();
    plugin.Set("SparkFloat32", 0.5);
    for (int round = 0; round < 2; ++round) {
        for (const Shape& shape : shapes) {
            plugin.host.SetFrames(FramesOf(shape.format, shape.width, shape.height, 2));
            EXPECT_EQ(plugin.Render(3), shape.alone) << shape.format << " " << shape.width;
        }
    }
    plugin.host.SetFrames(FramesOf(24, 1, 1));
    EXPECT_TRUE(IsBlack(plugin.Render(3)));
}

TEST(Frames, MenusWithoutSuchAnEntryCountAsTheFirst) {
    const auto render = [](int value) {
        PluginSession plugin(FramesOf(24));
        plugin.host.Begin();
        plugin.Set("SparkFloat32", 0.5);
        for (int number : {16, 17, 27, 28, 29, 30}) {
            plugin.Set("SparkPup" + std::to_string(number), value);
        }
        return plugin.Render(3);
    };
    const std::vector<std::byte> first = render(0);
    for (int value : {-1, 5, 99, INT32_MIN, INT32_MAX}) EXPECT_EQ(render(value), first) << value;
    // Anything else may be black, and no more.
    PluginSession plugin(FramesOf(24));
    plugin.host.Begin();
    for (const SparkControl& control : plugin.host.Panel().Controls()) {
        if (!control.HasValue() || control.number == 32 || control.number == 25) continue;
        const double before = control.Value();
        for (double value : {control.Limits().least, control.Limits().greatest, -7.0}) {
            control.SetValue(value);
            plugin.Render(1);
        }
        control.SetValue(before);
    }
}

// A frame lies between two of the clip's and needs both.
TEST(Frames, FetchedOnesAreKept) {
    PluginSession plugin(FramesOf(24));
    plugin.host.Begin();
    plugin.Set("SparkPup31", 0);
    const auto fetches = [&](const std::vector<float>& times) {
        return plugin.FetchesDuring([&] {
            for (const float time : times) {
                plugin.host.session.curves[25].SetKey(1.0f, time + 1.0f);
                plugin.Render(0);
            }
        });
    };
    EXPECT_EQ(fetches({4.5f, 5.5f, 5.25f}), " 0 4 0 5 0 6");
    EXPECT_EQ(fetches({4.5f}), " 0 4 0 5") << "4 takes the place of 5, the elder one";
    plugin.Set("SparkBoolean18", 1);
    EXPECT_EQ(fetches({4.5f, 4.5f}).find("0 4"), std::string::npos);
    plugin.Set("SparkBoolean18", 0);
    const std::string anew = " 0 4 0 5 0 4 0 5";
    plugin.host.session.conditions.environment = 2;
    EXPECT_EQ(fetches({4.5f, 4.5f}), anew);
    plugin.host.session.conditions.environment = 0;
    plugin.Set("SparkBoolean19", 0);
    EXPECT_EQ(fetches({4.5f, 4.5f}), anew);
}

// Estimation and drawing fork for each of their steps.
TEST(Frames, WhatIsKeptIsNotEstimatedAgain) {
    const auto forks = [](int quality, bool cache, int environment) {
        PluginSession plugin(FramesOf(24, 96, 96, 2));
        plugin.host.session.conditions.environment = environment;
        plugin.host.Begin();
        plugin.Set("SparkFloat32", 0.25);
        plugin.Set("SparkPup28", quality);
        plugin.Set("SparkBoolean19", cache);
        std::vector<int> counts;
        for (int frame : {5, 5, 6}) {
            counts.push_back(plugin.CallsDuring("sparkMpFork", [&] { plugin.Render(frame); }));
        }
        return counts;
    };
    const std::vector<int> best = forks(4, true, 0), sloppy = forks(2, true, 0);
    EXPECT_GT(best[0], sloppy[0]);  // one size more
    EXPECT_GT(sloppy[0], 2 * sloppy[1]);
    EXPECT_EQ(best[1], sloppy[1]);  // drawing alone
    EXPECT_EQ(best[2], best[1]);
    for (const std::vector<int>& anew : {forks(4, false, 0), forks(4, true, 2)}) {
        EXPECT_GT(anew[0], sloppy[0]);
        EXPECT_EQ(anew, std::vector<int>(3, anew[0]));
    }
}

// Runs without a user take their values from elsewhere, and their frames in order.
TEST(Frames, OtherModesLeaveThePanelAlone) {
    PluginSession plugin(FramesOf(24));
    plugin.host.Begin();
    plugin.Set("SparkPup31", 0);
    plugin.host.session.frames.mode = 7;
    EXPECT_EQ(plugin.host.Start(2), 3);
    plugin.host.session.frames.mode = kSparkBatch;
    EXPECT_EQ(plugin.host.Start(2), 1);
    EXPECT_EQ(plugin.FetchesDuring([&] { EXPECT_TRUE(plugin.host.Process(0)); }),
              " 1 2 1 3 0 2 0 3 2 2 2 3")
        << plugin.log;
    EXPECT_EQ(plugin.FetchesDuring([&] { EXPECT_TRUE(plugin.host.Process(0)); }),
              " 1 3 1 4 0 4 2 3 2 4")
        << plugin.log;
    EXPECT_EQ(plugin.log.find("sparkGetCurveValue"), std::string::npos);
}

// Lengths are taken through single precision.
TEST(Frames, RunsWithoutAUserEndWithTheRest) {
    struct Case {
        int length, frame, calls;
    };
    constexpr Case kCases[] = {{5, 0, 1},
                               {5, 4, 1},
                               {16777216, 16777215, 1},
                               {16777217, 0, 0},
                               {16777217, 16777215, 0},
                               {16777217, 16777216, 16777216},
                               {16777219, 16777217, 1},
                               {16777219, 16777218, 2}};
    PluginSession plugin(FramesOf(24));
    plugin.host.session.frames.mode = kSparkBatch;
    for (const Case& c : kCases) {
        plugin.host.session.frames.length = c.length;
        EXPECT_EQ(plugin.host.Start(c.frame), c.calls) << c.length << " " << c.frame;
    }
}

std::size_t ResidentBytes() {
    std::size_t all = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> all >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

TEST(Frames, LoadingAgainAndAgainLeavesNothingBehind) {
    constexpr int kWarmUp = 8;
    constexpr std::size_t kSteady = 1 << 20;
    constexpr int kRounds = 1000;
    std::size_t before = 0;
    for (int round = 0; round < kWarmUp + kRounds; ++round) {
        if (round == kWarmUp) before = ResidentBytes();
        {
            PluginSession plugin(FramesOf(round % 2 ? 24 : 49, 40, 32, 2));
            plugin.host.Begin();
            plugin.Set("SparkFloat32", 0.5);
            plugin.Set("SparkBoolean36", round % 3 == 0);
            plugin.failingFrame = round % 5 == 0 ? 1 : -1000;
            plugin.Render(1);
        }
        ASSERT_EQ(dlopen(VELORIN_PLUGIN, RTLD_NOW | RTLD_NOLOAD), nullptr);
    }
    EXPECT_TRUE(kSanitized || ResidentBytes() < before + kSteady);
    UseThreads(1);
}

}  // namespace
}  // namespace velorin
