#include "image/bilinear.h"

#include <gtest/gtest.h>

#include "image/pixel_form.h"
#include "support/forms.h"
#include "support/noise.h"
#include "support/plain_bilinear.h"

namespace velorin {
namespace {

TEST(Bilinear, MixesHorizontallyFirst) {
    // The other order ends one bit away.
    EXPECT_SAME_BITS(MixSquare(0.7f, 0.8f, 0.1f, 0.0f, 0.8f, 0.4f), 0x1.e76c8cp-2f);
}

TEST(Bilinear, ReadersEqualThePlainRule) {
    ForEachPictureForm([](int type, int channels) {
        for (int bottomUp : {0, 1}) {
            GapImage image(5, 4, channels, type, bottomUp);
            Noise noise(41);
            noise.Fill(*image);
            for (int i = 0; i < 200; ++i) {
                // At the last sample and past it too.
                const float x = i < 5 ? 4.0f + i : noise.Float(0.0f, 4.0f);
                const float y = i % 7 == 0 ? 3.0f + i : noise.Float(0.0f, 3.0f);
                WithPictureForm(*image, [&](auto form) {
                    float lanes[4];
                    SamplePixel<decltype(form)>(*image, x, y).Store(lanes);
                    for (int c = 0; c < channels; ++c) {
                        EXPECT_SAME_BITS(lanes[c], PlainBilinear(*image, x, y, c));
                    }
                });
                if (type != ZPPixFloat || channels != 2) continue;
                float u, v;
                FlowLine(*image, y).At(x, u, v);
                EXPECT_SAME_BITS(u, PlainBilinear(*image, x, y, 0));
                EXPECT_SAME_BITS(v, PlainBilinear(*image, x, y, 1));
            }
        }
    });
}

}  // namespace
}  // namespace velorin
