#include "cli/view_pictures.h"

#include <cmath>

#include "support/forms.h"
#include "support/plain_stored.h"
#include "support/put_each.h"

namespace velorin {
namespace {

// Of the back matte, from the top line down; as float it goes on beyond black and white.
constexpr float kSeen[] = {0, 0, 0.2f, 0.4f, 0.6f, 0.8f, 1, 1};

// Paints flows, else mattes: none, back or both. Pixels have to be rgb(x, y, c), y from the top.
template <typename Rule>
void ExpectPainted(const std::vector<const ZPImage*>& flows, int count, const Rule& rgb) {
    for (int type : {ZPPixUChar, ZPPixUShort, ZPPixFloat}) {
        const auto stored = [type](float v) { return PlainStored(type, v * WhiteOf(type)); };
        ZPImage front(4, 8, 1, type, 0), back(4, 8, 1, type, 1);
        PutAll(front, stored(0.4f));
        PutEach(back, [&](int, int y, int) { return stored((6 - y) * 0.2f); });
        const std::vector<const ZPImage*> mattes[] = {{}, {&back}, {&front, &back}};
        Picture picture;
        picture.SetShape(4, 8, type);
        ForEachThreadCount([&] {
            if (flows.empty()) return PaintMattes(picture, mattes[count]);
            PaintFlow(picture, flows, mattes[count], 8.0f);
        });
        const ZPImage seen(picture.pixels.data(), 4, 8, 4, type, 0);
        for (int i = 0; i < 4 * 8 * 4; ++i) {
            const int x = i / 4 % 4, y = i / 16, c = i % 4;
            EXPECT_NEAR(ValueAt(seen, x, y, c), stored(c < 3 ? rgb(x, y, c) : 1), 1e-5);
        }
    }
}

// Of 2 x 2 pixels, the first of which rest; each stands for 2 by 4 of the picture's.
struct Flow : ZPImage {
    Flow(float right, float down, int still = 0) : ZPImage(2, 2, 2, ZPPixFloat, 1) {
        const float vector[] = {right / 2, -down / 4};
        PutEach(*this, [&](int x, int y, int c) { return x + 2 * y < still ? 0 : vector[c]; });
    }
};

TEST(ViewPictures, ShowDirectionByHueLengthBySaturationAndTheTopAtTheTop) {
    // An eighth of a turn is 54 / 8 = 6.75 hues; corners lie at hues 0, 15, 21, 25, 36 and 49.
    const float hues[8][3] = {{1, 0, 0},         {1, 0.45f, 0},      {1, 0.9f, 0},
                              {0.125f, 1, 0},    {0, 9.0f / 11, 1},  {0, 2.25f / 11, 1},
                              {4.5f / 13, 0, 1}, {11.25f / 13, 0, 1}};
    for (int i = 0; i < 4 * 8; ++i) {  // at rest, half, full and darkened
        const float way = i % 4 * 3.9999f, turn = i / 4 * 0.78539816f;
        const Flow flow(way * std::cos(turn), way * std::sin(turn));
        ExpectPainted({&flow}, 0, [full = hues[i / 4], way](int, int, int c) {
            return way > 8 ? 0.75f * full[c] : 1 - (1 - full[c]) * way / 8;
        });
    }
    const Flow nowhere(1, NAN), endless(-INFINITY, 0, 3), corner(8, 0, 3);
    for (auto* odd : {&nowhere, &endless}) ExpectPainted({odd}, 0, [](auto...) { return 0; });
    ExpectPainted({&corner}, 0, [](int x, int y, int c) {
        const float right = std::clamp(x / 2.0f - 0.25f, 0.0f, 1.0f);
        return c == 0 ? 1 : 1 - right * std::clamp(1.375f - y / 4.0f, 0.0f, 1.0f);
    });
}

TEST(ViewPictures, LayMattesOverEachOtherFrontFirst) {
    const Flow red(8, 0);
    ExpectPainted({&red, nullptr, &red}, 2,
                  [](int, int y, int c) { return c ? 0.6f * kSeen[y] : 1; });
    ExpectPainted({}, 2, [](int, int y, int c) { return c ? (2 - c) * 0.6f * kSeen[y] : 0.4f; });
    ExpectPainted({}, 1, [](int, int y, int) { return kSeen[y]; });
}

}  // namespace
}  // namespace velorin
