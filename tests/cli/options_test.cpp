#include "cli/options.h"

#include <gtest/gtest.h>

#include "cli/option_help.h"

namespace velorin {
namespace {

std::optional<Options> Parse(std::vector<const char*> words, Verb verb = kVerbRetime) {
    return ParseOptions(verb, static_cast<int>(words.size()), words.data());
}

// The text of the refusal when these words follow a good command line.
std::string Refusal(std::vector<const char*> words, Verb verb = kVerbRetime) {
    words.insert(words.begin(), {"in", "-o", "out.mkv"});
    try {
        Parse(words, verb);
    } catch (const UsageError& failure) {
        return failure.what();
    }
    return "accepted";
}

void ExpectStart(const std::string& text, const std::string& start) {
    EXPECT_EQ(text.substr(0, start.size()), start);
}

TEST(Options, ReachTheirMembersInAnyOrder) {
    const Options options =
        Parse({"--speed=0.4",    "--interp",  "nearest",    "--quality",     "full",
               "--prep",         "enhance",   "-qv",        "--sensitivity", "30.5",
               "clip",           "--threads", "64",         "--depth",       "half",
               "--start-number", "0",         "--no-cache", "--overwrite",   "--progress",
               "json",           "--length",  "7",          "--frames",      "1-3",
               "--output",       "out"})
            .value();
    EXPECT_EQ(options.input, "clip");
    EXPECT_EQ(options.output, "out");
    EXPECT_EQ(options.speed->numerator, 4);
    EXPECT_EQ(options.interp, 0);
    EXPECT_EQ(options.quality, 5);
    EXPECT_EQ(options.enhance, 1);
    EXPECT_EQ(options.sensitivity, 30.5f);
    EXPECT_EQ(options.threads, 64);
    EXPECT_EQ(options.depth, SampleDepth::kHalf);
    EXPECT_EQ(options.startNumber, 0);
    EXPECT_EQ(options.length, 7);
    EXPECT_EQ(options.frames.size(), 1u);
    EXPECT_EQ(options.progress, ProgressStyle::kJson);
    EXPECT_FALSE(options.keepFlows);
    EXPECT_TRUE(options.overwrite && options.quiet && options.verbose);
    EXPECT_FALSE(Parse({"--help"}));

    const Options plain = Parse({"in", "-o", "out"}).value();
    EXPECT_EQ(plain.interp, 1);
    EXPECT_EQ(plain.warp, 0);
    EXPECT_EQ(plain.quality, 4);
    EXPECT_EQ(plain.sensitivity, 70.0f);
    EXPECT_TRUE(plain.keepFlows);
}

TEST(Options, RefusalsNameTheOptionAndTheValue) {
    EXPECT_EQ(Refusal({"--speed", "10"}), "accepted");
    for (const char* speed : {"-1", "nan", "inf", "10.000000001", "1e-1", "fast"}) {
        ExpectStart(Refusal({"--speed", speed}), "--speed " + std::string(speed));
    }
    ExpectStart(Refusal({"--interp", "cubic"}),
                "--interp cubic: give one of blend, nearest, energy");
    ExpectStart(Refusal({"--threads", "65"}), "--threads 65: give a whole number from 1 to 64");
    ExpectStart(Refusal({"--threads", "2x"}), "--threads 2x: give a whole number from 1 to 64");
    ExpectStart(Refusal({"--frames", ""}), "--frames needs a value");
    ExpectStart(Refusal({"--length"}), "--length needs a value");
    ExpectStart(Refusal({"--interp", "-o", "x.mkv"}), "--interp needs a value before -o");
    ExpectStart(Refusal({"--speed", "1", "--speed", "2"}), "--speed is given twice");
    ExpectStart(Refusal({"--overwrite=no"}), "--overwrite takes no value");
    ExpectStart(Refusal({"--nosuch=x"}), "--nosuch is not an option");
    ExpectStart(Refusal({"second"}), "second is one name too many");
    ExpectStart(Refusal({"--at", "1"}), "--at is not an option of velorin retime");
}

TEST(Options, MethodsHaveTheNumbersOfTheEngine) {
    int number = 0;
    for (const auto& [interp, warp] :
         {std::pair{"nearest", "inverse"}, {"blend", "smart"}, {"energy", "forward"}}) {
        const Options options =
            Parse({"in", "-o", "out", "--interp", interp, "--warp", warp}).value();
        EXPECT_EQ(options.interp, number);
        EXPECT_EQ(options.warp, number++);
    }
}

TEST(Options, FieldsAreNamedByTheOneThatComesFirst) {
    const Options options = Parse({"in", "-o", "out", "--input-fields", "lower", "--output-fields",
                                   "upper", "--compensate", "2.5"})
                                .value();
    EXPECT_EQ(options.inputFields, 2);
    EXPECT_EQ(options.outputFields, 1);
    EXPECT_EQ(options.compensate, 2.5f);
    EXPECT_FALSE(Parse({"in", "-o", "out"})->inputFields);
    ExpectStart(Refusal({"--compensate", "5.1"}), "--compensate 5.1: give a number from 0 to 5");
    ExpectStart(Refusal({"--output-fields", "auto"}), "--output-fields auto: give one of none");
}

TEST(Options, ComparingHasItsOwn) {
    const Options options = Parse({"clip", "-o", "sheet.png", "--at", "12.5", "--quality", "sloppy",
                                   "--crop", "1,0,20x16", "--threads", "2"},
                                  kVerbCompare)
                                .value();
    EXPECT_EQ(DecimalText(options.at), "12.5");
    EXPECT_EQ(options.quality, 1);
    EXPECT_EQ(options.crop, (Window{1, 0, 20, 16}));
    EXPECT_FALSE(options.cellWidth);

    ExpectStart(Refusal({}, kVerbCompare),
                "--at TIME is missing: velorin compare INPUT --at TIME -o SHEET");
    ExpectStart(Refusal({"--at", "1e1"}, kVerbCompare), "--at 1e1: give a time");
    ExpectStart(Refusal({"--at", "1", "--speed", "2"}, kVerbCompare),
                "--speed is not an option of velorin compare");
    for (const char* crop : {"", "1", "1,2", "1,2,3", "1,2,3x", "1,2,0x4", "-1,2,3x4", "1,2,3x4x5",
                             "1 ,2,3x4", "99999999999,0,1x1"}) {
        const std::string refusal = Refusal({"--at", "1", "--crop", crop}, kVerbCompare);
        EXPECT_NE(refusal.find("X,Y,WxH"), std::string::npos) << crop;
    }
    EXPECT_EQ(HelpOf(kVerbCompare).find("--speed S"), std::string::npos);
    EXPECT_NE(HelpOf(kVerbRetime).find("blend, nearest, energy (first: default)"),
              std::string::npos);
}

}  // namespace
}  // namespace velorin
