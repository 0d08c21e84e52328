#include "cli/sound_law.h"

#include <gtest/gtest.h>

#include "cli/sound_options.h"

namespace velorin {
namespace {

ClipInfo Movie() {
    ClipInfo info;
    info.name = "shot.mov";
    info.isMovie = true;
    info.width = info.height = 64;
    info.channels = 3;
    info.frames = 100;
    info.rate = {25, 1};
    info.sound = SoundInfo{1, "aac", 48000, 2, "stereo", 0, false, "eng", 0};
    return info;
}

Options Parsed(std::vector<const char*> words) {
    words.insert(words.begin(), {"shot.mov", "-o", "slow.mkv"});
    return ParseOptions(kVerbRetime, static_cast<int>(words.size()), words.data()).value();
}

TEST(SoundLaw, FollowsThePicturesByHalfFrames) {
    struct {
        std::vector<const char*> words;
        std::int64_t half;
        double from, to;  // in frames of the source
    } const cases[] = {
        {{"--speed", "0.5"}, 3, 0.75, 1.0},
        {{"--frames", "40-49"}, 0, 40.0, 40.5},
        {{"--frames", "40-60x10"}, 3, 50.5, 51.0},
        {{"--frame-curve", "0:60,20:40"}, 4, 58.0, 57.5},
        {{"--frame-curve", "0:10|,4:50,8:54"}, 7, 10.0, 10.0},  // a hold, up to the jump
        {{"--frame-curve", "0:10|,4:50,8:54"}, 8, 50.0, 50.5},
        {{"--speed-curve", "0:1|,4:2"}, 7, 3.5, 4.0},  // a held speed is no freeze
        {{"--view", "flow", "--speed", "0.5"}, 3, 0.75, 1.0},
        {{"--speed", "0"}, 5, 0.0, 0.0},
    };
    for (const auto& one : cases) {
        Options options = Parsed(one.words);
        if (options.speed && options.speed->numerator == 0) options.length = 10;
        const RunPlan plan = MakePlan(options, Movie());
        const SoundStretch stretch =
            SoundLaw(plan, ChooseLaw(options, plan.source).law).StretchOf(one.half);
        EXPECT_DOUBLE_EQ(stretch.from * 25, one.from) << one.words[1];
        EXPECT_DOUBLE_EQ(stretch.to * 25, one.to) << one.words[1];
    }
}

TEST(SoundOptions, MoviesAreMarkedWithWhatBecomesOfTheirSound) {
    const auto keyOf = [](std::vector<const char*> words) {
        const Options options = Parsed(std::move(words));
        return SoundKey(options, MakePlan(options, Movie()));
    };
    const std::string pitch = keyOf({"--speed", "0.5"});
    EXPECT_EQ(pitch, keyOf({"--speed", "0.5", "--audio", "pitch"}));
    EXPECT_NE(pitch, keyOf({"--speed", "0.5", "--audio", "stretch"}));
    EXPECT_EQ("", keyOf({"--speed", "0.5", "--audio", "drop"}));
    // As long as before at another rate: nothing to stretch.
    EXPECT_EQ(pitch, keyOf({"--fit-rate", "24", "--audio", "stretch"}));
}

}  // namespace
}  // namespace velorin
