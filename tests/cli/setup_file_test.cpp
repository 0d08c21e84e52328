#include "cli/setup_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "cli/option_help.h"
#include "cli/option_values.h"
#include "cli/setup_text.h"
#include "cli/verb_texts.h"

namespace velorin {
namespace {

constexpr Verb kSetupVerbs[] = {kVerbRetime, kVerbPlan, kVerbCompare, kVerbVectors};

std::string Refusal(const std::string& text) {
    try {
        ParseSetup(text, "shot.toml", kVerbRetime);
    } catch (const UsageError& failure) {
        return failure.what();
    }
    return "accepted";
}

// Of texts for many kinds of values those that the option takes, one after the other.
std::vector<std::string> SamplesFor(const OptionEntry& option) {
    if (option.IsFlag()) return {"true"};
    std::vector<std::string> samples;
    for (const std::string_view word : WordsFor(option)) samples.emplace_back(word);
    for (const char* text :
         {"3", "0.25", "-2", "1,2", "u.x,v.x", "a \"b\"\\\t.%04d.tif", "24000/1001",
          "0:1,24:0.25~,48:1|", "0:A,48:nearest,60:blend", "123456.123456789"}) {
        try {
            Options options;
            option.set(options, {option, text});
            samples.emplace_back(text);
        } catch (const UsageError&) {
        }
    }
    return samples;
}

TEST(SetupFile, HoldsEveryOptionOfTheTable) {
    for (const Verb verb : kSetupVerbs) {
        for (const OptionEntry* option : OptionsOf(verb)) {
            if (!BelongsInSetup(*option)) continue;
            const std::vector<std::string> samples = SamplesFor(*option);
            EXPECT_FALSE(samples.empty()) << option->name;
            std::vector<std::vector<std::string>> kinds;
            for (const std::string& sample : samples) kinds.push_back({sample});
            if (option->traits.mostTimes > 1) kinds.push_back({samples.front(), samples.back()});
            for (const std::vector<std::string>& values : kinds) {
                const std::string text = SetupText(verb, {{option, values, ""}});
                const std::vector<GivenOption> again = ParseSetup(text, "shot.toml", verb);
                ASSERT_EQ(again.size(), 1u) << text;
                EXPECT_EQ(again[0].option, option);
                EXPECT_EQ(again[0].values, values);
            }
        }
    }
}

TEST(SetupFile, TakesKeysAsTablesToo) {
    for (const OptionEntry* option : OptionsOf(kVerbRetime)) {
        if (!HasPart(option->value, "KEYS")) continue;
        const std::string name(option->name.substr(2));
        const std::vector<std::string> samples = SamplesFor(*option);
        const bool ofNumbers = std::count(samples.begin(), samples.end(), "0:1,24:0.25~,48:1|") > 0;
        const std::string table =
            ofNumbers ? "[{frame = 0, value = 1}, {value = 2.50, frame = 9, way = \"smooth\"}]"
                      : "[{frame = 0, value = \"A\"}, {value = \"blend\", frame = 9}]";
        const std::vector<GivenOption> given =
            ParseSetup(name + " = " + table, "shot.toml", kVerbRetime);
        ASSERT_EQ(given.size(), 1u);
        EXPECT_EQ(given[0].values[0], ofNumbers ? "0:1,9:2.5~" : "0:A,9:blend");
        EXPECT_EQ(Refusal("\n" + name + " = [{frame = 0, value = 1, way = \"soft\"}]"),
                  "shot.toml, line 2: " + name + ": way soft: give one of linear, smooth, hold");
        EXPECT_EQ(Refusal(name + " = [{frame = 0}]"),
                  "shot.toml, line 1: " + name + ": a key needs frame and value");
    }
}

TEST(SetupFile, DefaultsThatCannotBeGivenAreComments) {
    std::vector<GivenOption> given;
    for (const OptionEntry* option : OptionsOf(kVerbRetime)) {
        given.push_back({option, {}, ""});
        if (option->name == "--matte") given.back().values = {"a.mov", "b.mov"};
        if (option->name == "--overwrite") given.back().values = {"true"};
    }
    const std::string text = SetupText(kVerbRetime, given);
    for (const char* line : {"quality = \"best\"", "sensitivity = 70", "matte-channel = \"red\"",
                             "matte = [\"a.mov\", \"b.mov\"]", "fg-sensitivity = 70",
                             "#guides-first = 0", "#input-fields = \"none\"", "#length = N"}) {
        EXPECT_NE(text.find("\n" + std::string(line) + "\n"), std::string::npos) << line;
    }
    for (const char* name : {"overwrite", "frames", "output", "threads", "setup"}) {
        EXPECT_EQ(text.find(std::string(name) + " = "), std::string::npos) << name;
    }
}

TEST(SetupFile, RefusalsNameLineAndKey) {
    const std::pair<const char*, const char*> cases[] = {
        {"quality = \"full\"\nsped = 1",
         "line 2: sped is not a key of setups; the nearest is speed"},
        {"[retime]\nspeed = 1", "line 1: retime is not a key of setups; they have the names of"},
        {"overwrite = true", "line 1: overwrite is for one run; give --overwrite on the command"},
        {"\nspeed = 11", "line 2: --speed 11: give a number from 0 to 10"},
        {"speed = true", "line 1: speed: give a number or a text in quotes"},
        {"speed = nan", "line 1: speed: give a finite number"},
        {"speed = 0.12345678901234567", "line 1: speed: has more digits"},
        {"speed = [{frame = 0, value = 1}]", "line 1: speed: give a number or a text"},
        {"matte = []", "line 1: matte: the list is empty"},
        {"matte = \"a\\u0000b\"", "line 1: matte: a text ends in its middle"},
        {"matte-levels = [[16, 235], [235, 16]]", "line 1: --matte-levels 235,16: give BLACK"},
        {"speed = 1\nspeed = 2", "line 2: "},
        {"speed = \"1", "line 1: "},
        {"speed = 1\ninterp", "line 2: "},
    };
    for (const auto& [text, expected] : cases) {
        const std::string start = std::string("shot.toml, ") + expected;
        EXPECT_EQ(Refusal(text).substr(0, start.size()), start);
    }
    EXPECT_EQ(Refusal("speed = 5e-1\nvector-scale-xy = [960, -540]"), "accepted");
}

TEST(SetupFile, SharesKeysBetweenVerbsAndYieldsToTheCommandLine) {
    const std::string file = std::filesystem::temp_directory_path() / "velorin_setup_test.toml";
    std::ofstream(file) << "speed = 0.5\nquality = \"full\"\nmatte = [\"a\", \"b\"]\n"
                           "matte-shrink = [1, 2]\nframes = \"0-2,5\"\n";
    const auto parse = [&](Verb verb, std::vector<const char*> words) {
        words.insert(words.begin(), {"in", "-o", "o.%04d.exr", "--setup", file.c_str()});
        return ParseOptions(verb, static_cast<int>(words.size()), words.data()).value();
    };
    const Options own = parse(kVerbRetime, {"--quality", "none", "--matte", "c", "--matte", "d"});
    EXPECT_EQ(own.quality, 0);
    EXPECT_EQ(own.frames.size(), 2u);
    EXPECT_EQ(parse(kVerbRetime, {"--frames", "7"}).frames.at(0).first, 7);
    EXPECT_EQ(own.mattes, (std::vector<std::string>{"c", "d"}));
    EXPECT_EQ(own.matteShrinks, (std::vector<float>{1.0f, 2.0f}));
    EXPECT_EQ(parse(kVerbVectors, {}).quality, 5);
    try {
        parse(kVerbRetime, {"--matte", "c"});
        ADD_FAILURE() << "two shrinks for one matte";
    } catch (const UsageError& failure) {
        const std::string text = failure.what();
        EXPECT_NE(text.find("(--matte-shrink is in " + file + ", line 4)"), std::string::npos)
            << text;
    }
    std::filesystem::remove(file);
}

TEST(OptionTable, TellsOfEveryVerbAndOption) {
    for (const VerbText& verb : VerbTexts()) {
        EXPECT_FALSE(verb.summary.empty()) << verb.word;
        EXPECT_NE(HelpOfProgram().find("  " + std::string(verb.word) + " "), std::string::npos);
    }
    for (const OptionEntry& option : OptionTable()) {
        // Such a default would be told twice.
        EXPECT_TRUE(option.choices.empty() || option.traits.whenNone.empty()) << option.name;
        if (option.traits.whenNone.empty()) continue;
        Options options;
        EXPECT_NO_THROW(option.set(options, {option, option.traits.whenNone})) << option.name;
    }
}

}  // namespace
}  // namespace velorin
