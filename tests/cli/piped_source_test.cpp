#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

#include "../media/clips.h"
#include "cli/frame_renderer.h"
#include "cli/layer_clips.h"
#include "cli/run_frames.h"

namespace velorin {
namespace {

constexpr int kWidth = 24;
constexpr int kHeight = 16;
constexpr int kFrames = 23;

// Frames of a moving pattern, gray so that a picture holds its samples as they are.
std::string WriteY4m(const TemporaryFolder& folder) {
    const std::string name = folder / "clip.y4m";
    std::ofstream file(name, std::ios::binary);
    file << "YUV4MPEG2 W" << kWidth << " H" << kHeight << " F24:1 Ip A1:1 Cmono\n";
    for (int t = 0; t < kFrames; ++t) {
        file << "FRAME\n";
        for (int i = 0; i < kWidth * kHeight; ++i) {
            file.put(static_cast<char>(((i % kWidth + t) * 37 ^ i / kWidth * 11) % 251));
        }
    }
    return name;
}

// Standard input comes from a file while this lives.
class InputFrom {
  public:
    explicit InputFrom(const std::string& name) : old(dup(STDIN_FILENO)) {
        const int file = open(name.c_str(), O_RDONLY);
        dup2(file, STDIN_FILENO);
        close(file);
    }
    ~InputFrom() {
        dup2(old, STDIN_FILENO);
        close(old);
    }

  private:
    int old;
};

std::vector<Picture> Rendered(const std::string& input, const std::vector<std::string>& words) {
    std::vector<const char*> all = {input.c_str(), "-o", "out.%04d.png", "-q", "--threads", "1"};
    for (const std::string& word : words) all.push_back(word.c_str());
    const Options options = *ParseOptions(kVerbRetime, static_cast<int>(all.size()), all.data());
    RunClips clips = OpenRunClips(options);
    RunPlan plan = MakePlan(options, clips.source->Info());
    plan.stream = clips.stream;
    ProgressLine progress(options.progress, options.quiet);
    FrameRenderer renderer(options, plan, std::move(clips), {});
    std::vector<Picture> pictures;
    RunFrames frames(plan);
    auto next = frames.Next();
    while (next) {
        const std::int64_t frame = *std::exchange(next, frames.Next());
        if (plan.isOpen && AwaitSource(plan, frame, next) != SourceState::kThere) break;
        pictures.push_back(*renderer.Render(frame, {options.interp, options.warp}, progress));
    }
    return pictures;
}

void ExpectSameThroughPipe(const std::string& name, const std::vector<std::string>& words) {
    std::string call;
    for (const std::string& word : words) call += word + " ";
    SCOPED_TRACE(call);
    const std::vector<Picture> fromFile = Rendered(name, words);
    const InputFrom input(name);
    std::vector<Picture> fromPipe;
    ASSERT_NO_THROW(fromPipe = Rendered("-", words));
    ASSERT_EQ(fromPipe.size(), fromFile.size());
    for (std::size_t i = 0; i < fromFile.size(); ++i) {
        ASSERT_TRUE(SamePixels(fromPipe[i], fromFile[i])) << "output frame " << i;
    }
}

// What the engine asks for is always among the few pictures that are kept.
TEST(PipedSource, GivesThePixelsOfAFileInEveryMode) {
    const TemporaryFolder folder;
    const std::string name = WriteY4m(folder);
    for (const std::string speed : {"0.37", "1", "2.6", "9.7"}) {
        for (const std::string quality : {"high", "none"}) {
            for (const std::string warp : {"inverse", "smart", "forward"}) {
                for (const std::string interp : {"blend", "nearest"}) {
                    for (const std::string compensate : {"0", "5"}) {
                        for (const std::string in : {"none", "upper"}) {
                            for (const std::string out : {"none", "lower"}) {
                                ExpectSameThroughPipe(
                                    name, {"--speed", speed, "--quality", quality, "--warp", warp,
                                           "--interp", interp, "--compensate", compensate,
                                           "--input-fields", in, "--output-fields", out});
                            }
                        }
                    }
                }
            }
        }
    }
}

TEST(PipedSource, GivesThePixelsOfAFileForEveryLawAndView) {
    const TemporaryFolder folder;
    const std::string name = WriteY4m(folder);
    const std::vector<std::string> cases[] = {
        {"--speed-curve", "0:0.2~,9:3,14:0,20:0.5"},
        {"--speed-curve", "0:10,1:0,5:10"},
        {"--frame-curve", "0:0,10:4,11:4,12:19.5,30:22"},
        {"--frame-curve", "0:-3,20:40"},
        {"--frame-curve", "0:3|,8:9~,30:22", "--output-fields", "upper"},
        {"--length", "70", "--speed", "0.5"},
        {"--length", "7", "--speed", "0.5"},
        {"--length", "9", "--speed", "0"},
        {"--frames", "3-9x3,12,40-", "--speed", "0.4"},
        {"--fit-rate", "60"},
        {"--speed", "0.4", "--scenes", "0:A,6:B,9:nearest,14:blend,17:C"},
        {"--speed", "0.4", "--view", "flow"},
        {"--speed", "0.4", "--motion-from", name},
        {"--speed", "0.4", "--matte", name, "--matte-shrink", "2", "--compensate", "2"},
        {"--speed", "2.6", "--matte", name, "--output-fields", "upper", "--view", "foreground"},
        {"--speed", "0.4", "--matte", name, "--view", "matte"},
        {"--speed", "0.4", "--motion-transfer", "log", "--no-cache"},
    };
    for (const std::vector<std::string>& words : cases) ExpectSameThroughPipe(name, words);
}

TEST(PipedSource, RefusesLawsThatLeadBack) {
    const TemporaryFolder folder;
    const std::string name = WriteY4m(folder);
    for (const char* curve : {"0:5,4:4.999999999", "0:0,3:7|,4:6"}) {
        const InputFrom input(name);
        EXPECT_THROW(Rendered("-", {"--frame-curve", curve}), UsageError) << curve;
    }
}

TEST(FrameList, TellsTheNextChosenFrame) {
    const auto chosen = [](const char* text, std::int64_t from) {
        return NextChosen(*ParseFrames(text), from).value_or(-1);
    };
    EXPECT_EQ(NextChosen({}, 5), 5);
    EXPECT_EQ(chosen("3-9x3,12", 0), 3);
    EXPECT_EQ(chosen("3-9x3,12", 4), 6);
    EXPECT_EQ(chosen("3-9x3,12", 10), 12);
    EXPECT_EQ(chosen("3-9x3,12", 13), -1);
    EXPECT_EQ(chosen("12,3-10x3", 10), 12);
    EXPECT_EQ(chosen("40-", 1000000), 1000000);
    EXPECT_EQ(chosen("40-x9223372036854775807", 41), -1);
}

}  // namespace
}  // namespace velorin
