#include "warp/voronoi_fill.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "image/arithmetic.h"
#include "support/in_place.h"
#include "support/put_each.h"
#include "support/refusal.h"

namespace velorin {
namespace {

struct Seed {
    int x = 65535;
    int y = 65535;

    float From(int column, int row) const {
        const float dx = static_cast<float>(column) - static_cast<float>(x);
        const float dy = static_cast<float>(row) - static_cast<float>(y);
        return dx * dx + dy * dy;
    }
};

// Four sweeps over whole maps, each pixel asking its three neighbours.
std::vector<Seed> PlainSeeds(const ZPImage& marks) {
    const int width = marks.width, height = marks.height;
    std::vector<Seed> result;
    for (int sweep = 0; sweep < 4; ++sweep) {
        std::vector<Seed> map(width * height);
        const int dx = sweep % 2 == 0 ? 1 : -1, dy = sweep < 2 ? 1 : -1;
        for (int i = 0; i < width * height; ++i) {
            const int x = dx > 0 ? i % width : width - 1 - i % width;
            const int y = dy > 0 ? i / width : height - 1 - i / width;
            Seed& seed = map[y * width + x];
            if (ValueAt(marks, x, y, 0) == 0.0f) {
                seed = {x, y};
                continue;
            }
            const int neighbours[3][2] = {{x - dx, y}, {x, y - dy}, {x - dx, y - dy}};
            bool any = false;
            for (const auto& [nx, ny] : neighbours) {
                if (nx < 0 || nx >= width || ny < 0 || ny >= height) continue;
                const Seed other = map[ny * width + nx];
                if (!any || other.From(x, y) < seed.From(x, y)) seed = other;
                any = true;
            }
        }
        if (sweep == 0) result = map;
        for (int i = 0; i < width * height; ++i) {
            const int x = i % width, y = i / width;
            if (map[i].From(x, y) < result[i].From(x, y)) result[i] = map[i];
        }
    }
    return result;
}

void ExpectPlainFill(ZPImage& image, const ZPImage& marks) {
    Snapshot expected(image);
    const std::vector<Seed> seeds = PlainSeeds(marks);
    PutEach(*expected, [&](int x, int y, int c) {
        const Seed seed = seeds[y * image.width + x];
        const bool found = seed.x < image.width && seed.y < image.height;
        return found ? ValueAt(image, seed.x, seed.y, c) : ValueAt(image, x, y, c);
    });
    ExpectInPlace(image, *expected, [&](ZPImage& filled) { ZPVoronoiFill(filled, marks); });
}

// Marks about `percent` of the pixels, in rectangles up to `side` wide and high.
void Mark(ZPImage& marks, int percent, int side, Noise& noise) {
    ClearImage(&marks);
    const int area = marks.width * marks.height;
    for (int left = area * percent / 100; left > 0;) {
        const int x0 = noise.Int(1 - side, marks.width - 1), x1 = x0 + noise.Int(0, side - 1);
        const int y0 = noise.Int(1 - side, marks.height - 1), y1 = y0 + noise.Int(0, side - 1);
        for (int y = std::max(y0, 0); y <= std::min(y1, marks.lastRow); ++y) {
            for (int x = std::max(x0, 0); x <= std::min(x1, marks.lastColumn); ++x, --left) {
                PutValue(marks, x, y, 0, marks.pixelType == ZPPixFloat ? -0.01f : 1.0f);
            }
        }
    }
}

TEST(VoronoiFill, EqualsPlainSweepsInEveryFormAndSize) {
    constexpr int kSides[] = {1, 2, 3, 7, 16, 33, 64, 131};
    Noise noise(52);
    int form = 0;
    for (int width : kSides) {
        for (int height : kSides) {
            SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
            ZPImage image(width, height, 1 + form % 4, form / 4 % 3, 0);
            ZPImage marks(width, height, 1, form / 3 % 3, 0);
            ++form;
            noise.Fill(image);
            for (int percent : {20, 100, 250}) {
                Mark(marks, percent, std::max(width / 3, 1), noise);
                ExpectPlainFill(image, marks);
            }
            PutAll(marks, 1.0f);  // nothing changes; with one seed all take its value
            ExpectPlainFill(image, marks);
            PutValue(marks, width / 2, height / 3, 0, 0);
            ExpectPlainFill(image, marks);
        }
    }
}

TEST(VoronoiFill, TakesTheEarliestOfEquallyNearSeeds) {
    // Values count the pixels. Inside, left wins; at a border the first neighbour that is there.
    constexpr int kCases[][3] = {{1, 1, 3}, {0, 1, 0}, {0, 0, 1}, {2, 2, 7}, {1, 0, 0}};
    for (const auto& [x, y, from] : kCases) {
        ZPImage image(3, 3, 1, ZPPixUChar, 0), marks(3, 3, 1, ZPPixUChar, 0);
        PutEach(image, [](int column, int row, int) { return 3.0f * row + column; });
        ClearImage(&marks);
        PutValue(marks, x, y, 0, 255);
        ZPVoronoiFill(image, marks);
        EXPECT_EQ(ValueAt(image, x, y, 0), from);
    }
    // From (5000, 1) the seed (0, 0) is as far as (10000, 1): in float 5000 squared plus 1 is 5000
    // squared.
    ZPImage image(10001, 2, 1, ZPPixUChar, 0), marks(10001, 2, 1, ZPPixUChar, 0);
    ClearImage(&image);
    PutValue(image, 0, 0, 0, 7);
    FillColor(marks, 1, 0, 0, 0);
    PutValue(marks, 0, 0, 0, 0);
    PutValue(marks, 10000, 1, 0, 0);
    ZPVoronoiFill(image, marks);
    EXPECT_EQ(ValueAt(image, 5000, 1, 0), 7);
    EXPECT_EQ(ValueAt(image, 5001, 1, 0), 0);
}

TEST(VoronoiFill, RefusesMarksThatDoNotFit) {
    for (const Shape& marks : {Shape{8, 7, 1, ZPPixUChar},
                               {9, 6, 1, ZPPixUChar},
                               {9, 7, 2, ZPPixUChar},
                               {9, 7, 1, ZPPixShort}}) {
        ExpectRefused({{9, 7, 4, ZPPixUChar}, marks}, "input problem in ZPVoronoiFill\n",
                      [](Images& i) { ZPVoronoiFill(*i[0], *i[1]); });
    }
}

}  // namespace
}  // namespace velorin
