#include <fstream>

#include "spark_host/plugin_session.h"

namespace velorin {
namespace {

std::string ScratchFile(const std::string& text = "") {
    const std::string name = testing::TempDir() + "session.setup";
    std::ofstream(name) << text;
    return name;
}

TEST(Session, AsTheHostSeesIt) {
    PluginSession plugin(FramesOf(24));
    plugin.host.session.frames.length = 5;
    plugin.host.session.setupIn = ScratchFile("SparkFloat32 = 0.5\nSparkBoolean36 = 0\n");
    plugin.host.session.setupOut = plugin.host.session.setupIn;
    const auto edit = [&](const std::string& setting) {
        plugin.Heading(setting);
        plugin.host.Edit(ParseSetting(setting, plugin.host.Panel()), 3);
    };
    plugin.Heading("load");
    plugin.host.Begin();
    plugin.Heading("five frames at half speed");
    for (int frame = 0; frame < 5; ++frame) plugin.Render(frame);
    edit("SparkPup27 = 0");
    edit("SparkPup13 = 0");
    edit("SparkPup14 = 2");
    plugin.Heading("reset");
    plugin.Edit("SparkPush34", 3);
    plugin.Heading("unload");
    plugin.host.End();
    EXPECT_EQ(plugin.log, R"(

load:
SparkInitialise 0
sparkAPIVersionInfo
sparkLoadSetup session.setup
sparkDisableParameter 1 45, 1 44, 1 43, 1 46
sparkEnableParameter 1 32
sparkDisableParameter 1 25, 1 14, 1 15, 1 8
SparkClips
SparkMemoryTempBuffers
sparkMemRegisterBuffer

five frames at half speed:
SparkProcessStart 0
SparkProcess 0
sparkCursorBusy
sparkMemGetBuffer 1, 2, 3, 4, 11
sparkCallingEnv
sparkGetCurveValuef 1 32 1, 1 32 1, 1 32 2
sparkGetCurveValue 1 15 1, 1 15 2
sparkGetFrame 0 0
sparkMpFork
sparkGetFrame 0 1
sparkMpFork,
SparkProcessStart 1
SparkProcess 1
sparkCursorBusy
sparkMemGetBuffer 1, 2, 3, 4, 11
sparkCallingEnv
sparkGetCurveValuef 1 32 1, 1 32 2, 1 32 1, 1 32 2, 1 32 3
sparkGetCurveValue 1 15 1, 1 15 2
sparkMpFork
SparkProcessStart 2
SparkProcess 2
sparkCursorBusy
sparkMemGetBuffer 1, 2, 3, 4, 11
sparkCallingEnv
sparkGetCurveValuef 1 32 1, 1 32 2, 1 32 3, 1 32 1, 1 32 2, 1 32 3, 1 32 4
sparkGetCurveValue 1 15 2, 1 15 3
sparkGetFrame 0 2
sparkMpFork,
SparkProcessStart 3
SparkProcess 3
sparkCursorBusy
sparkMemGetBuffer 1, 2, 3, 4, 11
sparkCallingEnv
sparkGetCurveValuef 1 32 1, 1 32 2, 1 32 3, 1 32 4, 1 32 1, 1 32 2, 1 32 3, 1 32 4, 1 32 5
sparkGetCurveValue 1 15 2, 1 15 3
sparkMpFork
SparkProcessStart 4
SparkProcess 4
sparkCursorBusy
sparkMemGetBuffer 1, 2, 3, 4, 11
sparkCallingEnv
sparkGetCurveValuef 1 32 1, 1 32 2, 1 32 3, 1 32 4, 1 32 5, 1 32 1, 1 32 2, 1 32 3, 1 32 4, 1 32 5, 1 32 6
sparkGetCurveValue 1 15 3, 1 15 4
sparkGetFrame 0 3
sparkMpFork,

SparkPup27 = 0:
sparkCallback 3
sparkCursorBusy
sparkMemGetBuffer 1, 2, 3, 4, 11
sparkCallingEnv
sparkGetCurveValuef 1 32 1, 1 32 2, 1 32 3, 1 32 4, 1 32 1, 1 32 2, 1 32 3, 1 32 4, 1 32 5
sparkGetCurveValue 1 15 2, 1 15 3
sparkGetFrame 0 1
sparkMpFork
sparkGetFrame 0 2
sparkMpFork,
sparkViewingDraw

SparkPup13 = 0:
sparkTimeCallback 3
sparkEnableParameter 1 14, 1 15
sparkCursorBusy
sparkMemGetBuffer 1, 2, 3, 4, 11
sparkGetFrame 0 3
sparkCopyBuffer
sparkViewingDraw

SparkPup14 = 2:
sparkSceneCutCallback 3
sparkProgramGetName
sparkGetCurveValue 1 15 4
sparkSetCurveKeyf 1 15 4 2
sparkGetCurveValue 1 15 5
sparkControlUpdate 15, 14

reset:
sparkResetCallback 3
sparkChClear 1 15
sparkSetCurveKeyf 1 15 0 1, 1 15 1 1, 1 15 2 1, 1 15 3 1, 1 15 4 1, 1 15 5 1
sparkDisableParameter 1 45, 1 44, 1 43, 1 46
sparkEnableParameter 1 32
sparkDisableParameter 1 25, 1 14, 1 15
sparkCursorBusy
sparkMemGetBuffer 1, 2, 3, 4, 11
sparkCallingEnv
sparkGetCurveValuef 1 32 1, 1 32 2, 1 32 3, 1 32 4, 1 32 1, 1 32 2, 1 32 3, 1 32 4, 1 32 5
sparkGetCurveValue 1 15 4, 1 15 5
sparkGetFrame 0 3
sparkMpFork
sparkGetFrame 0 4
sparkMpFork,
sparkViewingDraw

unload:
SparkUnInitialise 0
sparkSaveSetup session.setup)");
}

TEST(Session, SetupsKeepValuesAndCurves) {
    const std::string file = ScratchFile(
        "# a shot\n"
        "SparkPup13 = 2\n"
        "  SparkFloat32=0.25   # slow\r\n"
        "SparkFloat32 at 1 = 0.5\nSparkFloat32 at 4.5 = 1\nSparkInt8 = -210\n\n");
    {
        PluginSession plugin(FramesOf(24));
        plugin.host.session.setupIn = file;
        plugin.host.session.setupOut = file;
        plugin.host.Begin();
    }
    PluginSession plugin(FramesOf(24));
    const SparkPanel& panel = plugin.host.Panel();
    EXPECT_EQ(panel.Find("SparkFloat32")->Value(), 1.0) << "not unloaded";
    plugin.host.session.setupIn = file;
    plugin.host.Begin();
    EXPECT_EQ(panel.Find("SparkPup13")->Value(), 2.0);
    EXPECT_EQ(panel.Find("SparkFloat32")->Value(), 0.25);
    EXPECT_EQ(panel.Find("SparkInt8")->Value(), 210.0);  // the plug-in's mark
    plugin.host.session.setupOut = testing::TempDir() + "shot_0120_comp_v003_slo.setup";  // 29 long
    plugin.host.session.setupIn = plugin.host.session.setupOut;
    plugin.host.End();
    EXPECT_EQ(panel.Find("SparkInt8")->Value(), 'o' | 't' << 8 | '_' << 16 | '0' << 24);
    plugin.host.session.setupIn = file;
    plugin.host.Begin();
    for (const auto& [frame, value] :
         {std::pair{0.0f, 0.5f}, {1.0f, 0.5f}, {2.75f, 0.75f}, {4.5f, 1.0f}, {9.0f, 1.0f}}) {
        EXPECT_EQ(sparkGetCurveValuef(1, 32, frame), value);
    }
    EXPECT_EQ(sparkGetCurveValue(1, 25, 7), 1.0f);
    EXPECT_EQ(plugin.host.session.greyed, (std::set<int>{8, 14, 15, 25, 43, 44, 45, 46}));
}

TEST(Session, FaultyLinesOfASetupAreNamed) {
    for (const auto& [line, text] :
         {std::pair{"SparkFloat99 = 1", ":2: SparkFloat99 is no control of the plug-in"},
          {"SparkPush34 = 1", ":2: SparkPush34 is a button and has no value"},
          {"SparkPush6 = 1", ":2: SparkPush6 is a heading and has no value"},
          {"SparkPup13 1", ":2: SparkPup13 1: give NAME = VALUE, or NAME at FRAME = VALUE"},
          {"SparkPup13 = 1.5", ":2: SparkPup13 = 1.5: give a whole number"},
          {"SparkBoolean18 = 256", ":2: SparkBoolean18 = 256: give a whole number"},
          {"SparkFloat32 = nan", ":2: SparkFloat32 = nan: give a number"},
          {"SparkFloat32 = 1e39", ":2: SparkFloat32 = 1e39: give a number"},
          {"SparkFloat32 at x = 1", ":2: SparkFloat32 at x: give the number of a frame"}}) {
        PluginSession plugin(FramesOf(24));
        plugin.host.session.setupIn = ScratchFile(std::string("\n") + line);
        try {
            plugin.host.Begin();
            ADD_FAILURE() << line;
        } catch (const SparkHostError& failure) {
            const std::string start = plugin.host.session.setupIn + text;
            EXPECT_EQ(std::string(failure.what()).substr(0, start.size()), start);
        }
    }
}

TEST(Session, CutsRelabelARunAndResetClearsThem) {
    PluginSession plugin(FramesOf(24));
    plugin.host.Begin();
    const auto scenes = [&] {
        std::string codes;
        for (int frame = 1; frame <= kClipFrames; ++frame) {
            codes += std::to_string(static_cast<int>(sparkGetCurveValue(1, 15, frame)));
        }
        return codes;
    };
    const auto cut = [&](int entry, int frame) {
        plugin.Set("SparkPup14", entry);
        EXPECT_FALSE(plugin.Edit("SparkPup14", frame));
        EXPECT_EQ(plugin.host.Panel().Find("SparkPup14")->Value(), 0.0);
    };
    EXPECT_TRUE(plugin.Edit("SparkPush34", 0));  // gives each frame a key
    cut(2, 4);
    cut(5, 7);
    EXPECT_EQ(scenes(), "11112225");
    cut(3, 2);  // up to the next cut
    EXPECT_EQ(scenes(), "11332225");
    for (int entry : {0, 6, -1}) cut(entry, 0);
    plugin.host.session.conditions.program = "burn";
    plugin.Set("SparkPup14", 4);
    plugin.Edit("SparkPup14", 0);
    EXPECT_EQ(scenes(), "11332225");
    EXPECT_EQ(plugin.CallsOf("sparkViewingDraw"), 1);
    EXPECT_TRUE(plugin.Edit("SparkPush34", 0));
    EXPECT_EQ(scenes(), "11111111");
    plugin.host.session.conditions.program = "burner";
    cut(4, 6);
    EXPECT_EQ(scenes(), "11111144");
}

TEST(Session, ResetSetsAllButTwoMenusAndTheMark) {
    PluginSession plugin(FramesOf(24));
    plugin.host.Begin();
    const std::map<int, double> expected = {
        {8, 5},  {13, 1}, {14, 5}, {16, 0}, {17, 0}, {18, 0}, {19, 1}, {25, 1}, {26, 70}, {27, 1},
        {28, 4}, {29, 2}, {30, 1}, {31, 1}, {32, 1}, {36, 0}, {42, 0}, {43, 0}, {44, 70}, {45, 0}};
    for (const SparkControl& control : plugin.host.Panel().Controls()) {
        if (control.HasValue()) control.SetValue(control.Range().greatest);
    }
    plugin.Set("SparkBoolean19", 0);
    plugin.Set("SparkPup13", 0);
    plugin.Edit("SparkPush34", 2);
    std::map<int, double> values;
    for (const SparkControl& control : plugin.host.Panel().Controls()) {
        if (control.HasValue() && control.number != 15) values[control.number] = control.Value();
    }
    EXPECT_EQ(values, expected);
}

TEST(Session, OtherCodesThanAChangeRenderNothing) {
    PluginSession plugin(FramesOf(24));
    plugin.host.Begin();
    for (const SparkControl& control : plugin.host.Panel().Controls()) {
        for (int code : {0, 2, -1}) {
            control.SetValue(control.Name() == "SparkPup14" ? 2.0 : control.Value());
            EXPECT_FALSE(plugin.host.Edit(control, 1, code)) << control.Name();
        }
    }
    EXPECT_EQ(plugin.CallsOf("sparkCursorBusy"), 0);
    EXPECT_EQ(plugin.CallsOf("sparkControlUpdate"), 0);
    EXPECT_EQ(plugin.CallsOf("sparkChClear"), 3);  // reset works on any code
    EXPECT_EQ(plugin.host.Panel().Find("SparkPup14")->Value(), 2.0);
}

}  // namespace
}  // namespace velorin
