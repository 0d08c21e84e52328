#pragma once

#include <array>
#include <cmath>
#include <utility>

#include "image/float4.h"
#include "image/rounding.h"

namespace velorin {

// A corner of a triangle: its place in the target, where pixel centres have whole coordinates, and
// what is interpolated between the corners.
template <int N>
struct RasterVertex {
    float x;
    float y;
    float attributes[N];
};

// Draws one triangle by scan conversion into a canvas: each pixel whose centre the triangle covers
// is merged with the attributes interpolated linearly there. A line that equals an edge's lower end
// is no longer on that edge, so neighbours share no pixels of a common horizontal edge.
//
//   vertices     three, of either orientation, anywhere; one that is not a number draws no span
//   maxX, maxY   last column and row of the canvas
//
// What a canvas is:
//
//   static constexpr int kAttributes           floats a vertex carries
//   static constexpr bool kDrawsSinglePixel    whether a flat bottom of one pixel is drawn
//   class Row; Row(canvas, y)                  holds row `y` while it lives, excluding others
//     void MoveTo(int x)
//     void Merge(PixelLanes<kAttributes>)      merges into the pixel and goes on to the next one
template <typename Canvas>
class ZPRasterTriangle {
  public:
    static constexpr int N = Canvas::kAttributes;
    using Vertex = RasterVertex<N>;

    static void Draw(Canvas& canvas, const Vertex& a, const Vertex& b, const Vertex& c, float maxX,
                     float maxY) {
        if (IsOutside(a, b, c, maxX, maxY)) return;
        ZPRasterTriangle triangle(canvas, SortByLine(a, b, c), maxX, maxY);
        triangle.DrawLines();
        triangle.DrawFlatBottom();
    }

  private:
    using Lanes = PixelLanes<N>;
    using Corners = std::array<const Vertex*, 3>;  // top, middle, bottom

    // An edge that crosses the current line; it runs downward.
    struct Edge {
        float endY;
        float currentX;
        float stepX;
        Lanes currentAttributes;
        Lanes stepAttributes;
    };

    ZPRasterTriangle(Canvas& newCanvas, const Corners& newCorners, float newMaxX, float newMaxY)
        : canvas(newCanvas), corners(newCorners), maxX(newMaxX), maxY(newMaxY) {}

    static bool IsOutside(const Vertex& a, const Vertex& b, const Vertex& c, float maxX,
                          float maxY) {
        return (a.x < 0.0f && b.x < 0.0f && c.x < 0.0f) ||
               (a.y < 0.0f && b.y < 0.0f && c.y < 0.0f) ||
               (a.x > maxX && b.x > maxX && c.x > maxX) || (a.y > maxY && b.y > maxY && c.y > maxY);
    }

    // Which of two corners on one line comes first decides on which edge the other end lies, and so
    // the last bits of what is drawn.
    static Corners SortByLine(const Vertex& a, const Vertex& b, const Vertex& c) {
        if (b.y < a.y) {
            if (!(a.y > c.y)) return {&b, &a, &c};
            return c.y < b.y ? Corners{&c, &b, &a} : Corners{&b, &c, &a};
        }
        if (c.y < b.y) return a.y < c.y ? Corners{&a, &c, &b} : Corners{&c, &a, &b};
        return {&a, &b, &c};
    }

    void DrawLines() {
        const float top = std::ceil(corners[0]->y);
        const float bottom = std::floor(corners[2]->y);
        const float last = maxY < bottom ? maxY : bottom;
        int next = 0;
        for (float line = top < 0.0f ? 0.0f : top; line <= last; line += 1.0f) {
            for (; next < 3 && corners[next]->y <= line; ++next) {
                RetireEdges(line);
                AddEdgesFrom(next, line);
            }
            for (int i = 0; i < edgeCount; ++i) Step(edges[i]);
            if (edgeCount == 2) DrawLine(TruncateInside(line));
        }
    }

