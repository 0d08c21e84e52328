#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "warp/raster.h"

namespace velorin {

// A pixel that a triangle covers, and what it carries there.
struct RasterHit {
    int x;
    int y;
    std::vector<float> attributes;
};

// The rule told line by line with a list of at most two active edges, without vector lanes.
template <int N, bool kSinglePixel>
class PlainRaster {
  public:
    using Vertex = RasterVertex<N>;

    PlainRaster(int newMaxX, int newMaxY)
        : maxX(static_cast<float>(newMaxX)), maxY(static_cast<float>(newMaxY)) {}

    std::vector<RasterHit> Draw(const Vertex& a, const Vertex& b, const Vertex& c) {
        for (float Vertex::*axis : {&Vertex::x, &Vertex::y}) {
            const float most = axis == &Vertex::x ? maxX : maxY;
            if (a.*axis < 0.0f && b.*axis < 0.0f && c.*axis < 0.0f) return {};
            if (a.*axis > most && b.*axis > most && c.*axis > most) return {};
        }
        corners = {a, b, c};
        std::stable_sort(corners.begin(), corners.end(),
                         [](const Vertex& p, const Vertex& q) { return p.y < q.y; });
        // The one order of equal lines in which the rule is no stable sort.
        if (!(b.y < a.y) && c.y < b.y && a.y == c.y) corners = {c, a, b};
        const float last = std::min(std::floor(corners[2].y), maxY);
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
        const float x1 = std::min(std::floor(rightX), maxX);
        if (!(x0 <= x1)) return;
        const float w = rightX - leftX;
        const float inv = 1.0f / w;
        const float t = x0 == x1 ? (x1 - leftX) / w : (x0 - leftX) * inv;
        RasterHit hit{static_cast<int>(x0), static_cast<int>(y), left};
        for (int i = 0; i < N; ++i) hit.attributes[i] = left[i] + t * (right[i] - left[i]);
        for (; hit.x <= x1; ++hit.x) {
            hits.push_back(hit);
            for (int i = 0; i < N; ++i) hit.attributes[i] += (right[i] - left[i]) * inv;
        }
    }

    void FlatBottom() {
        const Vertex& middle = corners[1];
        const Vertex& bottom = corners[2];
        if (middle.y != maxY || bottom.y != maxY) return;
        const Vertex& l = bottom.x <= middle.x ? bottom : middle;
        const Vertex& r = bottom.x <= middle.x ? middle : bottom;
        const float x0 = std::ceil(l.x), x1 = std::floor(r.x);
        if (kSinglePixel ? x0 > x1 : x1 <= x0) return;
        if (!(r.x - l.x > 1e-5f)) return;
        Span(maxY, l.x, r.x, {l.attributes, l.attributes + N}, {r.attributes, r.attributes + N});
    }

    const float maxX;
    const float maxY;
    std::vector<Vertex> corners;
    std::vector<Edge> edges;
    std::vector<RasterHit> hits;
    int next = 0;
};

}  // namespace velorin
