#include "cli/fingerprint.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>

#include "cli/layer_clips.h"
#include "cli/option_table.h"
#include "media/clips.h"

namespace velorin {
namespace {

using Words = std::vector<std::string>;

Words operator+(Words words, const Words& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

// A shot of 5 frames with clips of its size.
class Shot {
  public:
    Shot() {
        const ClipInfo bytes = SourceInfo(16, 16, 3, SampleDepth::kByte);
        const ClipInfo floats = SourceInfo(16, 16, 3, SampleDepth::kFloat);
        const std::vector<Picture> noise(5, NoisePicture<std::uint8_t>(1, 16, 16, 3));
        const std::vector<Picture> deep(5, NoisePicture<float>(1, 16, 16, 3));
        for (const std::string& name : {clip, matte}) WriteClip(name, SettingsFor(bytes), noise);
        WriteClip(flow, SettingsFor(floats), deep);
        std::ofstream(curve) << "0 0\n16 4.1\n";
        std::ofstream(setup) << "sensitivity = 71\n";
    }

    // The stamp that a run of `velorin retime` with these words gives an output frame.
    Stamp StampOf(std::int64_t frame, Words words, int threads = 4,
                  const std::vector<LayerGuides>& guides = {}) const {
        words = Words{clip, "-o", folder / "out.%04d.png"} + words;
        std::vector<const char*> pointers;
        for (const std::string& word : words) pointers.push_back(word.c_str());
        const Options options =
            ParseOptions(kVerbRetime, static_cast<int>(pointers.size()), pointers.data()).value();
        const RunClips clips = OpenRunClips(options);
        const RunPlan plan = MakePlan(options, clips.source->Info());
        return Fingerprints(options, plan, clips, guides, threads).Of(frame);
    }
    std::string PictureOf(const Words& words) const { return StampOf(2, words).picture; }

    // The file of a source frame becomes older.
    void Touch(std::int64_t frame) const {
        const std::filesystem::path name = folder / ("shot.000" + std::to_string(frame) + ".png");
        std::filesystem::last_write_time(
            name, std::filesystem::last_write_time(name) - std::chrono::microseconds(1));
    }

    const TemporaryFolder folder;
    const std::string clip = folder / "shot.%04d.png";
    const std::string matte = folder / "matte.%04d.tif";
    const std::string flow = folder / "flow.%04d.exr";
    const std::string curve = folder / "curve.txt";
    const std::string setup = folder / "setup.toml";
};

// What an option does to the picture of output frame 2 where it follows `base`.
struct OptionCase {
    std::string name;
    Words given;  // its value, if it takes one
    bool changes;
    Words base;
    Words instead;  // of the option, for comparison
};

std::vector<OptionCase> CasesOf(const Shot& shot) {
    const Words slow{"--speed", "0.25"};
    const Words matte = slow + Words{"--matte", shot.matte};
    const Words guides = slow + Words{"--guides", "points.json"};
    const Words vectors = slow + Words{"--forward-vectors", shot.flow};
    const Words pixels = vectors + Words{"--vectors-format", "pixels"};
    return {
        {"--speed", {"0.26"}, true, {}, slow},
        {"--speed-curve", {"0:0.25,4:0.26"}, true, {}, slow},
        {"--frame-curve", {"0:0,16:4.1"}, true, {}, slow},
        {"--curve-file", {shot.curve}, true, {}, slow},
        {"--fit-length", {"18"}, true, {}, slow},
        {"--fit-rate", {"96"}, true, {}, slow},  // the speed is the same, the rate is not
        {"--length", {"20"}, false, slow, {}},
        {"--audio", {"drop"}, false, slow, {}},  // of a movie alone
        {"--scenes", {"0:A,1:B"}, true, slow, {}},
        {"--dedupe", {}, false, slow, {}},  // while nothing is repeated
        {"--dedupe-tolerance", {"2"}, false, slow + Words{"--dedupe"}, {}},
        {"--frames", {"1-2"}, false, slow, {}},
        {"--interp", {"energy"}, true, slow, {}},
        {"--quality", {"full"}, true, slow, {}},
        {"--warp", {"smart"}, true, slow, {}},
        {"--prep", {"enhance"}, true, slow, {}},
        {"--sensitivity", {"71"}, true, slow, {}},
        {"--motion-transfer", {"log"}, true, slow, {}},
        {"--motion-from", {shot.matte}, true, slow, {}},
        {"--compensate", {"1"}, true, slow, {}},
        {"--guides", {"points.json"}, true, slow, {}},
        {"--guides-layer", {"1"}, true, guides + Words{"--matte", shot.matte}, {}},
        {"--guides-origin", {"top"}, false, guides, {}},  // shows in the points themselves
        {"--guides-first", {"1"}, false, guides, {}},
        {"--flow", {"points"}, true, guides, {}},
        {"--forward-vectors", {shot.flow}, true, slow, {}},
        {"--backward-vectors", {shot.flow}, true, slow, {}},
        {"--vectors-format",
         {"coded"},
         true,
         vectors,
         {"--vectors-format", "pixels", "--vector-channels", "R,G"}},
        {"--vector-scale", {"2"}, true, vectors, {}},
        {"--vector-scale-xy", {"1,2"}, true, vectors, {}},
        {"--vector-channels", {"R,G"}, true, pixels, {"--vector-channels", "G,B"}},
        {"--vector-sign", {"from"}, true, vectors, {}},
        {"--vector-y", {"down"}, true, vectors, {}},
        {"--input-fields", {"upper"}, true, slow, {}},
        {"--output-fields", {"upper"}, true, slow, {}},
        {"--matte", {shot.matte}, true, slow, {}},
        {"--matte-channel", {"green"}, true, matte, {}},
        {"--matte-levels", {"16,235"}, true, matte, {}},
        {"--matte-shrink", {"1"}, true, matte, {}},
        {"--fg-sensitivity", {"30"}, true, matte, {}},
        {"--view", {"flow"}, true, slow, {}},
        {"--flow-scale", {"3"}, true, slow + Words{"--view", "flow"}, {}},
        {"--threads", {"1"}, false, slow, {}},
        {"--depth", {"16"}, true, slow, {}},
        {"--pipe", {"nut"}, false, slow, {}},
        {"--start-number", {"7"}, false, slow, {}},
        {"--no-cache", {}, false, slow, {}},
        {"--overwrite", {}, false, slow, {}},
        {"--resume", {}, false, slow, {}},
        {"--chunk", {"1/2"}, false, slow, {}},
        {"--continue-on-error", {}, false, slow, {}},
        {"--missing", {"hold"}, false, slow, {}},  // while nothing is missing
        {"--log", {"log"}, false, slow, {}},
        {"--setup", {shot.setup}, true, slow, {}},  // by what stands in it
        {"--write-setup", {"setup"}, false, slow, {}},
        {"--progress", {"json"}, false, slow, {}},
        {"--quiet", {}, false, slow, {}},
        {"--verbose", {}, false, slow, {}},
    };
}

// Whoever adds an option has to say here whether it has a say in pixels.
TEST(Fingerprint, TellsTheOptionsThatHaveASayInPixelsAndNoOthers) {
    const Shot shot;
    const std::vector<OptionCase> cases = CasesOf(shot);
    for (const OptionEntry& option : OptionTable()) {
        if (!(option.verbs & kVerbRetime) || option.name == "--output") continue;
        const auto found = std::find_if(cases.begin(), cases.end(), [&](const OptionCase& one) {
            return one.name == option.name;
        });
        ASSERT_NE(found, cases.end()) << option.name << " has no case";
        const std::string given = shot.PictureOf(found->base + Words{found->name} + found->given);
        const bool changes = given != shot.PictureOf(found->base + found->instead);
        EXPECT_EQ(changes, found->changes) << option.name;
    }
    EXPECT_EQ(shot.PictureOf({"--speed", ".250", "--interp", "blend", "--sensitivity", "70.0"}),
              shot.PictureOf({"--speed", "0.25"}));
}

TEST(Fingerprint, TellsTheFilesOfTheFramesThatAreRead) {
    const Shot shot;
    const Words slow{"--speed", "0.25"};
    const auto same = [&](int touched, std::int64_t frame) {
        const std::string before = shot.StampOf(frame, slow).picture;
        shot.Touch(touched);
        return before == shot.StampOf(frame, slow).picture;
    };
    EXPECT_FALSE(same(0, 2));
    EXPECT_FALSE(same(1, 2));
    EXPECT_TRUE(same(2, 2));
    std::filesystem::remove(shot.folder / "shot.0002.png");
    const Words hold = slow + Words{"--missing", "hold"};
    const Words interpolate = slow + Words{"--missing", "interpolate"};
    const std::string held = shot.StampOf(6, hold).picture;
    const std::string computed = shot.StampOf(6, interpolate).picture;
    EXPECT_NE(held, computed);
    shot.Touch(3);  // behind the hole
    EXPECT_EQ(held, shot.StampOf(6, hold).picture);
    EXPECT_NE(computed, shot.StampOf(6, interpolate).picture);
}

TEST(Fingerprint, TellsScenesWhereTheyRuleTheMethod) {
    const Shot shot;
    const auto pictureAt = [&](std::int64_t frame, const std::string& scenes) {
        return shot.StampOf(frame, {"--speed", "0.25", "--scenes", scenes}).picture;
    };
    EXPECT_NE(pictureAt(2, "0:A,1:B"), pictureAt(2, "0:A,2:B"));
    EXPECT_EQ(pictureAt(10, "0:A,1:B"), pictureAt(10, "0:A,2:B"));
    EXPECT_EQ(pictureAt(2, "0:A,1:B"), pictureAt(2, "0:B,1:C"));
    EXPECT_NE(pictureAt(10, "0:A"), pictureAt(10, "0:A,2:blend"));
    EXPECT_NE(pictureAt(10, "0:nearest"), pictureAt(10, "0:blend"));
}

TEST(Fingerprint, TellsThreadsWhereWarpsLetThemShow) {
    const Shot shot;
    const auto same = [&](std::int64_t frame, const Words& words) {
        const Words all = Words{"--speed", "0.25"} + words;
        return shot.StampOf(frame, all, 2).picture == shot.StampOf(frame, all, 8).picture;
    };
    EXPECT_TRUE(same(2, {}));
    EXPECT_FALSE(same(2, {"--warp", "smart"}));
    EXPECT_FALSE(same(2, {"--warp", "forward"}));
    EXPECT_FALSE(same(2, {"--matte", shot.matte}));
    EXPECT_TRUE(same(4, {"--warp", "forward"}));  // a source frame
}

TEST(Fingerprint, TellsThePointsOfThePairAlone) {
    const Shot shot;
    const Words words{"--speed", "0.25", "--guides", "points.json"};
    const auto pictureWith = [&](std::vector<GuidePosition> positions) {
        return shot.StampOf(2, words, 4, {{0, {{"a", std::move(positions)}}}}).picture;
    };
    const std::string plain = pictureWith({{0, 1, 2}, {1, 3, 4}});
    EXPECT_EQ(plain, pictureWith({{0, 1, 2}, {1, 3, 4}, {2, 5, 6}}));
    EXPECT_NE(plain, pictureWith({{0, 1, 2}, {1, 3, 4.5}}));
    EXPECT_NE(plain, pictureWith({{0, 1, 2}}));
}

TEST(Fingerprint, TellsJobsApartByTheirLawOfTime) {
    const Shot shot;
    const auto jobOf = [&](const Words& words) { return shot.StampOf(0, words).job; };
    const std::string slow = jobOf({"--speed", "0.25"});
    EXPECT_EQ(slow, jobOf({"--speed", "0.25", "--length", "90", "--threads", "1"}));
    EXPECT_NE(slow, jobOf({"--speed", "0.250000001"}));
    EXPECT_NE(slow, jobOf({"--speed", "0.25", "--matte", shot.matte}));
    EXPECT_EQ(shot.StampOf(7, {"--speed", "0.25"}).frames, 17);
}

}  // namespace
}  // namespace velorin
