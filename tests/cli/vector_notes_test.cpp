#include "cli/vector_notes.h"

#include <gtest/gtest.h>

namespace velorin {
namespace {

// Pictures of one clear pixel and, in the frame `known`, one whose alpha is as given.
class PartlyKnown final : public ClipReader {
  public:
    PartlyKnown(std::int64_t newKnown, int newAlpha) : known(newKnown), alpha(newAlpha) {
        info.name = "flow";
        info.frames = 20;
    }
    const ClipInfo& Info() const override { return info; }
    void Read(std::int64_t frame, Picture& picture) override {
        picture.SetShape(2, 1, ZPPixUChar);
        if (frame == known) picture.pixels[7] = static_cast<std::byte>(alpha);
    }

  private:
    ClipInfo info;
    std::int64_t known;
    int alpha;
};

TEST(NoteEmptyVectors, TellsOfAClipWithoutAnyVector) {
    Options options;
    options.speed = ParseDecimal("0.5").value();
    options.output = "slow.%d.png";
    ClipInfo source;
    source.width = source.height = 32;
    source.channels = 3;
    source.frames = 20;
    const RunPlan plan = MakePlan(options, source);
    const auto notes = [&](std::int64_t known, int alpha) {
        RunClips clips;
        clips.forwardVectors = std::make_unique<PartlyKnown>(known, alpha);
        ProgressLine progress(ProgressStyle::kNone, false);
        testing::internal::CaptureStderr();
        NoteEmptyVectors(options, plan, clips, progress);
        return testing::internal::GetCapturedStderr();
    };
    // Of the frames 0 to 18 that have a next one, the first and the last are among those seen.
    EXPECT_EQ(notes(0, 255), "");
    EXPECT_EQ(notes(18, 255), "");
    for (const std::string& text : {notes(0, 254), notes(19, 255)}) {
        EXPECT_NE(text.find("flow: has no vector on the 8 frames"), std::string::npos) << text;
    }
}

}  // namespace
}  // namespace velorin
