#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <string>

#include "cli/cut_scorer.h"
#include "cli/options.h"
#include "cli/repeats.h"
#include "cli/scene_file.h"
#include "cli/scene_options.h"

namespace velorin {
namespace {

constexpr int kWidth = 160;
constexpr int kHeight = 90;

// A frame of a shot full of waves, whose place and tones the shot's number settles.
Picture Frame(int shot, float moved, float gain = 1.0f) {
    Picture picture;
    picture.SetShape(kWidth, kHeight, ZPPixUChar);
    auto* pixel = reinterpret_cast<std::uint8_t*>(picture.pixels.data());
    const auto s = static_cast<float>(shot);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x, pixel += 4) {
            const float u = static_cast<float>(x) + moved;
            const auto v = static_cast<float>(y);
            const float wave = std::sin((u + s * v) / (9.0f - 2.0f * s) + s) +
                               std::cos((v - s * u) / (11.0f - 3.0f * s) - u / 31.0f);
            for (int c = 0; c < 3; ++c) {
                const float tone = (110.0f + 45.0f * wave + 10.0f * static_cast<float>(c)) * gain;
                pixel[c] = static_cast<std::uint8_t>(std::clamp(tone, 0.0f, 255.0f));
            }
            pixel[3] = 255;
        }
    }
    return picture;
}

std::vector<std::int64_t> CutsAmong(int frames, const std::function<Picture(int)>& frameAt) {
    CutScorer scorer;
    for (int frame = 0; frame < frames; ++frame) scorer.Add(Shrink(frameAt(frame)));
    std::vector<std::int64_t> found;
    for (const FoundCut& cut : CutsOf(scorer.Finish(), kUsualThreshold, kUsualMinLength)) {
        found.push_back(cut.frame);
    }
    return found;
}

TEST(CutScorer, FindsCutsAndNothingElse) {
    using Frames = std::vector<std::int64_t>;
    const auto moved = [](int frame, float step) { return static_cast<float>(frame) * step; };
    const struct {
        const char* what;
        Frames cuts;
        std::function<Picture(int)> frameAt;
    } cases[] = {
        {"pan", {}, [&](int f) { return Frame(0, moved(f, 12)); }},
        {"fade", {}, [&](int f) { return Frame(0, 0, moved(f, 0.05f)); }},
        {"flicker", {}, [&](int f) { return Frame(0, 0, f % 2 ? 0.8f : 1.0f); }},
        {"flash", {}, [&](int f) { return Frame(0, moved(f, 1), f / 2 == 5 ? 9.0f : 1.0f); }},
        {"damaged frame", {}, [&](int f) { return Frame(f == 11 ? 1 : 0, moved(f, 1)); }},
        {"cut", {9}, [&](int f) { return Frame(f < 9 ? 0 : 1, moved(f, 2)); }},
        {"first and last frame",
         {1, 19},
         [&](int f) {
             return Frame(f < 1 ? 1 : f < 19 ? 0 : 2, 0);
         }},
        {"three shots", {6, 13}, [&](int f) { return Frame(f < 6    ? 0
                                                           : f < 13 ? 1
                                                                    : 2,
                                                           0); }},
        {"cut between pans", {10}, [&](int f) { return Frame(f < 10 ? 0 : 2, moved(f, 9)); }},
    };
    for (const auto& c : cases) EXPECT_EQ(CutsAmong(20, c.frameAt), c.cuts) << c.what;
    EXPECT_EQ(CutsAmong(1, cases[0].frameAt), Frames());
}

TEST(CutScorer, KeepsTheHigherOfTwoCutsThatAreTooNear) {
    const std::vector<float> scores{0, 0, 50, 0, 70, 0, 0, 0, 60, 0};
    const auto cutsOf = [&](float threshold, std::int64_t minLength) {
        std::string text;
        for (const FoundCut& cut : CutsOf(scores, threshold, minLength)) {
            text += std::to_string(cut.frame) + " ";
        }
        return text;
    };
    EXPECT_EQ(cutsOf(50, 1), "2 4 8 ");
    EXPECT_EQ(cutsOf(61, 1), "4 ");
    EXPECT_EQ(cutsOf(50, 3), "4 ");
    EXPECT_EQ(cutsOf(50, 2), "2 4 8 ");
}

