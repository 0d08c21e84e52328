#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "support/as_plain.h"
#include "support/stderr_text.h"

namespace velorin {

using Images = std::vector<std::unique_ptr<ZPImage>>;

// Calls work(images) for images of noise of these shapes. Expects that it says `line` on standard
// error and leaves each of them as it was.
template <typename Work>
void ExpectRefused(std::initializer_list<Shape> shapes, const std::string& line, Work&& work) {
    Images images, before;
    Noise noise(2);
    for (const Shape& shape : shapes) {
        for (Images* list : {&images, &before}) {
            list->push_back(std::make_unique<ZPImage>(shape.width, shape.height, shape.channels,
                                                      shape.pixelType, 0));
        }
        noise.Fill(*images.back());
        CopyPixels(*before.back(), *images.back());
    }
    EXPECT_EQ(StderrOf([&] { work(images); }), line);
    for (std::size_t i = 0; i < images.size(); ++i) EXPECT_SAME_IMAGE(*images[i], *before[i]);
}

}  // namespace velorin
