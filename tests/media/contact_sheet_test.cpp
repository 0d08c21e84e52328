#include "media/contact_sheet.h"

#include "clips.h"

namespace velorin {
namespace {

using Alpha = SheetSettings::Alpha;

constexpr int kWidth = 40;
constexpr int kHeight = 24;

// One colour with a lighter line at the top and a darker one on the left.
Picture Marked(int red, int green, int blue, int alpha = 255) {
    Picture picture;
    picture.SetShape(kWidth, kHeight, ZPPixUChar);
    for (int i = 0; i < kWidth * kHeight; ++i) {
        const int mark = i < kWidth ? 30 : (i % kWidth == 0 ? -30 : 0);
        const int values[4] = {red + mark, green + mark, blue + mark, alpha};
        for (int c = 0; c < 4; ++c) picture.pixels[i * 4 + c] = static_cast<std::byte>(values[c]);
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
    std::array<int, 3> At(int x, int y) const {
        const std::byte* pixel = &picture.pixels[y * picture.RowBytes() + x * 4];
        return {static_cast<int>(pixel[0]), static_cast<int>(pixel[1]), static_cast<int>(pixel[2])};
    }
    // The rectangle around all pixels of that colour.
    Window Of(std::array<int, 3> colour) const {
        Window box{picture.width, picture.height, 0, 0};
        int right = -1, bottom = -1;
        for (int y = 0; y < picture.height; ++y) {
            for (int x = 0; x < picture.width; ++x) {
                if (At(x, y) != colour) continue;
                box.x = std::min(box.x, x);
                box.y = std::min(box.y, y);
                right = std::max(right, x);
                bottom = y;
            }
        }
        box.width = right + 1 - box.x;
        box.height = bottom + 1 - box.y;
        return box;
    }
    // Whether something bright is written in that rectangle.
    bool HasText(const Window& box) const {
        for (int y = box.y; y < box.y + box.height; ++y) {
            for (int x = box.x; x < box.x + box.width; ++x) {
                if (At(x, y)[0] > 140) return true;
            }
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

TEST(ContactSheet, ShowsWholePicturesInRowsUnderTheirLabels) {
    const TemporaryFolder folder;
    ContactSheet sheet(Settings(2));
    const std::array<int, 3> colours[] = {{100, 40, 60}, {60, 100, 40}, {40, 60, 100}};
    for (const auto& c : colours) sheet.Add(Marked(c[0], c[1], c[2]), {"A name", "--option"});
    const Sheet seen(sheet, folder);
    Window boxes[3];
    for (int i = 0; i < 3; ++i) {
        // Without the marked line and column.
        boxes[i] = seen.Of(colours[i]);
        EXPECT_EQ(boxes[i].width, kWidth - 1);
        EXPECT_EQ(boxes[i].height, kHeight - 1);
        const auto [r, g, b] = colours[i];
        EXPECT_EQ(seen.At(boxes[i].x, boxes[i].y - 1),
                  (std::array<int, 3>{r + 30, g + 30, b + 30}));
        EXPECT_EQ(seen.At(boxes[i].x - 1, boxes[i].y),
                  (std::array<int, 3>{r - 30, g - 30, b - 30}));
        EXPECT_TRUE(seen.HasText({boxes[i].x, boxes[i].y - 40, kWidth, 18}));
        EXPECT_TRUE(seen.HasText({boxes[i].x, boxes[i].y - 20, kWidth, 18}));
        EXPECT_FALSE(seen.HasText({boxes[i].x, boxes[i].y, kWidth, kHeight - 1}));
    }
    EXPECT_EQ(boxes[0].y, boxes[1].y);
    EXPECT_EQ(boxes[0].x, boxes[2].x);
    EXPECT_GT(boxes[1].x, boxes[0].x + kWidth);
    EXPECT_GT(boxes[2].y, boxes[0].y + kHeight);
    EXPECT_TRUE(seen.HasText({0, 0, seen.Width(), boxes[0].y - 40}));
}

TEST(ContactSheet, ScalesDownOrCutsAndWidensForText) {
    const TemporaryFolder folder;
    const auto seen = [&](const SheetSettings& settings, const SheetLabel& label) {
        ContactSheet sheet(settings);
        sheet.Add(Marked(100, 40, 60), label);
        return Sheet(sheet, folder);
    };
    SheetSettings settings = Settings(1);
    settings.cellWidth = 10;
    // Of 10x6; the marks have run into the outermost pixels.
    const Window scaled = seen(settings, {}).Of({100, 40, 60});
    EXPECT_GE(scaled.width, 7);
    EXPECT_LE(scaled.width, 10);
    EXPECT_LE(scaled.height, 6);
    settings.crop = Window{1, 3, 20, 5};
    const Sheet cut = seen(settings, {});
    EXPECT_EQ(cut.Of({100, 40, 60}).width, 20);
    EXPECT_EQ(cut.Of({100, 40, 60}).height, 5);
    EXPECT_GT(seen(settings, {"a long label", ""}).Width(), cut.Width());
    settings.title = "a very long title that no cell is as wide as";
    EXPECT_GT(seen(settings, {}).Width(), 300);
}

TEST(ContactSheet, LetsItsGreyThroughWhatIsTransparent) {
    const TemporaryFolder folder;
    const auto shown = [&](Alpha alpha, const Picture& picture) {
        SheetSettings settings = Settings(1);
        settings.alpha = alpha;
        settings.crop = Window{1, 1, 30, 20};
        ContactSheet sheet(settings);
        sheet.Add(picture, {});
        return Sheet(sheet, folder);
    };
    const Picture half = Marked(200, 100, 50, 51);  // a fifth
    EXPECT_EQ(shown(Alpha::kNone, half).Of({200, 100, 50}).width, 30);
    EXPECT_EQ(shown(Alpha::kStraight, half).Of({72, 52, 42}).width, 30);
    EXPECT_EQ(shown(Alpha::kMultiplied, half).Of({232, 132, 82}).width, 30);
}

TEST(ContactSheet, IsNotWrittenOverWhatIsThere) {
    const TemporaryFolder folder;
    ContactSheet sheet(Settings(1));
    sheet.Add(Marked(100, 40, 60), {});
    for (const char* name : {"sheet.png", "sheet.jpg", "sheet.tif", "sheet.ppm"}) {
        sheet.Write(folder / name, false);
        ErrorOf(MediaError::Kind::kOutputExists, [&] { sheet.Write(folder / name, false); });
        EXPECT_NO_THROW(sheet.Write(folder / name, true));
    }
    EXPECT_EQ(folder.Names().size(), 4u);
}

}  // namespace
}  // namespace velorin