    void RetireEdges(float line) {
        if (edgeCount == 2 && line >= edges[1].endY) --edgeCount;
        if (edgeCount > 0 && line >= edges[0].endY) {
            if (edgeCount == 2) edges[0] = edges[1];
            --edgeCount;
        }
    }

    // Upward there is none: the corners above have been passed.
    void AddEdgesFrom(int corner, float line) {
        for (int end = corner + 1; end < 3; ++end) {
            if (corners[end]->y > line)
                edges[edgeCount++] = Place(*corners[corner], *corners[end], line);
        }
    }

    static void Step(Edge& edge) {
        edge.currentX += edge.stepX;
        edge.currentAttributes = edge.currentAttributes + edge.stepAttributes;
    }

    // One line above the current one, because it is stepped before it is used.
    static Edge Place(const Vertex& start, const Vertex& end, float line) {
        const float dy = end.y - start.y;
        const Lanes first = Lanes::Load(start.attributes);
        // Here the place above the line would lie beyond all bounds.
        if (dy < 1e-5f) return {end.y, start.x, 0.0f, first, Lanes::All(0.0f)};
        const float inverse = 1.0f / dy;
        const float t = (line - 1.0f - start.y) * inverse;
        const float dx = end.x - start.x;
        const Lanes d = Lanes::Load(end.attributes) - first;
        return {end.y, start.x + t * dx, dx * inverse, first + d * t, d * inverse};
    }

    void DrawLine(int line) {
        const int left = edges[1].currentX < edges[0].currentX ? 1 : 0;
        const Edge& l = edges[left];
        const Edge& r = edges[1 - left];
        const float width = r.currentX - l.currentX;
        if (!(width > 1e-8f)) return;
        DrawSpan(line, l.currentX, r.currentX, width, l.currentAttributes, r.currentAttributes);
    }

    // The rule of half-open edges would leave the canvas' last line empty under a triangle that
    // ends exactly on it.
    void DrawFlatBottom() {
        const Vertex& middle = *corners[1];
        const Vertex& bottom = *corners[2];
        if (middle.y != maxY || middle.y != bottom.y) return;
        const bool bottomIsLeft = !(bottom.x > middle.x);
        const Vertex& l = bottomIsLeft ? bottom : middle;
        const Vertex& r = bottomIsLeft ? middle : bottom;
        const float first = std::ceil(l.x);
        const float last = std::floor(r.x);
        if (Canvas::kDrawsSinglePixel ? !(first <= last) : !(first < last)) return;
        const float width = r.x - l.x;
        if (!(width > 1e-5f)) return;
        DrawSpan(TruncateInside(maxY), l.x, r.x, width, Lanes::Load(l.attributes),
                 Lanes::Load(r.attributes));
    }

    void DrawSpan(int line, float leftX, float rightX, float width, Lanes left, Lanes right) {
        // Compared as floats: what lies far outside fits no integer.
        const float first = std::ceil(leftX);
        const float last = std::floor(rightX);
        const float x0 = first < 0.0f ? 0.0f : first;
        const float x1 = last > maxX ? maxX : last;
        if (!(x0 <= x1)) return;
        const Lanes difference = right - left;
        typename Canvas::Row row(canvas, line);
        row.MoveTo(TruncateInside(x0));
        if (x0 == x1) {
            row.Merge(left + difference * ((x1 - leftX) / width));
            return;
        }
        const float inverse = 1.0f / width;
        Lanes attributes = left + difference * ((x0 - leftX) * inverse);
        const Lanes step = difference * inverse;
        for (int count = TruncateInside(x1) - TruncateInside(x0); count > 0; --count) {
            row.Merge(attributes);
            attributes = attributes + step;
        }
        row.Merge(attributes);
    }

    Canvas& canvas;
    const Corners corners;
    const float maxX;
    const float maxY;
    int edgeCount = 0;
    Edge edges[2];
};

}  // namespace velorin
