#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "media/clip.h"

namespace velorin {

// How the pictures of a sheet are shown.
struct SheetSettings {
    enum class Alpha { kNone, kStraight, kMultiplied };

    std::string title;
    int columns = 1;
    int cellWidth = 800;         // wider pictures are scaled down to it, none is scaled up
    std::optional<Window> crop;  // lies inside every picture; shown pixel by pixel instead
    Alpha alpha = Alpha::kNone;  // what lets the sheet's dark grey through
};

// What stands above a picture, each on a line of its own.
struct SheetLabel {
    std::string name;
    std::string detail;
};

// A sheet of labelled pictures in rows, for the eye to compare. All pictures have one size.
class ContactSheet {
  public:
    // Throws MediaError of kind kFailure where the system has no font to write with.
    explicit ContactSheet(const SheetSettings& newSettings);

    // The next cell, row by row from the top left. `picture` has 8 bits.
    void Add(const Picture& picture, const SheetLabel& label);
    // Throws MediaError; nothing stands under the name then that is not whole.
    void Write(const std::string& name, bool overwrite) const;

  private:
    struct Cell {
        SheetLabel label;
        int width = 0;
        int height = 0;
        std::vector<std::uint8_t> pixels;  // RGB, the top line first
    };
    // Where things lie on the sheet, in pixels.
    struct Layout {
        int textSize = 0;
        int titleSize = 0;
        int margin = 0;
        int top = 0;               // of the first row, which begins with its labels
        int rowStep = 0;           // from one row to the next
        std::vector<int> columns;  // left edges, and that of a column more
        int width = 0;
        int height = 0;
    };

    Layout Arrange() const;

    SheetSettings settings;
    std::string font;
    std::vector<Cell> cells;
};

}  // namespace velorin
