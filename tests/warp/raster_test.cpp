#include "warp/raster.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "support/noise.h"
#include "support/plain_raster.h"

namespace velorin {
namespace {

constexpr int kMaxX = 15;
constexpr int kMaxY = 11;

// Writes down what is merged, in order.
template <int N, bool kSinglePixel>
struct LogCanvas {
    static constexpr int kAttributes = N;
    static constexpr bool kDrawsSinglePixel = kSinglePixel;
    class Row {
      public:
        Row(LogCanvas& newCanvas, int newY) : canvas(newCanvas), y(newY) {}
        void MoveTo(int newX) { x = newX; }
        void Merge(PixelLanes<N> value) {
            RasterHit hit{x++, y, std::vector<float>(N)};
            value.Store(hit.attributes.data());
            canvas.hits.push_back(hit);
        }

      private:
        LogCanvas& canvas;
        int x = 0;
        int y;
    };
    std::vector<RasterHit> hits;
};

// Places where a rasteriser changes course: on pixel centres, between them, on one line with
// another corner, barely off it, far away.
float Coordinate(Noise& noise, int last, float other) {
    switch (noise.Int(0, 7)) {
        case 0:
            return static_cast<float>(noise.Int(-2, last + 2));
        case 1:
            return other;
        case 2:
            return other + noise.Float(-2e-5f, 2e-5f);
        case 3:
            return static_cast<float>(last);
        case 4:
            return noise.Float(-1e9f, 1e9f);
        case 5:
            return other + noise.Float(-1.0f, 1.0f);
        default:
            return noise.Float(-4.0f, static_cast<float>(last) + 4.0f);
    }
}

template <int N>
void FillVertices(Noise& noise, RasterVertex<N>* vertices) {
    float x = 0.0f, y = 0.0f;
    for (int i = 0; i < 3; ++i) {
        vertices[i].x = x = Coordinate(noise, kMaxX, x);
        vertices[i].y = y = Coordinate(noise, kMaxY, y);
        for (float& attribute : vertices[i].attributes) attribute = noise.Float(-300.0f, 300.0f);
    }
}

template <int N, bool kSinglePixel>
void CompareWithPlain(int seed) {
    Noise noise(seed);
    int drawn = 0;
    for (int i = 0; i < 20000; ++i) {
        RasterVertex<N> v[3];
        FillVertices<N>(noise, v);
        LogCanvas<N, kSinglePixel> canvas;
        ZPRasterTriangle<LogCanvas<N, kSinglePixel>>::Draw(canvas, v[0], v[1], v[2], kMaxX, kMaxY);
        const std::vector<RasterHit> wanted =
            PlainRaster<N, kSinglePixel>(kMaxX, kMaxY).Draw(v[0], v[1], v[2]);
        ASSERT_EQ(canvas.hits.size(), wanted.size()) << i;
        for (std::size_t k = 0; k < wanted.size(); ++k) {
            ASSERT_EQ(canvas.hits[k].x, wanted[k].x) << i;
            ASSERT_EQ(canvas.hits[k].y, wanted[k].y) << i;
            for (int n = 0; n < N; ++n) {
                ASSERT_TRUE(SameBits(canvas.hits[k].attributes[n], wanted[k].attributes[n])) << i;
            }
        }
        drawn += wanted.empty() ? 0 : 1;
    }
    EXPECT_GT(drawn, 5000);
}

TEST(Raster, EqualsTheRuleOfActiveEdgesToTheBit) {
    CompareWithPlain<4, false>(1);
    CompareWithPlain<2, true>(2);
}

TEST(Raster, APinnedTriangle) {
    const RasterVertex<2> v[3] = {
        {1.25f, 0.5f, {10.0f, -1.0f}}, {4.5f, 2.75f, {0.3f, 7.0f}}, {0.75f, 3.25f, {5.0f, 2.0f}}};
    LogCanvas<2, true> canvas;
    ZPRasterTriangle<LogCanvas<2, true>>::Draw(canvas, v[0], v[1], v[2], kMaxX, kMaxY);
    std::vector<int> places;
    for (const RasterHit& hit : canvas.hits) places.push_back(10 * hit.y + hit.x);
    EXPECT_EQ(places, (std::vector<int>{21, 22, 23, 31, 32}));
    EXPECT_SAME_BITS(canvas.hits[1].attributes[0], 0x1.6d1e36p+2f);
    EXPECT_SAME_BITS(canvas.hits[3].attributes[1], 0x1.04c52cp+1f);
}

// What is no number or lies at no place draws nothing and reads and writes nothing outside.
TEST(Raster, PlacesThatAreNoNumbersDrawNothingOutside) {
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    Noise noise(3);
    for (int i = 0; i < 20000; ++i) {
        RasterVertex<4> v[3];
        FillVertices<4>(noise, v);
        const float strange[] = {kNan, kInfinity, -kInfinity, 3e38f, -3e38f};
        for (int k = noise.Int(1, 3); k > 0; --k) {
            RasterVertex<4>& vertex = v[noise.Int(0, 2)];
            (noise.Int(0, 1) ? vertex.x : vertex.y) = strange[noise.Int(0, 4)];
        }
        LogCanvas<4, false> canvas;
        ZPRasterTriangle<LogCanvas<4, false>>::Draw(canvas, v[0], v[1], v[2], kMaxX, kMaxY);
        for (const RasterHit& hit : canvas.hits) {
            ASSERT_TRUE(hit.x >= 0 && hit.x <= kMaxX && hit.y >= 0 && hit.y <= kMaxY);
        }
    }
}

}  // namespace
}  // namespace velorin
