#include "media/stamp.h"

#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <fstream>

#include "media/clips.h"
#include "media/finished_frames.h"
#include "media/safe_file.h"

namespace velorin {
namespace {

Stamp StampOf(std::int64_t frame) {
    return {"velorin 1.2.3", frame, 200, "0123456789abcdef", std::string(31, '0') + "f"};
}

TEST(Stamp, TextIsReadBackAndFitsIntoDpx) {
    Stamp stamp = StampOf(12);
    stamp.frames = 2147483647;
    const std::string text = StampText(stamp);
    EXPECT_LT(text.size(), 100u);
    EXPECT_EQ(StampText(ParseStamp(text).value()), text);
    for (std::size_t length = 0; length < text.size(); ++length) {
        EXPECT_FALSE(ParseStamp(text.substr(0, length))) << length;
    }
    EXPECT_FALSE(ParseStamp(text + " more"));
    EXPECT_FALSE(ParseStamp("other 1.2.3" + text.substr(13)));
}

TEST(Stamp, TornLinesTakeNoOthersWithThem) {
    const TemporaryFolder folder;
    const StampFile file(ParseSequenceName(folder / "slow_.%04d.ppm").value());
    EXPECT_EQ(file.Name(), folder / ".slow.ppm.velorin");
    EXPECT_TRUE(file.Read().empty());
    const std::string digest(32, 'a');
    file.Append(7, digest, StampOf(1));
    for (const char* torn : {"8 aaaa",
                             "9 "
                             "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"
                             " velorin 1.2.3 1/2 01"}) {
        std::ofstream(file.Name(), std::ios::app) << torn;
        file.Append(10, "", StampOf(2));
    }
    const auto lines = file.Read();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].digest, digest);
    EXPECT_EQ(lines[2].number, 10);
    EXPECT_EQ(lines[2].digest, "");
    EXPECT_EQ(lines[2].stamp.frame, 2);
}

// Of PPM, which has no place for it, the stamp counts for the very samples that were written.
TEST(Stamp, EveryFormatKeepsItWithTheFrame) {
    for (const char* extension : {"png", "tif", "dpx", "exr", "jpg", "ppm"}) {
        const TemporaryFolder folder;
        const std::string name = folder / (std::string("f.%d.") + extension);
        const bool isFloat = std::string(extension) == "exr";
        OutputSettings settings =
            SettingsFor(SourceInfo(9, 7, 3, isFloat ? SampleDepth::kFloat : SampleDepth::kByte));
        settings.stamp = StampOf;
        const auto noise = [&](unsigned seed) {
            return isFloat ? NoisePicture<float>(seed, 9, 7, 3)
                           : NoisePicture<std::uint8_t>(seed, 9, 7, 3);
        };
        WriteClip(name, settings, {noise(1), noise(2)});
        const FinishedFrames finished(ParseSequenceName(name).value());
        ASSERT_EQ(finished.StampsOf(1).size(), 1u) << extension;
        EXPECT_EQ(StampText(finished.StampsOf(1)[0]), StampText(StampOf(1)));
        EXPECT_EQ(finished.ProblemOf(1), "");
        EXPECT_FALSE(finished.IsThere(2));

        settings.stamp = nullptr;
        settings.overwrite = true;
        WriteClip(name, settings, {noise(3)});
        EXPECT_TRUE(finished.StampsOf(0).empty()) << extension;
        const std::string second = finished.Sequence().FileName(1);
        std::filesystem::resize_file(second, std::filesystem::file_size(second) - 13);
        EXPECT_NE(finished.ProblemOf(1), "") << extension;
    }
}

TEST(SafeFile, WhatKilledWritersLeftIsToldFromWhatIsWritten) {
    const TemporaryFolder folder;
    const auto isOurs = [](const std::string& name) { return name == "a.0001.png"; };
    for (const char* name : {".a.0001.velorin-99-0.png", ".a.0002.velorin-99-0.png",
                             ".a.0001.velorin-.png", ".a.0001.velorin-9x.png", "a.0001.png"}) {
        std::ofstream(folder / name) << "part";
    }
    SafeFile file(folder / "a.0001.png", true);
    EXPECT_EQ(RemoveAbandoned(folder / "", isOurs), 1);
    EXPECT_EQ(folder.Names().size(), 5u);
    EXPECT_TRUE(std::filesystem::exists(file.TemporaryName()));
    file.Commit();
    EXPECT_EQ(RemoveAbandoned(folder / "", isOurs), 0);
    EXPECT_EQ(std::filesystem::file_size(folder / "a.0001.png"), 0u);
}

}  // namespace
}  // namespace velorin
