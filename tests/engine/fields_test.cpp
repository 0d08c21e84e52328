#include "engine/fields.h"

#include <gtest/gtest.h>

#include <cstring>

#include "support/in_place.h"
#include "support/memory_host.h"
#include "support/plain_stored.h"
#include "support/put_each.h"

namespace velorin {
namespace {

// By the plain rule, in double precision.
TEST(Fields, RowsOfTheOtherFieldBecomeMeans) {
    ForEachPictureForm([](int type, int channels) {
        for (const auto& [height, mode] :
             {std::pair{8, 2}, {8, 3}, {7, 2}, {7, 3}, {2, 2}, {7, 1}}) {
            SCOPED_TRACE("height " + std::to_string(height) + ", mode " + std::to_string(mode));
            ZPImage source(21, height, channels, type, 0);
            Noise noise(7);
            PutEach(source, [&](int, int, int) { return WhiteOf(type) * noise.Float(0.0f, 1.0f); });
            Snapshot expected(source);
            for (int y = 0; y < height; ++y) {
                const bool odd = (height - 1 - y) % 2 != 0;
                if (mode == 1 || odd != (mode == 2)) continue;
                const int up = y > 0 ? y - 1 : 1;
                const int down = y < height - 1 ? y + 1 : height - 2;
                for (int x = 0; x < 21; ++x) {
                    for (int c = 0; c < channels; ++c) {
                        const float sum = ValueAt(source, x, up, c) + ValueAt(source, x, down, c);
                        PutValue(*expected, x, y, c, PlainStored(type, sum * 0.5f));
                    }
                }
            }
            ExpectInPlace(source, *expected,
                          [&, m = mode](ZPImage& image) { ExtractField(image, m); });
        }
    });
    ZPImage row(5, 1, 4, ZPPixUChar, 0);
    ExtractField(row, 2);
    ExtractField(row, 3);
}

TEST(Fields, WeavingTakesTheRowsOfOneField) {
    for (int height : {6, 7}) {
        for (int mode : {1, 2, 3}) {
            ZPImage first(9, height, 4, ZPPixUShort, 0), second(9, height, 4, ZPPixUShort, 1);
            PutEach(first, [](int x, int y, int c) { return static_cast<float>(x + 100 * y + c); });
            PutAll(second, 7.0f);
            Snapshot expected(first);
            for (int y = 0; y < height; ++y) {
                const bool odd = (height - 1 - y) % 2 != 0;
                if (mode == 1 || odd != (mode == 3)) continue;
                std::fill_n(expected->Row<std::uint16_t>(y), 9 * 4, std::uint16_t{7});
            }
            ExpectInPlace(first, *expected,
                          [&](ZPImage& image) { WeaveFields(image, second, mode); });
            const ZPImage other(9, height, 4, ZPPixUChar, 0),
                shorter(9, height - 1, 4, ZPPixUShort, 0);
            ExpectInPlace(first, *Snapshot(first), [&](ZPImage& image) {
                WeaveFields(image, other, mode);
                WeaveFields(image, shorter, mode);
            });
        }
    }
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

// Counts the reports of what runs while flows are estimated.
struct Counter : KQIdleAndProgressClass {
    Counter() : KQIdleAndProgressClass(nullptr) {}
    void ReportProgress(float) override { ++reports; }
    int reports = 0;
};

TEST(Fields, PassesOfOnePairShareItsFlows) {
    const auto reports = [](float speed, std::int64_t keepFlows) {
        MemoryHost host(DrawClip(4, 32, 24, ZPPixUChar));
        Counter counter;
        host.progress = &counter;
        host.outputFieldsAsked = 1;
        host.keepFlows = keepFlows;
        host.timeMap = [=](float t) { return 0.3f + speed * t; };
        EXPECT_EQ(host.Render(0.0f), 0);
        EXPECT_EQ(host.asked.size(), 4u);
        return counter.reports;
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
