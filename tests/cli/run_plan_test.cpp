#include "cli/run_plan.h"

#include <gtest/gtest.h>

namespace velorin {
namespace {

ClipInfo Clip(int width, int height, std::int64_t frames) {
    ClipInfo info;
    info.name = "shot.%04d.png";
    info.width = width;
    info.height = height;
    info.channels = 3;
    info.frames = frames;
    info.firstNumber = 101;
    return info;
}

Options Slow(const char* speed) {
    Options options;
    options.output = "out.%04d.png";
    options.speed = ParseDecimal(speed).value();
    return options;
}

// The text of the Failure that `body` throws; empty when it throws nothing.
template <typename Failure, typename Body>
std::string TextOf(Body&& body) {
    try {
        body();
    } catch (const Failure& failure) {
        return failure.what();
    }
    return "";
}

TEST(RunPlan, CountsFramesAndPairs) {
    const RunPlan plan = MakePlan(Slow("0.4"), Clip(96, 72, 4));
    EXPECT_EQ(plan.length, 8);
    EXPECT_EQ(plan.frames.size(), 8u);
    EXPECT_EQ(plan.onFrame, 2);
    EXPECT_EQ(plan.pairs, 3);
    EXPECT_EQ(plan.flowWidth, 48);
    EXPECT_EQ(plan.flowHeight, 36);
    EXPECT_EQ(plan.firstNumber, 101);

    Options some = Slow("0.5");
    some.frames = ParseFrames("15-30").value();
    const RunPlan part = MakePlan(some, Clip(96, 72, 10));
    EXPECT_EQ(part.frames, std::vector<std::int64_t>({15, 16, 17, 18}));
    EXPECT_TRUE(part.framesLeftOut);

    Options still = Slow("0");
    EXPECT_THROW(MakePlan(still, Clip(96, 72, 10)), UsageError);
    still.length = 3;
    EXPECT_EQ(MakePlan(still, Clip(96, 72, 10)).onFrame, 3);
    EXPECT_THROW(MakePlan(Slow("0.000000001"), Clip(96, 72, 10)), UsageError);
}

TEST(RunPlan, CountsFieldsWhereThereAreSome) {
    struct Case {
        const char* speed;
        int inputFields, outputFields;
        float compensate;
        std::int64_t onFrame, pairs;
    };
    // Of 4 frames, or 7 fields up to the first one of the last frame.
    for (const Case& c : {Case{"0.5", 1, 0, 0.0f, 7, 0},
                          {"0.25", 1, 0, 0.0f, 7, 6},
                          {"1", 0, 2, 0.0f, 0, 4},
                          {"0.5", 2, 1, 0.0f, 0, 7},
                          {"1", 1, 1, 0.0f, 4, 0},
                          {"1", 0, 0, 0.0051f, 0, 4},
                          {"1", 1, 1, 0.0051f, 0, 8}}) {
        Options options = Slow(c.speed);
        options.inputFields = c.inputFields;
        options.outputFields = c.outputFields;
        options.compensate = c.compensate;
        const RunPlan plan = MakePlan(options, Clip(96, 72, 4));
        EXPECT_EQ(plan.onFrame, c.onFrame) << c.speed << c.inputFields << c.outputFields;
        EXPECT_EQ(plan.pairs, c.pairs) << c.speed << c.inputFields << c.outputFields;
    }
    ClipInfo lower = Clip(96, 72, 4);
    lower.fieldOrder = FieldOrder::kLowerFirst;
    Options options = Slow("1");
    EXPECT_EQ(MakePlan(options, lower).request.inputFields, 0);
    options.inputFields = kFieldsOfClip;
    EXPECT_EQ(MakePlan(options, Clip(96, 72, 4)).request.inputFields, 0);
    options.outputFields = 1;
    options.view = View::kFlow;  // one picture a frame, between fields
    const RunPlan flow = MakePlan(options, lower);
    EXPECT_EQ(flow.request.inputFields, 2);
    EXPECT_EQ(flow.pairs, 4);
}

TEST(RunPlan, RefusesSizesAndSaysWhichQualityWouldDo) {
    struct Case {
        int width, height;
        const char* speed;
        int quality;
        const char* text;  // empty when the clip is taken
    };
    for (const Case& c : {Case{11, 7, "0.4", 4, ""},
                          {11, 7, "0.4", 3, "--quality best would do"},
                          {3, 40, "0.4", 1, "--quality full would do"},
                          {40, 15, "0.4", 1, "--quality high would do"},
                          {40, 16, "0.4", 1, ""},
                          {2, 2, "1", 4, ""},  // nothing is estimated
                          {2, 2, "0.4", 0, ""},
                          {1, 20, "1", 0, "too small"},
                          {16000, 2, "1", 0, ""},
                          {16001, 2, "1", 0, "too large"}}) {
        Options options = Slow(c.speed);
        options.quality = c.quality;
        const std::string text =
            TextOf<MediaError>([&] { MakePlan(options, Clip(c.width, c.height, 5)); });
        EXPECT_EQ(text.empty(), *c.text == 0) << text;
        EXPECT_NE(text.find(c.text), std::string::npos) << text;
    }
}

TEST(RunPlan, FollowsTheInputsDepthWhereTheFormatHoldsIt) {
    ClipInfo info = Clip(96, 72, 4);
    info.depth = SampleDepth::kHalf;
    Options options = Slow("0.4");
    EXPECT_EQ(MakePlan(options, info).depth, SampleDepth::kWord);
    options.depth = SampleDepth::kFloat;
    EXPECT_THROW(MakePlan(options, info), UsageError);
    options.output = "out.%04d.exr";
    EXPECT_EQ(MakePlan(options, info).depth, SampleDepth::kFloat);
    for (const char* name : {"out.png", "out.nosuch", "out"}) {
        options.output = name;
        EXPECT_THROW(MakePlan(options, info), UsageError) << name;
    }
}

TEST(RunPlan, OfASheetIsOneTimeInsideTheClip) {
    Options options;
    options.output = "sheet.png";
    const auto refusal = [&](const char* at) {
        options.at = ParseDecimal(at).value();
        return TextOf<UsageError>([&] { MakeSheetPlan(options, Clip(96, 72, 5)); });
    };
    EXPECT_EQ(refusal("3.5"), "");
    EXPECT_EQ(refusal("4"), "");
    for (const char* at : {"-0.1", "4.000000001"}) {
        EXPECT_NE(refusal(at).find("from 0 to 4, the last frame"), std::string::npos) << at;
    }
    options.at = ParseDecimal("3.5").value();
    ClipInfo info = Clip(96, 72, 5);
    info.depth = SampleDepth::kFloat;
    const RunPlan plan = MakeSheetPlan(options, info);
    EXPECT_EQ(plan.law->At(0, 0).frame, 3);
    EXPECT_EQ(plan.frames.size(), 1u);
    EXPECT_EQ(plan.pairs, 1);
    EXPECT_EQ(plan.depth, SampleDepth::kByte);

    for (const char* name : {"sheet", "sheet.exr", "sheet.mov", "sheet.%04d.png"}) {
        options.output = name;
        EXPECT_NE(refusal("1").find(name), std::string::npos) << name;
    }
    options.output = "sheet.jpg";
    for (const Window& crop : {Window{0, 0, 97, 1}, {0, 1, 1, 72}, {2147483647, 0, 1, 1}}) {
        options.crop = crop;
        EXPECT_NE(refusal("1").find("96x72"), std::string::npos);
    }
    options.crop = Window{95, 71, 1, 1};
    EXPECT_EQ(refusal("1"), "");
    options.cellWidth = 100;
    EXPECT_NE(refusal("1"), "");
}

}  // namespace
}  // namespace velorin
