#include "cli/clip_host.h"

#include <gtest/gtest.h>

#include <cstring>

#include "cli/layer_clips.h"
#include "standalone/thread_pool.h"
#include "support/noise.h"

namespace velorin {
namespace {

constexpr int kWidth = 20;
constexpr int kHeight = 16;
using Frames = std::vector<std::int64_t>;

// A clip whose frames are noise of their own number. It notes what is read.
class NoiseClip final : public ClipReader {
  public:
    NoiseClip(std::int64_t frames, Frames* log) : reads(log) {
        info.width = kWidth;
        info.height = kHeight;
        info.frames = frames;
    }
    const ClipInfo& Info() const override { return info; }
    void Read(std::int64_t frame, Picture& picture) override {
        reads->push_back(frame);
        if (frame == 13) throw MediaError(MediaError::Kind::kInput, "frame 13 is damaged");
        picture.SetShape(kWidth, kHeight, ZPPixUChar);
        Noise noise(static_cast<std::uint32_t>(frame));
        for (std::byte& value : picture.pixels) value = static_cast<std::byte>(noise.Bits());
    }

  private:
    ClipInfo info;
    Frames* reads;
};

// A host over such clips at a constant speed.
struct NoiseHost {
    NoiseHost(const char* speed, std::int64_t frames, const Options& wanted = {})
        : options(wanted),
          plan(PlanOf(speed, frames, wanted)),
          host(Clips(), *plan.law, ChoicesFor(options, {})) {
        UseThreads(1);
    }

    static RunPlan PlanOf(const char* speed, std::int64_t frames, const Options& options) {
        RunPlan plan;
        plan.request = RequestFor(options, plan.source);
        plan.law = ConstantSpeed(AsRational(ParseDecimal(speed).value()));
        plan.source.frames = frames;
        return plan;
    }
    RunClips Clips() {
        const auto clip = [&](Frames* log) {
            return std::make_unique<NoiseClip>(plan.source.frames, log);
        };
        RunClips clips;
        clips.source = clip(&reads);
        if (!options.motionFrom.empty()) clips.motion = clip(&motionReads);
        matteReads.resize(options.mattes.size());
        for (Frames& log : matteReads) {
            clips.mattes.push_back(ReadAsMatte(clip(&log), {}, ZPPixUChar));
        }
        if (!options.forwardVectors.empty()) clips.forwardVectors = clip(&forwardReads);
        if (!options.backwardVectors.empty()) clips.backwardVectors = clip(&backwardReads);
        return clips;
    }

    // Warps by the method with the number of `interp`, so that all of them are used.
    int Render(std::int64_t frame, int interp) {
        picture.SetShape(kWidth, kHeight, ZPPixUChar);
        Picture second = picture;
        KQImage result, secondField;
        WrapPicture(result, picture);
        WrapPicture(secondField, second);
        host.SetOutputFrame(frame);
        host.SetWarping(interp);
        const bool foreseen = readsAlone && interp == plan.request.interp;
        host.SetFramesAlone(foreseen ? FramesReadAlone(options, plan, frame) : FramesAlone());
        return host.RenderFrame(
            &result, &secondField, options.inputFields.value_or(0), options.outputFields,
            options.quality, 0.0f, 1.0f, 29.97f, 29.97f, options.compensate, 0.7f, interp, 1,
            options.motionFrom.empty() ? 1 : 0, 1, static_cast<std::int32_t>(options.mattes.size()),
            options.matteShrinks.data(), options.fgSensitivities.data(), nullptr, false);
    }

