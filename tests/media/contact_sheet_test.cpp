#include "media/contact_sheet.h"

#include <array>

#include "media/clips.h"

namespace velorin {
namespace {

using Alpha = SheetSettings::Alpha;
using Colour = std::array<int, 3>;

constexpr int kWidth = 40;
constexpr int kHeight = 24;

// One colour with a lighter line at the top and a darker one on the left.
Picture Marked(const Colour& colour, int alpha = 255) {
    Picture picture;
    picture.SetShape(kWidth, kHeight, ZPPixUChar);
    for (int i = 0; i < kWidth * kHeight; ++i) {
        const int mark = i < kWidth ? 30 : (i % kWidth == 0 ? -30 : 0);
        for (int c = 0; c < 4; ++c) {
            picture.pixels[i * 4 + c] = static_cast<std::byte>(c < 3 ? colour[c] + mark : alpha);
        }
    }
    return picture;
}

// A sheet as it reads from its file.
class Sheet {
  public:
    Sheet(const ContactSheet& sheet, const TemporaryFolder& folder) {
        sheet.Write(folder / "sheet.0001.png", true);
        OpenClip(folder / "sheet.%04d.png")->Read(0, picture);
    }
    int Width() const { return picture.width; }
    Colour At(int x, int y) const {
        const std::byte* pixel = &picture.pixels[y * picture.RowBytes() + x * 4];
        return {static_cast<int>(pixel[0]), static_cast<int>(pixel[1]), static_cast<int>(pixel[2])};
    }
    // The rectangle around all pixels of that colour.
    Window Of(const Colour& colour) const {
        int left = picture.width, top = picture.height, right = -1, bottom = -1;
        for (int i = 0; i < picture.width * picture.height; ++i) {
            const int x = i % picture.width, y = i / picture.width;
            if (At(x, y) != colour) continue;
            left = std::min(left, x);
            top = std::min(top, y);
            right = std::max(right, x);
            bottom = y;
        }
        return {left, top, right + 1 - left, bottom + 1 - top};
    }
    // Whether something bright is written in that rectangle.
    bool HasText(const Window& box) const {
        for (int i = 0; i < box.width * box.height; ++i) {
            if (At(box.x + i % box.width, box.y + i / box.width)[0] > 140) return true;
        }
        return false;
    }

  private:
    Picture picture;
};

SheetSettings Settings(int columns) {
    SheetSettings settings;
    settings.title = "shot";
    settings.columns = columns;
    return settings;
}

// The sheet of one picture.
Sheet SheetOf(const SheetSettings& settings, const Picture& picture, const SheetLabel& label = {}) {
    const TemporaryFolder folder;
    ContactSheet sheet(settings);
    sheet.Add(picture, label);
    return Sheet(sheet, folder);
}

TEST(ContactSheet, ShowsWholePicturesInRowsUnderTheirLabels) {
    const TemporaryFolder folder;
    ContactSheet sheet(Settings(2));
    const Colour colours[] = {{100, 40, 60}, {60, 100, 40}, {40, 60, 100}};
    for (const Colour& colour : colours) sheet.Add(Marked(colour), {"A name", "--option"});
    const Sheet seen(sheet, folder);
    Window boxes[3];
    for (int i = 0; i < 3; ++i) {
        const auto [r, g, b] = colours[i];
        const Window box = boxes[i] = seen.Of(colours[i]);  // without the marked line and column
        EXPECT_EQ(box.width, kWidth - 1);
        EXPECT_EQ(box.height, kHeight - 1);
        EXPECT_EQ(seen.At(box.x, box.y - 1), (Colour{r + 30, g + 30, b + 30}));
        EXPECT_EQ(seen.At(box.x - 1, box.y), (Colour{r - 30, g - 30, b - 30}));
        EXPECT_TRUE(seen.HasText({box.x, box.y - 40, kWidth, 18}));
        EXPECT_TRUE(seen.HasText({box.x, box.y - 20, kWidth, 18}));
        EXPECT_FALSE(seen.HasText({box.x, box.y, kWidth, kHeight - 1}));
    }
    EXPECT_EQ(boxes[0].y, boxes[1].y);
    EXPECT_EQ(boxes[0].x, boxes[2].x);
    EXPECT_GT(boxes[1].x, boxes[0].x + kWidth);
    EXPECT_GT(boxes[2].y, boxes[0].y + kHeight);
    EXPECT_TRUE(seen.HasText({0, 0, seen.Width(), boxes[0].y - 40}));
}

TEST(ContactSheet, ScalesDownOrCutsAndWidensForText) {
    const Colour colour{100, 40, 60};
    const Picture picture = Marked(colour);
    SheetSettings settings = Settings(1);
    settings.cellWidth = 10;
    // Of 10x6; the marks have run into the outermost pixels.
    const Window scaled = SheetOf(settings, picture).Of(colour);
    EXPECT_GE(scaled.width, 7);
    EXPECT_LE(scaled.width, 10);
    EXPECT_LE(scaled.height, 6);
    settings.crop = Window{1, 3, 20, 5};
    const Sheet cut = SheetOf(settings, picture);
    EXPECT_EQ(cut.Of(colour).width, 20);
    EXPECT_EQ(cut.Of(colour).height, 5);
    EXPECT_GT(SheetOf(settings, picture, {"a long label", ""}).Width(), cut.Width());
    settings.title = "a very long title that no cell is as wide as";
    EXPECT_GT(SheetOf(settings, picture).Width(), 300);
}

TEST(ContactSheet, LetsItsGreyThroughWhatIsTransparent) {
    const Picture fifth = Marked({200, 100, 50}, 51);
    for (const auto& [alpha, wanted] : {std::pair{Alpha::kNone, Colour{200, 100, 50}},
                                        {Alpha::kStraight, {72, 52, 42}},
                                        {Alpha::kMultiplied, {232, 132, 82}}}) {
        SheetSettings settings = Settings(1);
        settings.alpha = alpha;
        settings.crop = Window{1, 1, 30, 20};
        EXPECT_EQ(SheetOf(settings, fifth).Of(wanted).width, 30);
    }
}

TEST(ContactSheet, IsNotWrittenOverWhatIsThere) {
    const TemporaryFolder folder;
    ContactSheet sheet(Settings(1));
    sheet.Add(Marked({100, 40, 60}), {});
    for (const char* name : {"sheet.png", "sheet.jpg", "sheet.tif", "sheet.ppm"}) {
        sheet.Write(folder / name, false);
        ErrorOf(MediaError::Kind::kOutputExists, [&] { sheet.Write(folder / name, false); });
        EXPECT_NO_THROW(sheet.Write(folder / name, true));
    }
    EXPECT_EQ(folder.Names().size(), 4u);
}

}  // namespace
}  // namespace velorin
