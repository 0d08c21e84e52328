#include "cli/time_options.h"

#include <gtest/gtest.h>

#include "cli/scene_options.h"

namespace velorin {
namespace {

// The options that these words give; the text of the refusal where they give none.
std::string Read(std::vector<const char*> words, Options& options) {
    words.insert(words.begin(), {"in", "-o", "out.mkv"});
    try {
        options = ParseOptions(kVerbRetime, static_cast<int>(words.size()), words.data()).value();
    } catch (const UsageError& failure) {
        return failure.what();
    }
    return "accepted";
}

TEST(TimeOptions, RefusalsNameOptionAndKey) {
    Options options;
    const auto expect = [&](std::vector<const char*> words, const std::string& start) {
        EXPECT_EQ(Read(std::move(words), options).substr(0, start.size()), start);
    };
    expect({"--speed-curve", "0:1,5:x"}, "--speed-curve 5:x: give a speed");
    expect({"--frame-curve", "0:1,5:2,5:3"}, "--frame-curve 5:3: frame 5 has a key already, 5:2");
    expect({"--frame-curve", "0:1,"}, "--frame-curve 0:1,: give keys");
    expect({"--frame-curve", "0:1~, 5:2 "}, "accepted");
    expect({"--frame-curve", "0:1, 5:x"}, "--frame-curve 5:x: give a source frame");
    expect({"--scenes", "0:A,9:D"}, "--scenes 9:D: give source frames");
    expect({"--scenes", "9:A,0:B"}, "--scenes 0:B: comes after 9:A");
    expect({"--scenes", ""}, "--scenes needs a value");
    for (const char* rate :
         {"0", "-25", "24/0", "24/", "24.5/1", "1000.001", "abc", "25fps", "59.940059941"}) {
        expect({"--fit-rate", rate}, std::string("--fit-rate ") + rate + ": give frames a second");
    }
    expect({"--fit-length", "0"}, "--fit-length 0: give a whole number from 1");
    const std::vector<std::pair<const char*, const char*>> laws = {
        {"--speed", "1"},         {"--speed-curve", "0:1"}, {"--frame-curve", "0:1"},
        {"--curve-file", "file"}, {"--fit-length", "9"},    {"--fit-rate", "25"}};
    for (std::size_t i = 0; i < laws.size(); ++i) {
        expect({laws[i].first, laws[i].second}, "accepted");
        for (std::size_t j = 0; j < i; ++j) {
            expect({laws[i].first, laws[i].second, laws[j].first, laws[j].second},
                   std::string(laws[j].first) + " and " + laws[i].first + ": give one of them");
        }
    }
    expect({"--fit-length", "9", "--length", "9"}, "--fit-length and --length");
}

TEST(ChooseLaw, FitsLengthsAndRatesExactly) {
    struct Case {
        const char* option;
        const char* value;
        std::int64_t frames;
        Rational rate;
        Rational speed;
        std::int64_t length;  // of the output
    };
    for (const Case& c : {Case{"--fit-length", "200", 100, {0, 1}, {99, 199}, 200},
                          {"--fit-length", "50", 99, {25, 1}, {2, 1}, 50},
                          {"--fit-length", "1", 99, {25, 1}, {0, 1}, 1},
                          {"--fit-length", "5", 1, {25, 1}, {0, 1}, 5},
                          {"--fit-length", "3", 1001, {25, 1}, {500, 1}, 3},
                          {"--fit-rate", "60", 24, {24, 1}, {2, 5}, 58},
                          {"--fit-rate", "24000/1001", 100, {24, 1}, {1001, 1000}, 99},
                          {"--fit-rate", "30000/1001", 100, {24000, 1001}, {4, 5}, 124},
                          {"--fit-rate", "23.976", 100, {24000, 1001}, {1000000, 999999}, 99},
                          {"--fit-rate", "12", 9, {0, 1}, {2, 1}, 5}}) {
        SCOPED_TRACE(std::string(c.option) + c.value);
        Options options;
        ASSERT_EQ(Read({c.option, c.value}, options), "accepted");
        ClipInfo source;
        source.frames = c.frames;
        source.rate = c.rate;
        const ChosenLaw chosen = ChooseLaw(options, source);
        EXPECT_EQ(chosen.facts.speed->numerator, c.speed.numerator);
        EXPECT_EQ(chosen.facts.speed->denominator, c.speed.denominator);
        const auto length =
            chosen.facts.length ? chosen.facts.length : chosen.law->Length(c.frames);
        EXPECT_EQ(length, c.length);
        if (chosen.facts.length && c.length > 1) {
            EXPECT_EQ(chosen.law->At(c.length - 1, 0).frame, c.frames - 1);
            EXPECT_EQ(chosen.law->At(c.length - 1, 0).numerator, 0);
        }
        const Rational rate = options.fitRate.value_or(c.rate);
        EXPECT_EQ(chosen.facts.rate.numerator * rate.denominator,
                  chosen.facts.rate.denominator * rate.numerator);
    }
}

TEST(SceneMarks, HoldUntilTheNextAndBeforeTheFirst) {
    const SceneMarks marks = ParseSceneMarks("3:B,5:nearest,9:blend,10:C");
    EXPECT_EQ(marks.At(-7), 1);
    EXPECT_EQ(marks.At(4), 1);
    EXPECT_EQ(marks.At(5), 3);
    EXPECT_EQ(marks.At(9), 4);
    EXPECT_EQ(marks.At(1000), 2);
    EXPECT_EQ(SceneMarks().At(5), 0);
    Options options;
    options.scenes = marks;
    ClipInfo source;
    source.frames = 11;
    EXPECT_NO_THROW(CheckScenes(options, source));
    source.frames = 10;
    EXPECT_THROW(CheckScenes(options, source), UsageError);
}

}  // namespace
}  // namespace velorin