    Options options;
    RunPlan plan;
    Frames reads;
    Frames motionReads;
    Frames forwardReads;
    Frames backwardReads;
    std::vector<Frames> matteReads;
    ClipHost host;
    bool readsAlone = true;
    Picture picture;
};

TEST(ClipHost, HandsOutPrivateCopiesOfFramesInsideTheClip) {
    NoiseHost clip("1", 5);
    ClipHost& host = clip.host;
    const auto firstByte = [&](int frame, bool alter) {
        KQImage* image = nullptr;
        EXPECT_EQ(host.GetTrackingSequenceImage(&image, frame), ZPErrNone);
        // The last line in memory is the bottom line, logical row 0.
        EXPECT_EQ(image->Internal()->Row<std::uint8_t>(kHeight - 1), image->data);
        auto* bytes = static_cast<std::uint8_t*>(image->data);
        const int byte = bytes[0];
        if (alter) std::memset(bytes, byte + 1, kWidth * kHeight * 4);
        EXPECT_EQ(host.CleanUpCheckedOutImage(image), ZPErrNone);
        return byte;
    };
    const int unaltered = firstByte(2, true);
    EXPECT_EQ(firstByte(2, false), unaltered);
    EXPECT_EQ(firstByte(4, false), firstByte(1000, false));
    EXPECT_EQ(firstByte(0, false), firstByte(-7, false));
    EXPECT_EQ(clip.reads, Frames({2, 4, 0}));
}

TEST(ClipHost, AnswersTimesAndFramesFromABaseNearTheOutputFrame) {
    NoiseHost clip("0.5", 2000000);
    clip.host.SetOutputFrame(1000001);
    const auto timeAt = [&](float outputTime) {
        float time = 0.0f;
        clip.host.GetKeyframedTime(&time, outputTime);
        return time;
    };
    EXPECT_EQ(timeAt(0.0f), 500000.5f - 499712.0f);
    EXPECT_EQ(timeAt(0.5f), 500000.75f - 499712.0f);
    EXPECT_EQ(timeAt(1.0f), 500001.0f - 499712.0f);
    KQImage* image = nullptr;
    clip.host.GetToBeWarpedSequenceImage(&image, 289);
    clip.host.CleanUpCheckedOutImage(image);
    EXPECT_EQ(clip.reads, Frames({500001}));
}

// With every method, and all that looks at frames before they are moved; nor do pictures change
// where the neighbour of a copied frame is not read.
TEST(ClipHost, FramesThatAreSharedStayAsTheyAre) {
    Options layered;
    layered.mattes = {"a", "b"};
    layered.matteShrinks = {1.5f, 0.0f};
    layered.fgSensitivities = {0.5f, 0.9f};
    Options changed;
    changed.enhance = 1;
    changed.compensate = 2.0f;
    changed.outputFields = 1;
    changed.motionFrom = "a";
    Options still;
    still.quality = 0;
    still.inputFields = 2;
    still.outputFields = 1;
    for (Options options : {Options{}, layered, changed, still}) {
        for (const int interp : {0, 1, 2}) {
            options.interp = interp;
            NoiseHost shared("0.5", 20, options);
            NoiseHost copied("0.5", 20, options);
            shared.host.SetSharesFrames(!options.inputFields);
            copied.readsAlone = false;
            for (const std::int64_t frame : {1, 2, 3, 2, 1, 6}) {
                ASSERT_EQ(shared.Render(frame, interp), ZPErrNone);
                ASSERT_EQ(copied.Render(frame, interp), ZPErrNone);
                EXPECT_EQ(shared.picture.pixels, copied.picture.pixels)
                    << "frame " << frame << " interp " << interp;
            }
        }
    }
}

// Source times 0.5 and 4096.5 are the same numbers to the engine, and of different frames.
TEST(ClipHost, PicturesDoNotDependOnTheFrameBefore) {
    for (const int interp : {0, 1, 2}) {
        NoiseHost walked("0.5", 9000);
        for (const std::int64_t frame : {1, 8193, 1, 8191, 8192, 8193, 2, 8195}) {
            NoiseHost fresh("0.5", 9000);
            ASSERT_EQ(walked.Render(frame, interp), ZPErrNone);
            ASSERT_EQ(fresh.Render(frame, interp), ZPErrNone);
            EXPECT_EQ(walked.picture.pixels, fresh.picture.pixels)
                << "frame " << frame << " interp " << interp;
        }
    }
}

Frames Announced(ClipRole role, const NoiseHost& clip) {
    Frames announced;
    const auto next = OrderFor(role, clip.options, clip.plan);
    for (std::int64_t frame = next(); frame >= 0; frame = next()) announced.push_back(frame);
    return announced;
}

// On source frames and between them. A frame that is read once more, or for nothing, shows as well.
TEST(ClipHost, ReadsEachClipInTheOrderThatIsAnnounced) {
    struct Case {
        std::size_t mattes;
        View view;
        float shrink;
        int quality;
        const char* motionFrom;
        int inputFields = 0, outputFields = 0;
        float compensate = 0.0f;
        const char* forward = "";
        const char* backward = "";
        bool pointsAlone = false;
    };
    for (const Case& c : {Case{0, View::kOutput, 0.0f, 5, ""},
                          {0, View::kOutput, 0.0f, 5, "clip"},
                          {0, View::kOutput, 0.0f, 0, "clip"},
                          {1, View::kOutput, 0.0f, 5, "clip"},
                          {1, View::kOutput, 1.5f, 5, ""},
                          {1, View::kOutput, 1.5f, 0, ""},
                          {1, View::kBackground, 0.0f, 5, "clip"},
                          {2, View::kForeground, 0.0f, 5, ""},
                          {2, View::kBackground, 0.0f, 0, "clip"},
                          {1, View::kOutput, 0.0f, 5, "clip", 0, 0, 0.0051f},
                          {1, View::kOutput, 0.0f, 5, "clip", 1, 0},
                          {1, View::kOutput, 0.0f, 5, "clip", 0, 2},
                          {1, View::kOutput, 0.0f, 5, "clip", 2, 1},
                          {1, View::kOutput, 0.0f, 5, "clip", 1, 1, 2.0f},
                          {1, View::kBackground, 0.0f, 0, "clip", 2, 2, 2.0f},
                          {0, View::kOutput, 0.0f, 5, "", 0, 0, 0.0f, "clip"},
                          {0, View::kOutput, 0.0f, 5, "", 0, 1, 1.0f, "clip", "clip"},
                          {1, View::kOutput, 0.0f, 5, "", 0, 0, 0.0f, "", "clip"},
                          {0, View::kOutput, 0.0f, 5, "clip", 0, 0, 0.0f, "", "", true},
                          {1, View::kOutput, 0.0f, 5, "clip", 0, 0, 0.0f, "", "", true}}) {
        Options options;
        options.mattes.resize(c.mattes);
        options.matteShrinks.assign(c.mattes, c.shrink);
        options.fgSensitivities.assign(c.mattes, 0.7f);
        options.view = c.view;
        options.quality = c.quality;
        options.motionFrom = c.motionFrom;
        options.inputFields = c.inputFields;
        options.outputFields = c.outputFields;
        options.compensate = c.compensate;
        options.forwardVectors = c.forward;
        options.backwardVectors = c.backward;
        if (c.pointsAlone) {
            options.guides = {"points"};
            options.guidesLayers = {0};
            options.flowSources = {kFlowOfPoints};
        }
        for (const char* speed : {"0", "0.3", "0.4", "1", "2.5"}) {
            options.interp = (options.interp + 1) % 3;
            NoiseHost clip(speed, 11, options);
            clip.plan.frames = {0, 1, 2, 9, 10, 11, 12, 25};
            for (const std::int64_t frame : clip.plan.frames) {
                ASSERT_EQ(clip.Render(frame, options.interp), ZPErrNone);
            }
            const auto what = ::testing::Message()
                              << "case " << c.mattes << c.quality << c.inputFields << c.outputFields
                              << " at " << speed;
            EXPECT_EQ(clip.reads, Announced(ClipRole::kSource, clip)) << what;
            const auto announced = [&](const char* name, ClipRole role) {
                return *name ? Announced(role, clip) : Frames();
            };
            EXPECT_EQ(clip.forwardReads, announced(c.forward, ClipRole::kForwardVectors)) << what;
            EXPECT_EQ(clip.backwardReads, announced(c.backward, ClipRole::kBackwardVectors))
                << what;
            EXPECT_EQ(clip.motionReads, announced(c.motionFrom, ClipRole::kMotion)) << what;
            for (const Frames& reads : clip.matteReads) {
                EXPECT_EQ(reads, Announced(ClipRole::kMatte, clip)) << what;
            }
        }
    }
}

TEST(ClipHost, KeepsTheTextOfAFailedRead) {
    NoiseHost clip("0.5", 20);
    EXPECT_NE(clip.Render(25, 1), ZPErrNone);
    try {
        clip.host.RethrowFailure();
        ADD_FAILURE() << "nothing is thrown";
    } catch (const MediaError& failure) {
        EXPECT_STREQ(failure.what(), "frame 13 is damaged");
    }
    EXPECT_EQ(clip.Render(23, 1), ZPErrNone);
    EXPECT_EQ(clip.Render(24, 1), ZPErrNone);  // frame 12 alone, with the damaged one behind it
    EXPECT_NO_THROW(clip.host.RethrowFailure());
}

}  // namespace
}  // namespace velorin
