#include "media/plot_canvas.h"

#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imagebufalgo.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "media/label_text.h"
#include "media/still_file.h"

namespace velorin {
namespace {

constexpr int kColours = 3;
constexpr double kLeastDash = 1e-6;

// The pixels that a box touches, inside a picture.
struct PixelBox {
    PixelBox(const PlotBox& box, int width, int height)
        : left(Inside(std::floor(box.left), width)),
          top(Inside(std::floor(box.top), height)),
          right(Inside(std::ceil(box.right), width)),
          bottom(Inside(std::ceil(box.bottom), height)) {}

    static int Inside(double place, int size) {
        return static_cast<int>(std::clamp(place, 0.0, static_cast<double>(size)));
    }

    int left, top, right, bottom;  // the last two are behind the last pixel
};

PlotBox Common(const PlotBox& a, const PlotBox& b) {
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
            std::min(a.bottom, b.bottom)};
}

// How far a point lies from the line from `a` to `b`, which has a length.
double Distance(const PlotPoint& point, const PlotPoint& a, const PlotPoint& b) {
    const double x = b.x - a.x, y = b.y - a.y;
    const double along = ((point.x - a.x) * x + (point.y - a.y) * y) / (x * x + y * y);
    const double part = std::clamp(along, 0.0, 1.0);
    return std::hypot(point.x - a.x - part * x, point.y - a.y - part * y);
}

// The part of a pixel of one that lies so far from the middle of something so thick.
float Coverage(double distance, double thickness) {
    return static_cast<float>(std::clamp(thickness / 2.0 + 0.5 - distance, 0.0, 1.0));
}

// The dashes of a line, as lines of their own.
std::vector<std::vector<PlotPoint>> Dashes(const std::vector<PlotPoint>& points, double dash) {
    std::vector<std::vector<PlotPoint>> dashes;
    double done = 0.0;  // of the dash or gap in hand
    bool draws = true;
    for (std::size_t i = 0; i + 1 < points.size(); ++i) {
        const PlotPoint a = points[i], b = points[i + 1];
        const double length = std::hypot(b.x - a.x, b.y - a.y);
        for (double from = 0.0; from < length;) {
            const double to = std::min(from + dash - done, length);
            const auto at = [&](double way) {
                return PlotPoint{a.x + (b.x - a.x) * way / length,
                                 a.y + (b.y - a.y) * way / length};
            };
            if (draws) dashes.push_back({at(from), at(to)});
            done += to - from;
            from = to;
            if (dash - done > kLeastDash) continue;
            done = 0.0;
            draws = !draws;
        }
    }
    return dashes;
}

}  // namespace

PlotCanvas::PlotCanvas(int newWidth, int newHeight, const PlotColour& ground)
    : width(newWidth),
      height(newHeight),
      font(FindLabelFont()),
      pixels(static_cast<std::size_t>(width) * height * kColours),
      covered(static_cast<std::size_t>(width) * height) {
    Fill({0.0, 0.0, static_cast<double>(width), static_cast<double>(height)}, ground, 1.0f);
}

void PlotCanvas::Mix(int x, int y, const PlotColour& colour, float opacity) {
    float* pixel = &pixels[(static_cast<std::size_t>(y) * width + x) * kColours];
    const float wanted[kColours] = {colour.red, colour.green, colour.blue};
    for (int c = 0; c < kColours; ++c) pixel[c] += (wanted[c] - pixel[c]) * opacity;
}

void PlotCanvas::Fill(const PlotBox& box, const PlotColour& colour, float opacity) {
    const PixelBox inside(box, width, height);
    for (int y = inside.top; y < inside.bottom; ++y) {
        for (int x = inside.left; x < inside.right; ++x) Mix(x, y, colour, opacity);
    }
}

// Joints are covered by two pieces and must not become brighter: all pieces first cover, and then
// the colour is laid over once.
void PlotCanvas::Line(const std::vector<PlotPoint>& points, const PlotBox& box, double thickness,
                      const PlotColour& colour, double dash) {
    if (dash > 0.0) {
        for (const std::vector<PlotPoint>& piece : Dashes(points, dash)) {
            Line(piece, box, thickness, colour);
        }
        return;
    }
    if (points.size() < 2) return;
    const double reach = thickness / 2.0 + 1.0;
    PlotBox touched{points[0].x, points[0].y, points[0].x, points[0].y};
    for (std::size_t i = 0; i + 1 < points.size(); ++i) {
        const PlotPoint& a = points[i];
        const PlotPoint& b = points[i + 1];
        if (a.x == b.x && a.y == b.y) continue;
        const PlotBox around{std::min(a.x, b.x) - reach, std::min(a.y, b.y) - reach,
                             std::max(a.x, b.x) + reach, std::max(a.y, b.y) + reach};
        touched = {std::min(touched.left, around.left), std::min(touched.top, around.top),
                   std::max(touched.right, around.right), std::max(touched.bottom, around.bottom)};
        const PixelBox inside(Common(around, box), width, height);
        for (int y = inside.top; y < inside.bottom; ++y) {
            for (int x = inside.left; x < inside.right; ++x) {
                float& part = covered[static_cast<std::size_t>(y) * width + x];
                part = std::max(part, Coverage(Distance({x + 0.5, y + 0.5}, a, b), thickness));
            }
        }
    }
    const PixelBox whole(Common(touched, box), width, height);
    for (int y = whole.top; y < whole.bottom; ++y) {
        for (int x = whole.left; x < whole.right; ++x) {
            float& part = covered[static_cast<std::size_t>(y) * width + x];
            if (part > 0.0f) Mix(x, y, colour, part);
            part = 0.0f;
        }
    }
}

void PlotCanvas::Dot(const PlotPoint& centre, double radius, const PlotColour& colour) {
    const double reach = radius + 1.0;
    const PixelBox inside({centre.x - reach, centre.y - reach, centre.x + reach, centre.y + reach},
                          width, height);
    for (int y = inside.top; y < inside.bottom; ++y) {
        for (int x = inside.left; x < inside.right; ++x) {
            const double distance = std::hypot(x + 0.5 - centre.x, y + 0.5 - centre.y);
            Mix(x, y, colour, Coverage(distance, 2.0 * radius));
        }
    }
}

int PlotCanvas::TextWidth(const std::string& text, int size) const {
    return LabelWidth(Drawable(text), size, font);
}

void PlotCanvas::Text(double x, double baseline, int size, const std::string& text,
                      const PlotColour& colour, Align align) {
    const double shift = align == Align::kLeft     ? 0.0
                         : align == Align::kCentre ? TextWidth(text, size) / 2.0
                                                   : TextWidth(text, size);
    OIIO::ImageBuf image(OIIO::ImageSpec(width, height, kColours, OIIO::TypeDesc::FLOAT),
                         pixels.data());
    OIIO::ImageBufAlgo::render_text(image, static_cast<int>(std::lround(x - shift)),
                                    static_cast<int>(std::lround(baseline)), Drawable(text), size,
                                    font, {colour.red, colour.green, colour.blue});
}

void PlotCanvas::Write(const std::string& name, bool overwrite) const {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(pixels.size());
    for (const float value : pixels) {
        bytes.push_back(static_cast<std::uint8_t>(std::clamp(value, 0.0f, 1.0f) * 255.0f + 0.5f));
    }
    WriteStill(name, overwrite, OIIO::ImageSpec(width, height, kColours, OIIO::TypeDesc::UINT8),
               OIIO::TypeDesc::UINT8, bytes.data(), name);
}

}  // namespace velorin
