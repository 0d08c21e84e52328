#include "warp/raster.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "support/noise.h"

namespace velorin {
namespace {

constexpr int kMaxX = 15;
constexpr int kMaxY = 11;

struct Hit {
    int x;
    int y;
    std::vector<float> attributes;
};

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
            Hit hit{x++, y, std::vector<float>(N)};
            value.Store(hit.attributes.data());
            canvas.hits.push_back(hit);
        }

      private:
        LogCanvas& canvas;
        int x = 0;
        int y;
    };
    std::vector<Hit> hits;
};

// The rule told line by line with a list of at most two active edges, without vector lanes.
template <int N, bool kSinglePixel>
class PlainRaster {
  public:
    using Vertex = RasterVertex<N>;

    std::vector<Hit> Draw(const Vertex& a, const Vertex& b, const Vertex& c) {
        for (float Vertex::*axis : {&Vertex::x, &Vertex::y}) {
            const float most = axis == &Vertex::x ? kMaxX : kMaxY;
            if (a.*axis < 0.0f && b.*axis < 0.0f && c.*axis < 0.0f) return {};
            if (a.*axis > most && b.*axis > most && c.*axis > most) return {};
        }
        corners = {a, b, c};
        std::stable_sort(corners.begin(), corners.end(),
                         [](const Vertex& p, const Vertex& q) { return p.y < q.y; });
        // The one order of equal lines in which the rule is no stable sort.
        if (!(b.y < a.y) && c.y < b.y && a.y == c.y) corners = {c, a, b};
        const float last = std::min(std::floor(corners[2].y), static_cast<float>(kMaxY));
        for (float y = std::max(std::ceil(corners[0].y), 0.0f); y <= last; ++y) DrawLine(y);
        FlatBottom();
        return hits;
    }

  private:
    struct Edge {
        float startY, endY, x, stepX;
        std::vector<float> attributes, steps;
    };

    void DrawLine(float y) {
        for (; next < 3 && corners[next].y <= y; ++next) {
            std::erase_if(edges, [&](const Edge& e) { return y >= e.startY && y >= e.endY; });
            static constexpr int kOthers[3][2] = {{1, 2}, {2, 0}, {0, 1}};
            for (int other : kOthers[next]) {
                if (corners[other].y > y) AddEdge(corners[next], corners[other], y);
            }
        }
        for (Edge& edge : edges) {
            edge.x += edge.stepX;
            for (int i = 0; i < N; ++i) edge.attributes[i] += edge.steps[i];
        }
        if (edges.size() != 2) return;
        const int left = edges[1].x < edges[0].x ? 1 : 0;
        const Edge& l = edges[left];
        const Edge& r = edges[1 - left];
        if (r.x - l.x > 1e-8f) Span(y, l.x, r.x, l.attributes, r.attributes);
    }

    void AddEdge(const Vertex& start, const Vertex& end, float y) {
        const float dy = end.y - start.y;
        const bool flat = dy < 1e-5f;
        const float inv = flat ? 0.0f : 1.0f / dy;
        const float t = flat ? 0.0f : (y - 1.0f - start.y) * inv;
        Edge edge{start.y, end.y, start.x, 0.0f, {}, {}};
        if (!flat) edge.x = start.x + t * (end.x - start.x), edge.stepX = (end.x - start.x) * inv;
        for (int i = 0; i < N; ++i) {
            const float first = start.attributes[i];
            const float d = end.attributes[i] - first;
            edge.attributes.push_back(flat ? first : first + t * d);
            edge.steps.push_back(flat ? 0.0f : d * inv);
        }
        edges.push_back(edge);
    }

    void Span(float y, float leftX, float rightX, std::vector<float> left,
              std::vector<float> right) {
        const float x0 = std::max(std::ceil(leftX), 0.0f);
        const float x1 = std::min(std::floor(rightX), static_cast<float>(kMaxX));
        if (!(x0 <= x1)) return;
        const float w = rightX - leftX;
        const float inv = 1.0f / w;
        const float t = x0 == x1 ? (x1 - leftX) / w : (x0 - leftX) * inv;
        Hit hit{static_cast<int>(x0), static_cast<int>(y), left};
        for (int i = 0; i < N; ++i) hit.attributes[i] = left[i] + t * (right[i] - left[i]);
        for (; hit.x <= x1; ++hit.x) {
            hits.push_back(hit);
            for (int i = 0; i < N; ++i) hit.attributes[i] += (right[i] - left[i]) * inv;
        }
    }

    void FlatBottom() {
        const Vertex& middle = corners[1];
        const Vertex& bottom = corners[2];
        if (middle.y != kMaxY || bottom.y != kMaxY) return;
        const Vertex& l = bottom.x <= middle.x ? bottom : middle;
        const Vertex& r = bottom.x <= middle.x ? middle : bottom;
        const float x0 = std::ceil(l.x), x1 = std::floor(r.x);
        if (kSinglePixel ? x0 > x1 : x1 <= x0) return;
        if (!(r.x - l.x > 1e-5f)) return;
        Span(kMaxY, l.x, r.x, {l.attributes, l.attributes + N}, {r.attributes, r.attributes + N});
    }

    std::vector<Vertex> corners;
    std::vector<Edge> edges;
    std::vector<Hit> hits;
    int next = 0;
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
        const std::vector<Hit> wanted = PlainRaster<N, kSinglePixel>().Draw(v[0], v[1], v[2]);
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
    for (const Hit& hit : canvas.hits) places.push_back(10 * hit.y + hit.x);
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
        for (const Hit& hit : canvas.hits) {
            ASSERT_TRUE(hit.x >= 0 && hit.x <= kMaxX && hit.y >= 0 && hit.y <= kMaxY);
        }
    }
}

}  // namespace
}  // namespace velorin
