#include "image/bilinear.h"

#include <gtest/gtest.h>

#include "image/pixel_form.h"
#include "support/forms.h"
#include "support/gap_image.h"
#include "support/noise.h"

namespace velorin {
namespace {

TEST(Bilinear, StepsBackAtTheLastSample) {
    const AxisSample inside = LocateSample(2.25f, 4);
    EXPECT_EQ(inside.index, 2);
    EXPECT_EQ(inside.weight, 0.25f);
    for (float position : {4.0f, 4.5f, 90.0f}) {
        const AxisSample last = LocateSample(position, 4);
        EXPECT_EQ(last.index, 3);
        EXPECT_EQ(last.weight, 1.0f);
    }
}

TEST(Bilinear, MixesHorizontallyFirst) {
    // The other order ends one bit away.
    EXPECT_SAME_BITS(MixSquare(0.7f, 0.8f, 0.1f, 0.0f, 0.8f, 0.4f), 0x1.e76c8cp-2f);
}

// One value at a place, by the rule above written out.
float PlainSample(const ZPImage& image, float x, float y, int c) {
    const int left =
        x >= static_cast<float>(image.lastColumn) ? image.lastColumn - 1 : static_cast<int>(x);
    const int top =
        y >= static_cast<float>(image.lastRow) ? image.lastRow - 1 : static_cast<int>(y);
    const float tx = x >= static_cast<float>(image.lastColumn) ? 1.0f : x - left;
    const float ty = y >= static_cast<float>(image.lastRow) ? 1.0f : y - top;
    float ends[2];
    for (int i = 0; i < 2; ++i) {
        const float a = ValueAt(image, left, top + i, c);
        ends[i] = a + tx * (ValueAt(image, left + 1, top + i, c) - a);
    }
    return ends[0] + ty * (ends[1] - ends[0]);
}

TEST(Bilinear, ReadersEqualThePlainRule) {
    ForEachPictureForm([](int type, int channels) {
        for (int bottomUp : {0, 1}) {
            GapImage image(5, 4, channels, type, bottomUp);
            Noise noise(41);
            noise.Fill(*image);
            for (int i = 0; i < 200; ++i) {
                const float x = i < 5 ? 4.0f : noise.Float(0.0f, 4.0f);
                const float y = i % 7 == 0 ? 3.0f : noise.Float(0.0f, 3.0f);
                WithPictureForm(*image, [&](auto form) {
                    float lanes[4];
                    SamplePixel<decltype(form)>(*image, x, y).Store(lanes);
                    for (int c = 0; c < channels; ++c) {
                        EXPECT_SAME_BITS(lanes[c], PlainSample(*image, x, y, c));
                    }
                });
                if (type != ZPPixFloat || channels != 2) continue;
                float u, v;
                FlowLine(*image, y).At(x, u, v);
                EXPECT_SAME_BITS(u, PlainSample(*image, x, y, 0));
                EXPECT_SAME_BITS(v, PlainSample(*image, x, y, 1));
            }
        }
    });
}

}  // namespace
}  // namespace velorin
