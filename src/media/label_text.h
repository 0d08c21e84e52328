#pragma once

#include <string>

namespace velorin {

// The font that pictures are labelled with, by the name that OpenImageIO finds it by. Throws
// MediaError of kind kFailure where the system has none.
std::string FindLabelFont();

// `text` with a ? for each letter that cannot be drawn.
std::string Drawable(const std::string& text);

// In pixels; 0 for what leaves no ink.
int LabelWidth(const std::string& text, int size, const std::string& font);

}  // namespace velorin
