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
// is no longer on that edge.
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

    // An edge, as it crosses the current line.
    struct Edge {
        float x;
        float stepX;
        Lanes attributes;
        Lanes stepAttributes;

        void Step() {
            x += stepX;
            attributes = attributes + stepAttributes;
        }
    };

    ZPRasterTriangle(Canvas& newCanvas, const Corners& newCorners, float newMaxX, float newMaxY)
        : canvas(newCanvas), corners(newCorners), maxX(newMaxX), maxY(newMaxY) {}

    static bool IsOutside(const Vertex& a, const Vertex& b, const Vertex& c, float maxX,
                          float maxY) {
        return (a.x < 0.0f && b.x < 0.0f && c.x < 0.0f) ||
               (a.y < 0.0f && b.y < 0.0f && c.y < 0.0f) ||
               (a.x > maxX && b.x > maxX && c.x > maxX) || (a.y > maxY && b.y > maxY && c.y > maxY);
    }

    // Which of two corners on one line comes first decides where edges start, and so the last bits
    // of what is drawn.
    static Corners SortByLine(const Vertex& a, const Vertex& b, const Vertex& c) {
        if (b.y < a.y) {
            if (!(a.y > c.y)) return {&b, &a, &c};
            return c.y < b.y ? Corners{&c, &b, &a} : Corners{&b, &c, &a};
        }
        if (c.y < b.y) return a.y < c.y ? Corners{&a, &c, &b} : Corners{&c, &a, &b};
        return {&a, &b, &c};
    }

    // From the first line at or below the top to the last one above the bottom: one edge runs all
    // the way, the other side changes from the upper to the lower edge at the middle corner.
    void DrawLines() const {
        const auto& [top, middle, bottom] = corners;
        const float end = bottom->y;
        // Cut to the canvas before they become integers: what lies far outside fits none.
        const float start = top->y < 0.0f ? 0.0f : top->y;
        if (!(start <= maxY)) return;
        float line = Ceiling(start);
        if (!(line <= maxY && line < end)) return;
        Edge through = Place(*top, *bottom, line);
        bool aboveMiddle = middle->y > line;
        Edge side = aboveMiddle ? Place(*top, *middle, line) : Place(*middle, *bottom, line);
        for (;;) {
            through.Step();
            side.Step();
            DrawBetween(line, through, side);
            line += 1.0f;
            if (!(line <= maxY && line < end)) return;
            if (aboveMiddle && middle->y <= line) {
                aboveMiddle = false;
                side = Place(*middle, *bottom, line);
            }
        }
    }

    // One line above the current one, because an edge is stepped before it is used.
    static Edge Place(const Vertex& start, const Vertex& end, float line) {
        const float dy = end.y - start.y;
        const Lanes first = Lanes::Load(start.attributes);
        // Here the place above the line would lie beyond all bounds.
        if (dy < 1e-5f) return {start.x, 0.0f, first, Lanes::All(0.0f)};
        const float inverse = 1.0f / dy;
        const float t = (line - 1.0f - start.y) * inverse;
        const float dx = end.x - start.x;
        const Lanes difference = Lanes::Load(end.attributes) - first;
        return {start.x + t * dx, dx * inverse, first + difference * t, difference * inverse};
    }

    void DrawBetween(float line, const Edge& a, const Edge& b) const {
        const Edge& left = b.x < a.x ? b : a;
        const Edge& right = b.x < a.x ? a : b;
        const float width = right.x - left.x;
        if (!(width > 1e-8f)) return;
        DrawSpan(line, left.x, right.x, width, left.attributes, right.attributes);
    }

    // The last line of a triangle that ends exactly on it is left to the triangle below. Under the
    // canvas' last line there is none.
    void DrawFlatBottom() const {
        const Vertex& middle = *corners[1];
        const Vertex& bottom = *corners[2];
        if (middle.y != maxY || middle.y != bottom.y) return;
        const bool bottomIsLeft = !(bottom.x > middle.x);
        const Vertex& left = bottomIsLeft ? bottom : middle;
        const Vertex& right = bottomIsLeft ? middle : bottom;
        const float first = std::ceil(left.x);
        const float last = std::floor(right.x);
        if (Canvas::kDrawsSinglePixel ? !(first <= last) : !(first < last)) return;
        const float width = right.x - left.x;
        if (!(width > 1e-5f)) return;
        DrawSpan(maxY, left.x, right.x, width, Lanes::Load(left.attributes),
                 Lanes::Load(right.attributes));
    }

    // From leftX to rightX, `width` apart, as far as it lies on the canvas.
    void DrawSpan(float line, float leftX, float rightX, float width, Lanes left,
                  Lanes right) const {
        const float from = leftX < 0.0f ? 0.0f : leftX;
        const float to = rightX > maxX ? maxX : rightX;
        if (!(from <= maxX && to >= 0.0f)) return;
        const float first = Ceiling(from);
        const int x1 = TruncateInside(to);
        int x = TruncateInside(first);
        if (x > x1) return;
        const Lanes difference = right - left;
        typename Canvas::Row row(canvas, TruncateInside(line));
        row.MoveTo(x);
        if (x == x1) {
            row.Merge(left + difference * ((first - leftX) / width));
            return;
        }
        const float inverse = 1.0f / width;
        Lanes attributes = left + difference * ((first - leftX) * inverse);
        const Lanes step = difference * inverse;
        for (; x < x1; ++x) {
            row.Merge(attributes);
            attributes = attributes + step;
        }
        row.Merge(attributes);
    }

    // Of a position on the canvas; std::ceil is a call on processors of the baseline.
    static float Ceiling(float position) {
        const float cut = static_cast<float>(TruncateInside(position));
        return cut < position ? cut + 1.0f : cut;
    }

    Canvas& canvas;
    const Corners corners;
    const float maxX;
    const float maxY;
};

}  // namespace velorin
