#pragma once

#include <string>
#include <vector>

namespace velorin {

struct PlotColour {
    float red = 0.0f;
    float green = 0.0f;
    float blue = 0.0f;
};

// In pixels from the top left corner; whole numbers lie between pixels.
struct PlotPoint {
    double x = 0.0;
    double y = 0.0;
};

struct PlotBox {
    double left = 0.0;
    double top = 0.0;
    double right = 0.0;
    double bottom = 0.0;
};

// A picture of 8 bits that lines and letters are drawn on, with smooth edges.
class PlotCanvas {
  public:
    // Throws MediaError of kind kFailure where the system has no font.
    PlotCanvas(int newWidth, int newHeight, const PlotColour& ground);

    // `opacity` is 0 to 1.
    void Fill(const PlotBox& box, const PlotColour& colour, float opacity);
    // A line through all points, of which only what lies in `box` is drawn. A line with dashes has
    // as much gap as dash, both `dash` pixels long; 0 is a line without.
    void Line(const std::vector<PlotPoint>& points, const PlotBox& box, double thickness,
              const PlotColour& colour, double dash = 0.0);
    void Dot(const PlotPoint& centre, double radius, const PlotColour& colour);

    enum class Align { kLeft, kCentre, kRight };
    // A line of text, or its middle or end, at `x`; its letters stand on `baseline`.
    void Text(double x, double baseline, int size, const std::string& text,
              const PlotColour& colour, Align align = Align::kLeft);
    int TextWidth(const std::string& text, int size) const;

    // Throws MediaError; nothing stands under the name then that is not whole.
    void Write(const std::string& name, bool overwrite) const;

  private:
    void Mix(int x, int y, const PlotColour& colour, float opacity);

    int width;
    int height;
    std::string font;
    std::vector<float> pixels;   // RGB, 0 to 1
    std::vector<float> covered;  // room for one line: the part of each pixel
};

}  // namespace velorin
