#include "cli/options.h"

#include <gtest/gtest.h>

namespace velorin {
namespace {

std::optional<RetimeOptions> Parse(std::vector<const char*> words) {
    return ParseRetime(static_cast<int>(words.size()), words.data());
}

// The text of the refusal when these words follow a good command line.
std::string Refusal(std::vector<const char*> words) {
    words.insert(words.begin(), {"in", "-o", "out.mkv"});
    try {
        Parse(words);
    } catch (const UsageError& failure) {
        return failure.what();
    }
    return "accepted";
}

TEST(Options, StartFromTheDefaultsOfThePanel) {
    const RetimeOptions options = Parse({"in", "-o", "out.mkv"}).value();
    EXPECT_EQ(options.input, "in");
    EXPECT_EQ(options.output, "out.mkv");
    EXPECT_EQ(options.speed.numerator, options.speed.denominator);
    EXPECT_EQ(options.interp, 1);
    EXPECT_EQ(options.quality, 4);
    EXPECT_EQ(options.enhance, 0);
    EXPECT_EQ(options.sensitivity, 70.0f);
    EXPECT_TRUE(options.keepFlows);
    EXPECT_FALSE(options.overwrite);
}

TEST(Options, ReachTheirMembersInAnyOrder) {
    const RetimeOptions options =
        Parse({"--speed=0.4",    "--interp",  "nearest",    "--quality",     "full",
               "--prep",         "enhance",   "-qv",        "--sensitivity", "30.5",
               "clip",           "--threads", "64",         "--depth",       "half",
               "--start-number", "0",         "--no-cache", "--overwrite",   "--progress",
               "json",           "--length",  "7",          "--frames",      "1-3",
               "--output",       "out"})
            .value();
    EXPECT_EQ(options.input, "clip");
    EXPECT_EQ(options.output, "out");
    EXPECT_EQ(options.speed.numerator, 4);
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
}

TEST(Options, RefusalsNameTheOptionAndTheValue) {
    for (const char* speed : {"-1", "nan", "inf", "10.000000001", "1e-1", "fast"}) {
        EXPECT_EQ(Refusal({"--speed", speed}).rfind("--speed " + std::string(speed), 0), 0u);
    }
    EXPECT_EQ(Refusal({"--speed", "10"}), "accepted");
    EXPECT_EQ(Refusal({"--interp", "energy"}), "--interp energy: give one of blend, nearest");
    EXPECT_EQ(Refusal({"--threads", "65"}), "--threads 65: give a whole number from 1 to 64");
    EXPECT_EQ(Refusal({"--threads", "2x"}), "--threads 2x: give a whole number from 1 to 64");
    EXPECT_EQ(Refusal({"--frames", ""}).rfind("--frames needs a value", 0), 0u);
    EXPECT_EQ(Refusal({"--length"}).rfind("--length needs a value", 0), 0u);
    EXPECT_EQ(Refusal({"--speed", "1", "--speed", "2"}), "--speed is given twice");
    EXPECT_EQ(Refusal({"--overwrite=no"}), "--overwrite takes no value");
    EXPECT_EQ(Refusal({"--nosuch=x"}).rfind("--nosuch is not an option", 0), 0u);
    EXPECT_EQ(Refusal({"second"}).rfind("second is one name too many", 0), 0u);
}

}  // namespace
}  // namespace velorin
