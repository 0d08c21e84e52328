#include "flow/mask.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

#include "support/failing_allocator.h"
#include "support/in_place.h"
#include "support/put_each.h"

namespace velorin {
namespace {

struct Limits {
    float x0, y0, x1, y1;
};

// The index that stands for one outside of the limits: the nearest on the edge.
int PlainSource(int index, float low, float high, int size) {
    const float at = static_cast<float>(index);
    if (at >= low && at <= high) return index;
    const float edge = std::floor((at < low ? low : high) + 0.5f);
    return static_cast<int>(std::clamp(edge, 0.0f, static_cast<float>(size - 1)));
}

void CompareExtended(const ZPImage& source, int keepLast, const Limits& limits) {
    Snapshot expected(source);
    PutEach(*expected, [&](int x, int y, int c) {
        if (keepLast && c == 3) return ValueAt(source, x, y, c);
        return ValueAt(source, PlainSource(x, limits.x0, limits.x1, source.width),
                       PlainSource(y, limits.y0, limits.y1, source.height), c);
    });
    ExpectInPlace(source, *expected, [&](ZPImage& image) {
        ExtendBorder(image, keepLast, limits.x0, limits.y0, limits.x1, limits.y1);
    });
}

TEST(ExtendBorder, CopiesTheNearestPixelOfTheEdge) {
    ForEachPictureForm([](int type, int channels) {
        ZPImage source(9, 33, channels, type, 0);
        Noise(91).Fill(source);
        for (const Limits& limits :
             {Limits{1, 1, 7, 31}, Limits{2.4f, 3.5f, 4.5f, 20.4f}, Limits{0, 0, 8, 32},
              Limits{3, 4, 3, 4}, Limits{-5, -5, 3, 6.6f}, Limits{6.5f, 30, 99, 1e9f},
              Limits{8.7f, 32.9f, 9, 33}, Limits{-0.3f, -9, 0.2f, 0},
              Limits{4.2f, 4.2f, 4.3f, 4.3f}, Limits{4.6f, 4.5f, 4.7f, 4.9f}}) {
            CompareExtended(source, 0, limits);
            CompareExtended(source, 1, limits);
        }
    });
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

using Rule = std::function<int(const ZPImage& before, int x, int y)>;

// One step of a mask operation on the pixels from `reach` rows and one column inside.
void PlainStep(ZPImage& mask, int reach, const Rule& rule) {
    Snapshot before(mask);
    for (int y = reach; y < mask.height - reach; ++y) {
        for (int x = 1; x < mask.width - 1; ++x) {
            PutValue(mask, x, y, 0, static_cast<float>(rule(*before, x, y)));
        }
    }
}

int NeighbourSum(const ZPImage& mask, int x, int y, int reach) {
    float sum = ValueAt(mask, x - 1, y, 0) + ValueAt(mask, x + 1, y, 0);
    for (int dx : {-1, 0, 1}) {
        sum += ValueAt(mask, x + dx, y - reach, 0) + ValueAt(mask, x + dx, y + reach, 0);
    }
    return static_cast<int>(sum);
}

void PlainGrow(ZPImage& mask, int threshold, int value) {
    PlainStep(mask, 1, [=](const ZPImage& before, int x, int y) {
        const int pixel = static_cast<int>(ValueAt(before, x, y, 0));
        return pixel == 0 && NeighbourSum(before, x, y, 1) > threshold ? value : pixel;
    });
}

void PlainBorder(ZPImage& mask) {
    ExtendBorder(mask, 1, 1.0f, 1.0f, static_cast<float>(mask.width - 2),
                 static_cast<float>(mask.height - 2));
}

// Compares an operation with a plain one on sparse masks of many sizes.
void CompareMasks(const std::function<int(ZPImage*)>& run,
                  const std::function<void(ZPImage&)>& plain) {
    for (int width : {1, 2, 3, 4, 5, 41}) {
        for (int height : {1, 2, 3, 4, 5, 6, 67}) {
            SCOPED_TRACE(std::to_string(width) + " by " + std::to_string(height));
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
            plain(*expected);
            ExpectInPlace(source, *expected, [&](ZPImage& mask) { EXPECT_EQ(run(&mask), 0); });
        }
    }
}

TEST(Mask, GrowsByRings) {
    CompareMasks([](ZPImage* mask) { return GrowMask(mask, 254, 9); },
                 [](ZPImage& mask) { PlainGrow(mask, 254, 9); });
    for (int steps : {-1, 0, 1, 4, 7, 9}) {
        CompareMasks([=](ZPImage* mask) { return GrowMaskHard(mask, steps); },
                     [=](ZPImage& mask) {
                         for (int i = 0; i < steps; ++i) {
                             PlainGrow(mask, 254, 255);
                             PlainBorder(mask);
                         }
                     });
        CompareMasks([=](ZPImage* mask) { return GrowMaskRamp(mask, steps); },
                     [=](ZPImage& mask) {
                         constexpr int kThresholds[] = {254, 127, 64, 32, 16, 8, 4};
                         constexpr int kValues[] = {128, 64, 32, 16, 8, 4, 2};
                         for (int i = 0; i < std::min(steps, 7); ++i) {
                             PlainGrow(mask, kThresholds[i], kValues[i]);
                             PlainBorder(mask);
                         }
                     });
    }
}

TEST(Mask, ShrinksAndThickensByRows) {
    for (int steps : {-1, 0, 1, 2, 8, 9, 12, 2000000000}) {
        CompareMasks([=](ZPImage* mask) { return ShrinkMaskByRows(mask, steps); },
                     [=](ZPImage& mask) {
                         for (int i = 0; i < std::min(steps, 12); ++i) {
                             PlainStep(mask, 2, [=](const ZPImage& before, int x, int y) {
                                 const int sum = NeighbourSum(before, x, y, 2);
                                 if (sum < 254 + 255 * i) return 0;
                                 return static_cast<int>(ValueAt(before, x, y, 0));
                             });
                         }
                     });
    }
    CompareMasks(ThickenRows, [](ZPImage& mask) {
        Snapshot before(mask);
        PutEach(mask, [&](int x, int y, int) {
            const auto white = [&](int row) { return ValueAt(*before, x, row, 0) == 255.0f; };
            const bool inner = y > 0 && y < mask.lastRow;
            return inner && (white(y - 1) || white(y + 1)) ? 255.0f : ValueAt(*before, x, y, 0);
        });
    });
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
