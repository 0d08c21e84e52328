#include "media/label_text.h"

#include <OpenImageIO/imagebufalgo.h>

#include "media/clip.h"

namespace velorin {
namespace {

// Found by name in the folders where systems keep their fonts, the first that is there.
constexpr const char* kFonts[] = {"DejaVuSans", "LiberationSans-Regular", "NotoSans-Regular",
                                  "FreeSans"};

}  // namespace

std::string FindLabelFont() {
    for (const char* font : kFonts) {
        if (OIIO::ImageBufAlgo::text_size("x", 16, font).defined()) return font;
    }
    throw MediaError(MediaError::Kind::kFailure,
                     "there is no font to label the picture with; install the package "
                     "fonts-dejavu-core");
}

// OpenImageIO 2.4 draws letters beyond ASCII as wrong ones, so one ? stands for each.
std::string Drawable(const std::string& text) {
    std::string drawable;
    for (const char letter : text) {
        const auto byte = static_cast<unsigned char>(letter);
        const bool continues = byte >= 0x80 && byte < 0xc0;
        if (!continues) drawable += byte >= 0x20 && byte < 0x7f ? letter : '?';
    }
    return drawable;
}

int LabelWidth(const std::string& text, int size, const std::string& font) {
    const OIIO::ROI inked = OIIO::ImageBufAlgo::text_size(text, size, font);
    return inked.xbegin < inked.xend ? inked.xend + 1 : 0;  // nothing inked: both are extremes
}

}  // namespace velorin
