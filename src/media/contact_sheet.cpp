#include "media/contact_sheet.h"

#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imagebufalgo.h>

#include <algorithm>
#include <cmath>

#include "media/label_text.h"
#include "media/still_file.h"

namespace velorin {
namespace {

constexpr int kColours = 3;
constexpr int kBackground = 40;  // of 255
constexpr float kBright = 0.95f;
constexpr float kDim = 0.68f;

int Over(int value, int alpha, SheetSettings::Alpha kind) {
    const int colour = kind == SheetSettings::Alpha::kStraight ? value * alpha : value * 255;
    return std::min((colour + kBackground * (255 - alpha) + 127) / 255, 255);
}

// The part of the picture in RGB, over the background where it is transparent.
std::vector<std::uint8_t> Flattened(const Picture& picture, const Window& part,
                                    SheetSettings::Alpha kind) {
    std::vector<std::uint8_t> pixels;
    pixels.reserve(static_cast<std::size_t>(part.width) * part.height * kColours);
    for (int y = part.y; y < part.y + part.height; ++y) {
        const auto* in = reinterpret_cast<const std::uint8_t*>(picture.pixels.data()) +
                         static_cast<std::size_t>(y) * picture.RowBytes() + part.x * 4;
        for (int x = 0; x < part.width; ++x, in += 4) {
            for (int c = 0; c < kColours; ++c) {
                const bool opaque = kind == SheetSettings::Alpha::kNone;
                pixels.push_back(
                    static_cast<std::uint8_t>(opaque ? in[c] : Over(in[c], in[3], kind)));
            }
        }
    }
    return pixels;
}

OIIO::ImageSpec ColourLayout(int width, int height) {
    return OIIO::ImageSpec(width, height, kColours, OIIO::TypeDesc::UINT8);
}

OIIO::ImageBuf WrapColours(const std::vector<std::uint8_t>& pixels, int width, int height) {
    return OIIO::ImageBuf(ColourLayout(width, height), const_cast<std::uint8_t*>(pixels.data()));
}

// By a filter without negative weights: their halos would be taken for a fault of the picture.
std::vector<std::uint8_t> ScaledDown(const std::vector<std::uint8_t>& pixels, const Window& from,
                                     int width, int height) {
    std::vector<std::uint8_t> scaled(static_cast<std::size_t>(width) * height * kColours);
    OIIO::ImageBuf target = WrapColours(scaled, width, height);
    const OIIO::ImageBuf source = WrapColours(pixels, from.width, from.height);
    if (!OIIO::ImageBufAlgo::resize(target, source, "blackman-harris", 0.0f, {}, 1)) {
        throw MediaError(MediaError::Kind::kFailure,
                         "a picture of the sheet cannot be scaled: " + target.geterror());
    }
    return scaled;
}

// The sheet while it is drawn.
class Canvas {
  public:
    Canvas(int width, int height, const std::string& fontName)
        : image(ColourLayout(width, height)), font(fontName) {
        const float grey = kBackground / 255.0f;
        OIIO::ImageBufAlgo::fill(image, {grey, grey, grey});
    }

    // A line of text whose upper left corner is (x, y).
    void Text(int x, int y, int size, const std::string& text, float brightness) {
        OIIO::ImageBufAlgo::render_text(image, x, y + size, text, size, font,
                                        {brightness, brightness, brightness});
    }
    void Place(int x, int y, const OIIO::ImageBuf& picture) {
        OIIO::ImageBufAlgo::paste(image, x, y, 0, 0, picture, {}, 1);
    }
    const OIIO::ImageBuf& Image() const { return image; }

  private:
    OIIO::ImageBuf image;
    const std::string& font;
};

int LineHeight(int textSize) {
    return textSize + textSize * 2 / 5;
}

}  // namespace

ContactSheet::ContactSheet(const SheetSettings& newSettings)
    : settings(newSettings), font(FindLabelFont()) {
    settings.title = Drawable(settings.title);
}

void ContactSheet::Add(const Picture& picture, const SheetLabel& label) {
    const Window part = settings.crop.value_or(Window{0, 0, picture.width, picture.height});
    Cell cell{label, part.width, part.height, Flattened(picture, part, settings.alpha)};
    if (!settings.crop && part.width > settings.cellWidth) {
        cell.width = settings.cellWidth;
        const double height = static_cast<double>(part.height) * cell.width / part.width;
        cell.height = std::max(static_cast<int>(std::lround(height)), 1);
        cell.pixels = ScaledDown(cell.pixels, part, cell.width, cell.height);
    }
    cells.push_back(std::move(cell));
}

// Columns and the sheet are as wide as their texts need, however small the pictures are.
ContactSheet::Layout ContactSheet::Arrange() const {
    const int columns = settings.columns;
    const int cellWidth = cells.empty() ? 0 : cells.front().width;
    const int cellHeight = cells.empty() ? 0 : cells.front().height;
    Layout layout;
    // Readable when the whole sheet is seen on a screen.
    layout.textSize = std::clamp(cellWidth / 32, 14, 28);
    layout.titleSize = layout.textSize * 5 / 4;
    layout.margin = layout.textSize;
    layout.top = layout.margin + LineHeight(layout.titleSize);
    layout.rowStep = 2 * LineHeight(layout.textSize) + cellHeight + layout.margin;
    std::vector<int> widths(columns, cellWidth);
    for (std::size_t i = 0; i < cells.size(); ++i) {
        int& width = widths[i % columns];
        for (const std::string& text : {cells[i].label.name, cells[i].label.detail}) {
            width = std::max(width, LabelWidth(text, layout.textSize, font));
        }
    }
    layout.columns.push_back(layout.margin);
    for (const int width : widths) {
        layout.columns.push_back(layout.columns.back() + width + layout.margin);
    }
    const int titleWidth = LabelWidth(settings.title, layout.titleSize, font);
    layout.width = std::max(layout.columns.back(), titleWidth + 2 * layout.margin);
    const int rows = (static_cast<int>(cells.size()) + columns - 1) / columns;
    layout.height = layout.top + rows * layout.rowStep;
    return layout;
}

void ContactSheet::Write(const std::string& name, bool overwrite) const {
    const Layout layout = Arrange();
    const int size = layout.textSize;
    Canvas canvas(layout.width, layout.height, font);
    canvas.Text(layout.margin, layout.margin / 2, layout.titleSize, settings.title, kBright);
    for (int i = 0; i < static_cast<int>(cells.size()); ++i) {
        const Cell& cell = cells[i];
        const int x = layout.columns[i % settings.columns];
        const int y = layout.top + i / settings.columns * layout.rowStep;
        canvas.Text(x, y, size, cell.label.name, kBright);
        canvas.Text(x, y + LineHeight(size), size, cell.label.detail, kDim);
        canvas.Place(x, y + 2 * LineHeight(size),
                     WrapColours(cell.pixels, cell.width, cell.height));
    }
    WriteStill(name, overwrite, ColourLayout(layout.width, layout.height), OIIO::TypeDesc::UINT8,
               canvas.Image().localpixels(), name);
}

}  // namespace velorin
