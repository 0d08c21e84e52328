#pragma once

#include "support/forms.h"
#include "support/gap_image.h"
#include "support/noise.h"
#include "support/put_each.h"

namespace velorin {

// A picture that a test makes.
struct Shape {
    int width, height, channels, pixelType;
};

// Noise with many values of exactly 0 and white and, in floats, a few that trip arithmetic.
inline void FillTrying(Noise& noise, ZPImage& image) {
    noise.Fill(image);
    const int pixels = image.width * image.height;
    for (int i = 0; i < pixels; ++i) {
        const float value = i % 2 == 0 ? 0.0f : image.whitePoint;
        // One by one: compilers differ in the order of a call's arguments.
        const int c = noise.Int(0, image.channels - 1);
        const int y = noise.Int(0, image.lastRow);
        const int x = noise.Int(0, image.lastColumn);
        PutValue(image, x, y, c, value);
    }
    if (image.pixelType == ZPPixFloat) noise.Sprinkle(image, pixels / 64);
}

// Runs work(to, from) on noise in all row orders and with all thread counts. Expects each time what
// plain(to, from), the same rule told plainly, makes of that noise: to the bit, in both images,
// and nothing written between their rows.
template <typename Work, typename Plain>
void ExpectAsPlain(const Shape& toShape, const Shape& fromShape, const Work& work,
                   const Plain& plain) {
    const auto make = [](const Shape& shape, int bottomUp) {
        return GapImage(shape.width, shape.height, shape.channels, shape.pixelType, bottomUp);
    };
    GapImage noiseTo = make(toShape, 0), noiseFrom = make(fromShape, 0);
    Noise noise(1);
    FillTrying(noise, *noiseTo);
    FillTrying(noise, *noiseFrom);
    Snapshot plainTo(*noiseTo), plainFrom(*noiseFrom);
    plain(*plainTo, *plainFrom);
    ForEachThreadCount([&] {
        ForEachRowOrderPair([&](int toOrder, int fromOrder) {
            GapImage to = make(toShape, toOrder), from = make(fromShape, fromOrder);
            CopyPixels(*to, *noiseTo);
            CopyPixels(*from, *noiseFrom);
            work(*to, *from);
            EXPECT_SAME_IMAGE(*to, *plainTo);
            EXPECT_SAME_IMAGE(*from, *plainFrom);
            EXPECT_TRUE(to.GapsUntouched() && from.GapsUntouched());
        });
    });
}

// The same of an operation that changes one image in place.
template <typename Work, typename Plain>
void ExpectAsPlain(const Shape& shape, const Work& work, const Plain& plain) {
    ExpectAsPlain(
        shape, {1, 1, 1, ZPPixUChar}, [&](ZPImage& image, ZPImage&) { work(image); },
        [&](ZPImage& image, ZPImage&) { plain(image); });
}

// The plain rule of an operation that has to leave its images alone.
inline constexpr auto kNothing = [](auto&...) {};

// Calls work(type, otherType, channels) for all pairs of picture types with 1 to 4 channels.
template <typename Work>
void ForEachTypePair(Work&& work) {
    for (int otherType : {ZPPixUChar, ZPPixUShort, ZPPixFloat}) {
        SCOPED_TRACE("other type " + std::to_string(otherType));
        ForEachPictureForm([&](int type, int channels) { work(type, otherType, channels); });
    }
}

}  // namespace velorin
