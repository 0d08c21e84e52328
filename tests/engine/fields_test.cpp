#include "engine/fields.h"

#include <gtest/gtest.h>

#include <cstring>

#include "support/checksum.h"
#include "support/memory_host.h"
#include "support/recorder.h"

namespace velorin {
namespace {

TEST(Fields, RowsOfTheOtherFieldBecomeMeans) {
    std::uint64_t sum = kEmptySum;
    ForEachPictureForm([&](int type, int channels) {
        for (const auto& [height, mode] :
             {std::pair{8, 2}, {8, 3}, {7, 2}, {7, 3}, {2, 2}, {7, 1}}) {
            sum = ChecksumOfNoise(
                {21, height, channels, type}, {1, 1, 1, ZPPixUChar},
                [m = mode](ZPImage& image, ZPImage&) { ExtractField(image, m); }, sum);
        }
    });
    EXPECT_EQ(sum, 8879420420083661474u);
    ZPImage row(5, 1, 4, ZPPixUChar, 0);
    ExtractField(row, 2);
    ExtractField(row, 3);
}

TEST(Fields, WeavingTakesTheRowsOfOneField) {
    std::uint64_t sum = kEmptySum;
    for (int height : {6, 7}) {
        for (int mode : {1, 2, 3}) {
            const Shape shape{9, height, 4, ZPPixUShort};
            const auto weave = [&](ZPImage& first, ZPImage& second) {
                WeaveFields(first, second, mode);
            };
            sum = ChecksumOfNoise(shape, shape, weave, sum);
            ExpectAsPlain(shape, {9, height, 4, ZPPixUChar}, weave, kNothing);
            ExpectAsPlain(shape, {9, height - 1, 4, ZPPixUShort}, weave, kNothing);
        }
    }
    EXPECT_EQ(sum, 11039113571020851641u);
}

TEST(Fields, AFieldsNumberTellsItsRows) {
    // Upper first keeps the even rows of even fields; below 0 all fields count as even.
    for (const auto& [field, upperFirst, lowerFirst] :
         {std::tuple{0, 2, 3}, {1, 3, 2}, {2, 2, 3}, {7, 3, 2}, {-1, 2, 3}, {-2, 2, 3}}) {
        EXPECT_EQ(ExtractModeOf(field, 1), upperFirst) << field;
        EXPECT_EQ(ExtractModeOf(field, 2), lowerFirst) << field;
    }
}

// At the source's own speed interlaced frames come back as they are: without vectors, and each
// from its own two fields.
TEST(Fields, InAndOutGiveBackTheSource) {
    for (int layout : {1, 2}) {
        for (std::int64_t method : {0, 1, 2}) {
            MemoryHost host(DrawClip(3, 20, 15, ZPPixUChar));
            host.inputFieldsAsked = host.outputFieldsAsked = layout;
            host.method = method;
            ASSERT_EQ(host.Render(1.0f), 0);
            EXPECT_SAME_IMAGE(*host.result, *host.frames[1]);
            EXPECT_EQ(host.asked, (std::vector<int>{1, 1, 1, 2}));
            EXPECT_EQ(host.internal->opticalFlow, nullptr);
            EXPECT_EQ(host.held, 0);
        }
    }
}

TEST(Fields, PassesOfOnePairShareItsFlows) {
    const auto reports = [](float speed, std::int64_t keepFlows) {
        MemoryHost host(DrawClip(4, 32, 24, ZPPixUChar));
        Recorder recorder;
        host.progress = &recorder;
        host.outputFieldsAsked = 1;
        host.keepFlows = keepFlows;
        host.timeMap = [=](float t) { return 0.3f + speed * t; };
        EXPECT_EQ(host.Render(0.0f), 0);
        EXPECT_EQ(host.asked.size(), 4u);
        return static_cast<int>(recorder.fractions.size());
    };
    const int twice = reports(2.0f, 1);  // passes at 0.3 and 1.3
    EXPECT_LT(reports(0.5f, 1), 0.6 * twice);
    EXPECT_GT(reports(0.5f, 0), 0.9 * twice);
}

// Each pass lies where its own time says, in its own rows.
TEST(Fields, OutputFieldsAreHalfAFrameApart) {
    MemoryHost fields(DrawClip(4, 32, 24, ZPPixUChar)), whole(DrawClip(4, 32, 24, ZPPixUChar));
    const auto clipTime = [](float t) { return 0.2f + 0.6f * t; };
    fields.timeMap = whole.timeMap = clipTime;
    for (int layout : {1, 2}) {
        fields.outputFieldsAsked = layout;
        ASSERT_EQ(fields.Render(1.0f), 0);
        for (int pass : {0, 1}) {
            ASSERT_EQ(whole.Render(1.0f + 0.5f * static_cast<float>(pass)), 0);
            // The upper field has the last row.
            for (int y = 23 - (pass + layout + 1) % 2; y >= 0; y -= 2) {
                EXPECT_EQ(std::memcmp(fields.result->Row<char>(y), whole.result->Row<char>(y), 128),
                          0)
                    << "layout " << layout << ", pass " << pass << ", row " << y;
            }
        }
    }
}

TEST(Fields, ASecondImageThatDoesNotFitIsRefused) {
    MemoryHost host(DrawClip(2, 16, 16, ZPPixUChar));
    KQImage result, second;
    ZPImage a(16, 16, 4, ZPPixUChar, 0), b(16, 15, 4, ZPPixUChar, 0);
    KQImageInternal first(a), shorter(b);
    result.WrapInternal(first);
    second.WrapInternal(shorter);
    for (KQImage* image : {&second, static_cast<KQImage*>(nullptr)}) {
        EXPECT_EQ(host.RenderFrame(&result, image, 0, 1, 4, 0.5f, 1.5f, 25.0f, 25.0f, 0.0f, 0.7f, 1,
                                   1, 1, 1, 0, nullptr, nullptr, nullptr, false),
                  ZPErrBadArgument);
    }
}

}  // namespace
}  // namespace velorin