TEST(SceneFile, IsReadAsItIsWrittenAndAsItIsCorrected) {
    const auto keysOf = [](const std::string& text) { return KeysText(ParseSceneFile(text, "f")); };
    const std::string written = SceneFileText({{24, 80.0f}, {48, 60.0f}, {96, 99.0f}}, "a clip");
    EXPECT_EQ(keysOf(written), "0:A,24:B,48:A,96:B");
    const auto without = [](std::string text, const std::string& part) {
        const std::size_t place = text.find(part);
        return text.erase(place, text.find('\n', place) - place);
    };
    EXPECT_EQ(keysOf(without(written, "{frame = 48")), "0:A,24:B,96:A");
    EXPECT_EQ(keysOf("scenes = [{frame = 0}, {frame = 7}, {frame = 9, value = \"blend\"},"
                     "{frame = 12, value = \"C\"}, {frame = 13, value = \"C\"}]"),
              "0:A,7:B,9:blend,12:C,13:A");
    EXPECT_EQ(keysOf("scenes = []"), "");
}

TEST(SceneFile, NamesTheLineThatIsWrong) {
    const struct {
        const char* text;
        const char* said;
    } cases[] = {
        {"scenes = [\n{frame = 0},\n{frame = -1}]", "f, line 3: frame: give a whole number"},
        {"scenes = [\n{frame = 4},\n{frame = 4}]",
         "f, line 3: frame 4 does not lie behind frame 4"},
        {"scenes = [\n{frame = 4, vale = \"A\"}]",
         "f, line 2: vale is not a key of scenes files; the nearest is value"},
        {"\nscene = []", "f, line 2: scene is not a key of scenes files; the nearest is scenes"},
        {"scenes = [{frame = 0, value = \"D\"}]", "f, line 1: value: give \"A\""},
        {"scenes = [{value = \"A\"}]", "f, line 1: the frame is missing"},
        {"scenes = \"auto\"", "f, line 1: scenes: give a list"},
        {"scenes = [7]", "f, line 1: give tables"},
        {"", "f, line 1: the key scenes is missing"},
        {"scenes = [\n{frame", "f, line 2: "},
    };
    for (const auto& c : cases) {
        try {
            ParseSceneFile(c.text, "f");
            ADD_FAILURE() << c.text;
        } catch (const UsageError& failure) {
            EXPECT_EQ(std::string(failure.what()).find(c.said), 0u) << failure.what();
        }
    }
}

TEST(Repeats, AreFarStillerThanWhatIsAroundThem) {
    const float none = std::numeric_limits<float>::infinity();
    using Frames = std::vector<std::int64_t>;
    const struct {
        const char* what;
        std::vector<float> changes;
        Frames cuts;
        Frames repeats;
    } cases[] = {
        {"every third", {none, 5, 0, 4, 5, .2f, 6, 5, 0, 5}, {}, {2, 5, 8}},
        {"still", {none, 0, 0, 0, 0, 0}, {}, {}},
        {"freeze of six", {none, 9, 0, 0, 0, 0, 0, 0, 9, 9}, {}, {}},
        {"run of five", {none, 9, 0, 0, 0, 0, 0, 9, 9}, {}, {2, 3, 4, 5, 6}},
        {"turning point", {none, 8, 4, 2, .8f, .3f, .8f, 2, 4, 8}, {}, {}},
        {"slow", {none, .9f, .8f, .9f, .7f, .9f}, {}, {}},
        {"before a cut and at the end", {none, 5, 0, 80, 5, 0, 5, 0}, {3}, {5}},
        {"coded anew", {none, 3.2f, .9f, 3.3f, 3.1f}, {}, {2}},
        {"above the tolerance", {none, 50, 1.1f, 50}, {}, {}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(RepeatsOf(c.changes, c.cuts, 1.0f), c.repeats) << c.what;
    }
}

TEST(Repeats, TellTheirPattern) {
    std::vector<std::int64_t> fifth, three;
    for (int i = 0; i < 60; ++i) {
        if (i % 5 == 3) fifth.push_back(i);
        if (i % 5 == 1 || i % 5 == 3 || i % 5 == 4) three.push_back(i);
    }
    EXPECT_EQ(PatternOf(fifth), "every 5th frame");
    EXPECT_EQ(PatternOf(three), "3 of every 5 frames");
    EXPECT_EQ(PatternOf({3, 9, 22, 31, 32, 40}), "");
    EXPECT_EQ(PatternOf({}), "");
}

}  // namespace
}  // namespace velorin
