#include "spark_host/plugin_session.h"

namespace velorin {
namespace {

struct BufferCase {
    int id;
    const char* missing;
    const char* unlocked;
    const char* null;  // null: with pointers
};

constexpr BufferCase kBuffers[] = {
    {kSparkResult, "Error: Can't get result clip buffer\n",
     "Error: result clip buffer not locked\n", nullptr},
    {kSparkFront, "Error: Can't get front clip buffer\n", "Error: front clip buffer not locked\n",
     nullptr},
    {kSparkBack, "Error: Can't get back clip buffer\n", "Error: back clip buffer not locked\n",
     "Error: null buffer pointer back(0)\n"},
    {kSparkMatte, "Error: Can't get matte clip buffer\n", "Error: matte clip buffer not locked\n",
     "Error: null buffer pointer matte(0)\n"},
    {kSparkScratch, "Error: Can't get tmp clip buffer\n", "Error: tmp1 clip buffer not locked\n",
     "Error: null buffer pointer tmp1(0)\n"},
};

TEST(Failures, BuffersThatAreMissingUnlockedOrNull) {
    PluginSession plugin(FramesOf(24));
    plugin.host.Begin();
    SparkConditions& conditions = plugin.host.session.conditions;
    for (const BufferCase& buffer : kBuffers) {
        conditions = {};
        conditions.missing = {buffer.id};
        EXPECT_EQ(StdoutOf([&] { EXPECT_FALSE(plugin.host.Process(0)); }), buffer.missing);
        conditions = {};
        conditions.unlocked = {buffer.id};
        EXPECT_EQ(StdoutOf([&] { EXPECT_FALSE(plugin.host.Process(0)); }), buffer.unlocked);
        conditions = {};
        conditions.null = {buffer.id};
        const std::string text = StderrOf([&] { EXPECT_FALSE(plugin.host.Process(0)); });
        if (buffer.null) {
            EXPECT_EQ(text, buffer.null);
            continue;
        }
        const int other = buffer.id == kSparkResult ? kSparkFront : kSparkResult;
        const auto low = static_cast<int>(
            reinterpret_cast<std::uintptr_t>(plugin.host.session.buffers[other].data()));
        char expected[100];
        std::snprintf(expected, sizeof expected,
                      "Error: null buffer pointer result(%d) front(%d)\n",
                      other == kSparkResult ? low : 0, other == kSparkFront ? low : 0);
        EXPECT_EQ(text, expected);
    }
    conditions = {};
    conditions.missing = {kSparkMatte, kSparkBack};
    conditions.unlocked = {kSparkResult};
    EXPECT_EQ(StdoutOf([&] { plugin.host.Process(0); }), kBuffers[2].missing) << "order";
}

TEST(Failures, OldHostsAndEmptyClipsAreToldOfAndTheWorkGoesOn) {
    PluginSession plugin(FramesOf(24));
    plugin.host.session.conditions.version = 3.9f;
    plugin.host.Begin();
    EXPECT_EQ(plugin.told, "The version doesn't support this plug-in\n");
    EXPECT_EQ(plugin.CallsOf("sparkLoadSetup"), 1);
    plugin.host.session.frames.length = 0;
    for (int mode : {0, 1, 2}) {
        plugin.host.session.frames.mode = mode;
        EXPECT_EQ(StdoutOf([&] { EXPECT_EQ(plugin.host.Start(0), 1); }),
                  "SparkProcessStart: Error total clip length <= 0\n");
    }
    plugin.host.session.frames.mode = kSparkInteractive;
    EXPECT_TRUE(plugin.host.Process(0));
    EXPECT_FALSE(IsBlack(plugin.host.session.buffers[kSparkResult]));
    EXPECT_TRUE(plugin.Edit("SparkPush34", 0));
}

TEST(Failures, AFailedFrameIsBlackAndTheNextOneIsNot) {
    for (int format : {24, 48, 49}) {
        PluginSession plugin(FramesOf(format));
        plugin.host.Begin();
        plugin.Set("SparkFloat32", 0.5);
        const std::vector<std::byte> good = plugin.Render(3);
        plugin.Set("SparkBoolean19", 0);
        for (int failing : {1, 2}) {
            plugin.failingFrame = failing;
            EXPECT_TRUE(IsBlack(plugin.Render(3)));
        }
        plugin.Set("SparkBoolean19", 1);
        plugin.Render(5);  // needs frame 2, which must not come out of the cache from now on
        plugin.failingFrame = -1000;
        EXPECT_EQ(plugin.Render(3), good);
        EXPECT_EQ(plugin.told, "");
        // No byte beyond the frame's.
        plugin.failingFrame = 1;
        plugin.Set("SparkBoolean19", 0);
        std::vector<std::byte>& result = plugin.host.session.buffers[kSparkResult];
        result.resize(good.size() + 64, kUntouched);
        EXPECT_TRUE(plugin.host.Process(3));
        EXPECT_EQ(result[good.size() - 1], std::byte{0});
        EXPECT_EQ(std::count(result.begin() + good.size(), result.end(), kUntouched), 64);
    }
}

TEST(Failures, TooLittleMemoryIsToldByTheImageThatLacksIt) {
    if (kSanitized) GTEST_SKIP();
    // Large enough that each block has its own mapping.
    for (const auto& [format, height, secondField] :
         {std::tuple{24, 4400, "Cannot process image due to tmp image buffer allocation error\n"},
          {64, 2200, "Cannot process image due to image buffer allocation error\n"},
          {49, 1100, "Cannot process image due to tmp image buffer allocation error\n"}}) {
        PluginSession plugin(FramesOf(format, 2000, height));
        plugin.host.Begin();
        plugin.Set("SparkPup17", 1);
        const std::size_t block = 35'200'000;
        const std::pair<std::size_t, std::string> cases[] = {
            {block / 2, "Cannot process image due to result image buffer allocation error\n"},
            {block + block / 2, secondField}};
        for (const auto& [spare, text] : cases) {
            plugin.host.session.conditions.spareBytes = spare;
            plugin.told.clear();
            EXPECT_TRUE(IsBlack(plugin.Render(0)));
            EXPECT_EQ(plugin.told, text);
        }
    }
}

TEST(Failures, TooLittleMemoryForTheEngineGivesBlackFrames) {
    if (kSanitized) GTEST_SKIP();
    PluginSession plugin(FramesOf(49, 2000, 1650));
    plugin.host.Begin();
    plugin.Set("SparkFloat32", 0.5);
    plugin.Set("SparkBoolean19", 0);
    // Drawn before memory is short.
    std::vector<std::vector<std::byte>> clip(2, plugin.host.session.buffers[kSparkFront]);
    for (int frame : {0, 1}) plugin.host.session.serve(0, frame, clip[frame].data());
    plugin.host.session.serve = [&](int, int frame, std::byte* pixels) {
        std::copy(clip[frame].begin(), clip[frame].end(), pixels);
        return true;
    };
    int black = 0, whole = 0;
    std::vector<std::byte> good;
    for (std::size_t megabytes : {900, 10, 20, 40, 80, 160}) {
        plugin.host.session.conditions.spareBytes = megabytes << 20;
        const std::vector<std::byte> frame = plugin.Render(1);
        if (good.empty()) good = frame;
        const bool isBlack = IsBlack(frame);
        EXPECT_TRUE(isBlack || frame == good);
        ++(isBlack ? black : whole);
    }
    EXPECT_GT(black, 0);
    EXPECT_GT(whole, 0);
}

}  // namespace
}  // namespace velorin
