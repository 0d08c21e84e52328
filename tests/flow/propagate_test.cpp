#include "flow/propagate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "support/in_place.h"
#include "support/put_each.h"
#include "support/recorder.h"

namespace velorin {
namespace {

struct PlainLevel {
    ZPImage& flow;
    const ZPImage& a;
    const ZPImage& b;
    const ZPImage* matteA;
    const ZPImage* matteB;

    static bool Valid(const ZPImage* matte, int left, int top, int side) {
        for (int y = top; matte && y < top + side; ++y) {
            for (int x = left; x < left + side; ++x) {
                if (ValueAt(*matte, x, y, 0) < 0.95f) return false;
            }
        }
        return true;
    }

    // Negative for a place that cannot be compared.
    float Cost(int x, int y, float sx, float sy) const {
        const int w = flow.width, h = flow.height;
        if (!(std::fabs(sx) < 1e6f) || !(std::fabs(sy) < 1e6f)) return -1.0f;
        if (sx > static_cast<float>(w - 2) || sy > static_cast<float>(h - 2)) return -1.0f;
        int ix = static_cast<int>(sx), iy = static_cast<int>(sy);
        float tx = sx - static_cast<float>(ix), ty = sy - static_cast<float>(iy);
        if (sx == static_cast<float>(w - 2)) ix = w - 3, tx = 1.0f;
        if (sy == static_cast<float>(h - 2)) iy = h - 3, ty = 1.0f;
        if (ix < 1 || iy < 1) return -1.0f;
        if (!Valid(matteB, ix - 1, iy - 1, 4)) return -1.0f;
        const float w11 = ty * tx, w10 = tx - w11, w01 = ty - w11;
        const float w00 = ((1.0f - tx) - ty) + w11;
        float cost = 0.0f;
        for (int j = -1; j <= 1; ++j) {
            for (int i = -1; i <= 1; ++i) {
                const auto at = [&](int dx, int dy) {
                    return ValueAt(b, ix + i + dx, iy + j + dy, 0);
                };
                const float sample =
                    w00 * at(0, 0) + w10 * at(1, 0) + w01 * at(0, 1) + w11 * at(1, 1);
                const float d = ValueAt(a, x + i, y + j, 0) - sample;
                cost += d * d;
            }
        }
        return cost;
    }

    void Challenge(int x, int y, int nx, int ny) {
        const float fx = static_cast<float>(x), fy = static_cast<float>(y);
        const float sx = fx - ValueAt(flow, x, y, 0), sy = fy - ValueAt(flow, x, y, 1);
        if (!(sx >= 0 && sx <= flow.lastColumn && sy >= 0 && sy <= flow.lastRow)) return;
        if (!Valid(matteA, x - 1, y - 1, 3)) return;
        const float own = Cost(x, y, sx, sy);
        if (own < 0.0f) return;
        const float u = ValueAt(flow, nx, ny, 0), v = ValueAt(flow, nx, ny, 1);
        const float other = Cost(x, y, fx - u, fy - v);
        if (other < 0.0f || !(other < own)) return;
        PutValue(flow, x, y, 0, u);
        PutValue(flow, x, y, 1, v);
    }

    void Sweeps() {
        const int w = flow.width, h = flow.height;
        for (int step : {1, -1}) {
            for (int y = 1; y <= h - 2; ++y) {
                for (int i = 1; i <= w - 2; ++i) {
                    const int x = step > 0 ? i : w - 1 - i;
                    Challenge(x, y, x - step, y);
                }
            }
        }
        for (int step : {1, -1}) {
            for (int x = 1; x <= w - 2; ++x) {
                for (int i = 1; i <= h - 2; ++i) {
                    const int y = step > 0 ? i : h - 1 - i;
                    Challenge(x, y, x, y - step);
                }
            }
        }
    }
};

// Vectors off the image, exactly on the tightened bound and between it and the border.
void FillFlow(Noise& noise, ZPImage& flow) {
    ForEachPixel(flow, [&](int x, int y) {
        PutValue(flow, x, y, 0, noise.Float(-3.0f, 3.0f));
        PutValue(flow, x, y, 1, static_cast<float>(noise.Int(-2, 2)));
        if (noise.Int(0, 3) == 0) PutValue(flow, x, y, 0, x - (flow.width - 2.0f));
        if (noise.Int(0, 5) == 0) PutValue(flow, x, y, 1, y - (flow.height - 2.0f) - 0.5f);
    });
}

void CompareWithPlain(int width, int height, int mattes, int bottomUp) {
    Noise noise(static_cast<std::uint32_t>(51 + width * height));
    ZPImage a(width, height, 1, ZPPixFloat, bottomUp), b(width, height, 1, ZPPixFloat, 0);
    ZPImage matteA(width, height, 1, ZPPixFloat, 0), matteB(width, height, 1, ZPPixFloat, bottomUp);
    ZPImage flow(width, height, 2, ZPPixFloat, 0), expected(width, height, 2, ZPPixFloat, 0);
    noise.Fill(a);
    noise.Fill(b);
    FillFlow(noise, flow);
    if (width * height > 500) noise.Sprinkle(flow, 30);
    PutEach(matteA, [&](int, int, int) { return noise.Int(0, 40) == 0 ? 0.9499f : 0.95f; });
    PutEach(matteB, [&](int, int, int) { return noise.Int(0, 40) == 0 ? 0.0f : 1.0f; });
    const ZPImage* maskA = mattes > 0 ? &matteA : nullptr;
    const ZPImage* maskB = mattes > 1 ? &matteB : nullptr;
    CopyExact(&expected, &flow);
    PlainLevel{expected, a, b, maskB ? maskA : nullptr, maskB}.Sweeps();  // one alone is none
    ExpectInPlace(flow, expected, [&](ZPImage& image) {
        KQIdleAndProgressClass progress(nullptr);
        PropagateCandidates(image, a, b, maskA, maskB, progress);
    });
}

TEST(Propagate, EqualsPlainSweeps) {
    for (int mattes : {0, 1, 2}) {
        for (int width = 2; width <= 7; ++width) {
            for (int height = 2; height <= 7; ++height) {
                CompareWithPlain(width, height, mattes, height % 2);
            }
        }
        CompareWithPlain(71, 67, mattes, 1);
        CompareWithPlain(133, 20, mattes, 0);
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

TEST(Propagate, ChecksForAnAbortAfterEachSweep) {
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
