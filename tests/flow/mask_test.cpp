#include "flow/mask.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

#include "support/checksum.h"
#include "support/failing_allocator.h"
#include "support/in_place.h"

namespace velorin {
namespace {

struct Limits {
    float x0, y0, x1, y1;
};

TEST(ExtendBorder, CopiesTheNearestPixelOfTheEdge) {
    constexpr Limits kLimits[] = {{1, 1, 7, 31},
                                  {2.4f, 3.5f, 4.5f, 20.4f},
                                  {0, 0, 8, 32},
                                  {3, 4, 3, 4},
                                  {-5, -5, 3, 6.6f},
                                  {6.5f, 30, 99, 1e9f},
                                  {8.7f, 32.9f, 9, 33},
                                  {-0.3f, -9, 0.2f, 0},
                                  {4.2f, 4.2f, 4.3f, 4.3f},
                                  {4.6f, 4.5f, 4.7f, 4.9f}};
    std::uint64_t sum = kEmptySum;
    ForEachPictureForm([&](int type, int channels) {
        for (const Limits& limits : kLimits) {
            for (int keepLast : {0, 1}) {
                sum = ChecksumOfNoise(
                    {9, 33, channels, type}, {1, 1, 1, ZPPixUChar},
                    [&](ZPImage& image, ZPImage&) {
                        ExtendBorder(image, keepLast, limits.x0, limits.y0, limits.x1, limits.y1);
                    },
                    sum);
            }
        }
    });
    EXPECT_EQ(sum, 9555181296613056857u);
}

TEST(ExtendBorder, RectanglesThatHaveNoPlainAnswer) {
    const float far = std::numeric_limits<float>::infinity();
    ZPImage source(6, 5, 4, ZPPixUChar, 0), black(6, 5, 4, ZPPixUChar, 0);
    Noise(92).Fill(source);
    ClearImage(&black);
    const auto expect = [&](const Limits& limits, const ZPImage& expected) {
        Snapshot image(source);
        ExtendBorder(*image, 1, limits.x0, limits.y0, limits.x1, limits.y1);
        EXPECT_SAME_IMAGE(*image, expected);
    };
    // Wholly outside: all is 0, the last channel too.
    for (const Limits& limits :
         {Limits{-3, 0, -1, 4}, Limits{0, -3, 5, -0.1f}, Limits{6.1f, 0, 7, 4},
          Limits{0, 5.1f, 5, 9}, Limits{far, 0, far, 4}}) {
        expect(limits, black);
    }
    for (const Limits& limits :
         {Limits{NAN, NAN, NAN, NAN}, Limits{0, NAN, NAN, 4}, Limits{-far, -far, far, far}}) {
        expect(limits, source);
    }
    Snapshot turned(source);
    ExtendBorder(*turned, 1, 1, 1, 4, 3);
    expect({4, 3, 1, 1}, *turned);
}

// Runs an operation on sparse masks of many sizes; answers the sum of what it makes of them.
template <typename Operation>
std::uint64_t SumOf(const Operation& run, std::uint64_t sum = kEmptySum) {
    for (int width : {1, 2, 3, 4, 5, 41}) {
        for (int height : {1, 2, 3, 4, 5, 6, 67}) {
            Noise noise(93);
            ZPImage source(width, height, 1, ZPPixUChar, 0);
            // Two of 127 are the first threshold itself; a large mask has room for many rings.
            const int most = width > 5 && height > 6 ? 400 : 9;
            PutEach(source, [&](int, int, int) {
                constexpr float kMarks[] = {255.0f, 127.0f, 128.0f, 127.0f};
                const int kind = noise.Int(0, most);
                return kind > 3 ? 0.0f : kMarks[kind];
            });
            Snapshot expected(source);
            EXPECT_EQ(run(&*expected), 0);
            ExpectInPlace(source, *expected, [&](ZPImage& mask) { EXPECT_EQ(run(&mask), 0); });
            sum = Checksum(*expected, sum);
        }
    }
    return sum;
}

TEST(Mask, GrowsShrinksAndThickens) {
    const auto sumOfSteps = [](int (*operation)(ZPImage*, int)) {
        std::uint64_t sum = kEmptySum;
        for (int steps : {-1, 0, 1, 2, 4, 7, 8, 9, 12}) {
            sum = SumOf([&](ZPImage* mask) { return operation(mask, steps); }, sum);
        }
        return sum;
    };
    EXPECT_EQ(sumOfSteps(GrowMaskHard), 7739353105585915164u);
    EXPECT_EQ(sumOfSteps(GrowMaskRamp), 5704084547315289918u);
    EXPECT_EQ(sumOfSteps(ShrinkMaskByRows), 14242373996433168929u);
    const auto shrink = [](int steps) {
        return SumOf([=](ZPImage* mask) { return ShrinkMaskByRows(mask, steps); });
    };
    EXPECT_EQ(shrink(2000000000), shrink(9));
    EXPECT_EQ(SumOf([](ZPImage* mask) { return GrowMask(mask, 254, 9); }), 11584278501194795599u);
    EXPECT_EQ(SumOf(ThickenRows), 10482270922872835657u);
}

TEST(Mask, LeavesOtherImagesAndReportsMissingMemory) {
    const std::function<int(ZPImage*)> operations[] = {
        [](ZPImage* mask) { return GrowMask(mask, 254, 255); },
        [](ZPImage* mask) { return GrowMaskRamp(mask, 7); },
        [](ZPImage* mask) { return GrowMaskHard(mask, 2); },
        [](ZPImage* mask) { return ShrinkMaskByRows(mask, 9); },
        ThickenRows,
    };
    ZPImage mask(5, 5, 1, ZPPixUChar, 0), words(5, 5, 1, ZPPixUShort, 0), two(5, 5, 2, 0, 0);
    for (ZPImage* image : {&mask, &words, &two}) Noise(94).Fill(*image);
    Snapshot before(words), pair(two), whole(mask);
    for (const auto& operation : operations) {
        EXPECT_EQ(operation(nullptr), 0);
        EXPECT_EQ(operation(&words), 0);
        EXPECT_EQ(operation(&two), 0);
        const FailingAllocator allocator(1);
        EXPECT_EQ(operation(&mask), 1);
    }
    EXPECT_SAME_IMAGE(words, *before);
    EXPECT_SAME_IMAGE(two, *pair);
    EXPECT_SAME_IMAGE(mask, *whole);
}

}  // namespace
}  // namespace velorin
