#pragma once

#include "image/copy.h"
#include "support/forms.h"
#include "support/gap_image.h"
#include "support/noise.h"

namespace velorin {

// Runs work(image) on copies of `source` in both row orders and with all thread counts. Expects
// each time the bits of `expected`, and nothing written between the rows.
template <typename Work>
void ExpectInPlace(const ZPImage& source, const ZPImage& expected, const Work& work) {
    ForEachThreadCount([&] {
        for (int bottomUp : {0, 1}) {
            SCOPED_TRACE("row order " + std::to_string(bottomUp));
            GapImage image(source.width, source.height, source.channels, source.pixelType,
                           bottomUp);
            CopyExact(&*image, &source);
            work(*image);
            EXPECT_SAME_IMAGE(*image, expected);
            EXPECT_TRUE(image.GapsUntouched());
        }
    });
}

}  // namespace velorin
