#include "flow/propagate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

#include "support/checksum.h"
#include "support/in_place.h"
#include "support/recorder.h"

namespace velorin {
namespace {

// Vectors off the image, exactly on the tightened bound and between it and the border.
void FillFlow(Noise& noise, ZPImage& flow) {
    ForEachPixel(flow, [&](int x, int y) {
        PutValue(flow, x, y, 0, noise.Float(-3.0f, 3.0f));
        PutValue(flow, x, y, 1, static_cast<float>(noise.Int(-2, 2)));
        if (noise.Int(0, 3) == 0) PutValue(flow, x, y, 0, x - (flow.width - 2.0f));
        if (noise.Int(0, 5) == 0) PutValue(flow, x, y, 1, y - (flow.height - 2.0f) - 0.5f);
    });
}

// The four sweeps, pixel by pixel.
struct PlainPropagation {
    ZPImage& flow;
    const ZPImage& a;
    const ZPImage& b;
    const ZPImage* matteA;
    const ZPImage* matteB;

    static bool AllValid(const ZPImage* matte, int left, int top, int side) {
        for (int i = 0; matte && i < side * side; ++i) {
            if (ValueAt(*matte, left + i % side, top + i / side, 0) < 0.95f) return false;
        }
        return true;
    }
    bool Cost(int x, int y, float u, float v, float& cost) const {
        const float sx = x - u, sy = y - v;
        const float right = flow.width - 2.0f, bottom = flow.height - 2.0f;
        if (!(sx >= 1.0f && sx <= right && sy >= 1.0f && sy <= bottom)) return false;
        const int column = sx == right ? flow.width - 3 : static_cast<int>(sx);
        const int row = sy == bottom ? flow.height - 3 : static_cast<int>(sy);
        const float tx = sx == right ? 1.0f : sx - column, ty = sy == bottom ? 1.0f : sy - row;
        if (column < 1 || row < 1 || !AllValid(matteB, column - 1, row - 1, 4)) return false;
        const float w11 = ty * tx, w10 = tx - w11, w01 = ty - w11, w00 = ((1.0f - tx) - ty) + w11;
        cost = 0.0f;
        for (int j = -1; j <= 1; ++j) {
            for (int i = -1; i <= 1; ++i) {
                const auto at = [&](int m, int n) {
                    return ValueAt(b, column + i + m, row + j + n, 0);
                };
                const float between =
                    w00 * at(0, 0) + w10 * at(1, 0) + w01 * at(0, 1) + w11 * at(1, 1);
                const float d = ValueAt(a, x + i, y + j, 0) - between;
                cost += d * d;
            }
        }
        return true;
    }
    void Challenge(int x, int y, int neighbourX, int neighbourY) {
        const auto at = [&](int m, int n, int c) { return ValueAt(flow, m, n, c); };
        const float u = at(neighbourX, neighbourY, 0), v = at(neighbourX, neighbourY, 1);
        float own = 0.0f, candidate = 0.0f;
        if (!AllValid(matteA, x - 1, y - 1, 3)) return;
        if (!Cost(x, y, at(x, y, 0), at(x, y, 1), own) || !Cost(x, y, u, v, candidate)) return;
        if (!(candidate < own)) return;
        PutValue(flow, x, y, 0, u);
        PutValue(flow, x, y, 1, v);
    }
    void Run() {
        const int right = flow.width - 2, bottom = flow.height - 2;
        for (int y = 1; y <= bottom; ++y) {
            for (int x = 1; x <= right; ++x) Challenge(x, y, x - 1, y);
            for (int x = right; x >= 1; --x) Challenge(x, y, x + 1, y);
        }
        for (int x = 1; x <= right; ++x) {
            for (int y = 1; y <= bottom; ++y) Challenge(x, y, x, y - 1);
            for (int y = bottom; y >= 1; --y) Challenge(x, y, x, y + 1);
        }
    }
};

// Noise with a hole of a matte here and there, and so many special values in each image. One matte
// alone is none.
std::uint64_t SumOf(int width, int height, int mattes, int bottomUp, int specials,
                    std::uint64_t sum) {
    Noise noise(static_cast<std::uint32_t>(51 + width * height));
    ZPImage a(width, height, 1, ZPPixFloat, bottomUp),
        b(width, height, 1, ZPPixFloat, 1 - bottomUp);
    ZPImage matteA(width, height, 1, ZPPixFloat, 0), matteB(width, height, 1, ZPPixFloat, bottomUp);
    ZPImage vectors(width, height, 2, ZPPixFloat, 0);
    noise.Fill(a);
    noise.Fill(b);
    FillFlow(noise, vectors);
    if (width * height > 500) noise.Sprinkle(vectors, 30);
    PutEach(matteA, [&](int, int, int) { return noise.Int(0, 40) == 0 ? 0.9499f : 0.95f; });
    PutEach(matteB, [&](int, int, int) { return noise.Int(0, 40) == 0 ? 0.0f : 1.0f; });
    for (ZPImage* image : {&a, &b, &matteA, &matteB}) noise.Sprinkle(*image, specials);
    Snapshot expected(vectors);
    const bool masked = mattes == 2;
    PlainPropagation{*expected, a, b, masked ? &matteA : nullptr, masked ? &matteB : nullptr}.Run();
    ForEachInstructionSet([&] {
        ExpectInPlace(vectors, *expected, [&](ZPImage& flow) {
            KQIdleAndProgressClass progress(nullptr);
            PropagateCandidates(flow, a, b, mattes > 0 ? &matteA : nullptr,
                                mattes > 1 ? &matteB : nullptr, progress);
        });
    });
    return Checksum(*expected, sum);
}

TEST(Propagate, SameBitsAtEverySize) {
    std::uint64_t sums[3] = {kEmptySum, kEmptySum, kEmptySum};
    for (int mattes : {0, 1, 2}) {
        std::uint64_t& sum = sums[mattes];
        for (int width = 2; width <= 7; ++width) {
            for (int height = 2; height <= 7; ++height) {
                sum = SumOf(width, height, mattes, height % 2, 0, sum);
            }
        }
        sum = SumOf(71, 67, mattes, 1, 0, sum);
        sum = SumOf(133, 20, mattes, 0, 0, sum);
    }
    EXPECT_EQ(sums[0], sums[1]);
    EXPECT_EQ(sums[1], 4123131901130812878u);
    EXPECT_EQ(sums[2], 270967051280457141u);
}

// Inner rows and columns of a vector's lanes, of a strip's lines and of one more or less.
TEST(Propagate, SameBitsAsPixelByPixel) {
    for (int mattes : {0, 2}) {
        for (int side : {17, 18, 19, 33, 34, 35, 66}) {
            SumOf(side, 83 - side, mattes, side % 2, 0, kEmptySum);
            SumOf(83 - side, side, mattes, side % 2, 8, kEmptySum);
        }
    }
}

// A is B moved right by one pixel and down by none: internal vector (1, 0).
struct MovedNoise {
    MovedNoise() {
        Noise noise(52);
        noise.Fill(b);
        PutEach(a, [&](int x, int y, int) { return ValueAt(b, std::max(x - 1, 0), y, 0); });
        ClearImage(&flow);
    }
    void Run() {
        KQIdleAndProgressClass progress(nullptr);
        PropagateCandidates(flow, a, b, nullptr, nullptr, progress);
    }
    float At(int x, int y) const { return ValueAt(flow, x, y, 0); }

    ZPImage a{12, 12, 1, ZPPixFloat, 0}, b{12, 12, 1, ZPPixFloat, 0};
    ZPImage flow{12, 12, 2, ZPPixFloat, 0};
};

TEST(Propagate, OneGoodVectorReachesEveryPixelThatCanCompare) {
    MovedNoise moved;
    PutValue(moved.flow, 5, 5, 0, 1.0f);
    moved.Run();
    ForEachPixel(moved.flow, [&](int x, int y) {
        // In column 1 the vector points to column 0, whose surroundings are not all there.
        const bool inside = x >= 2 && x <= 10 && y >= 1 && y <= 10;
        EXPECT_EQ(moved.At(x, y), inside ? 1.0f : 0.0f) << x << " " << y;
    });
}

TEST(Propagate, TiesAndInvalidPlacesKeepTheirVector) {
    // On flat pictures every vector costs nothing.
    MovedNoise flat;
    ClearImage(&flat.a);
    ClearImage(&flat.b);
    Noise noise(53);
    noise.Fill(flat.flow);
    Snapshot before(flat.flow);
    flat.Run();
    EXPECT_SAME_IMAGE(flat.flow, *before);

    // Between w - 2 and w - 1 the own cost is invalid, however well the neighbour matches.
    MovedNoise tight;
    PutValue(tight.flow, 5, 5, 0, 1.0f);
    PutValue(tight.flow, 8, 5, 0, 8.0f - 10.5f);
    PutValue(tight.flow, 7, 8, 0, 7.0f - 10.0f);  // exactly on the bound: may be challenged
    tight.Run();
    EXPECT_EQ(tight.At(8, 5), -2.5f);
    EXPECT_EQ(tight.At(7, 8), 1.0f);
    EXPECT_EQ(tight.At(9, 5), 0.0f);  // beyond it in its row; the columns come after all rows
}

TEST(Propagate, ChecksForAnAbortAfterEachPairOfSweeps) {
    MovedNoise moved;
    const auto run = [&](int stopAt) {
        Recorder progress(stopAt);
        PropagateCandidates(moved.flow, moved.a, moved.b, nullptr, nullptr, progress);
    };
    for (int sweep = 1; sweep <= 4; ++sweep) EXPECT_THROW(run(sweep), ZPErr);
    EXPECT_NO_THROW(run(5));
}

}  // namespace
}  // namespace velorin
