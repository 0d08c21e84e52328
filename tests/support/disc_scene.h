#pragma once

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <vector>

#include "image/rounding.h"
#include "image/zp_image.h"

namespace velorin {

// A bright textured disc, half out of the picture, that moves to the right over a darker ground
// that moves to the left; nothing in it is black. All of it is known at any time.

inline constexpr int kDiscWidth = 192;
inline constexpr int kDiscHeight = 128;

// How far a place lies outside the disc, in pixels.
inline float OutsideDisc(int x, int y, float time) {
    return std::hypot(static_cast<float>(x) - 168.0f - 10.0f * time,
                      static_cast<float>(y) - 62.0f - 3.0f * time) -
           26.0f;
}

// Waves of many lengths, so that only the true motion fits them; about -1 to 1.
inline float WaveTexture(float x, float y, float seed) {
    float sum = 0.0f;
    for (int i = 0; i < 14; ++i) {
        const float n = static_cast<float>(i);
        const float turn = 2.4f * n + seed;
        const float length = 9.0f * std::pow(1.21f, n);
        sum += std::sin((x * std::cos(turn) + y * std::sin(turn)) * 6.2832f / length + 3.0f * turn);
    }
    return sum / 5.0f;
}

enum class DiscPart { kAll, kGround, kDisc };

// The scene, its ground alone, or the disc alone as its matte cuts it out: over black, with alpha.
inline std::unique_ptr<ZPImage> DrawDisc(float time, DiscPart part = DiscPart::kAll) {
    auto image = std::make_unique<ZPImage>(kDiscWidth, kDiscHeight, 4, ZPPixUChar, 0);
    for (int y = 0; y < kDiscHeight; ++y) {
        std::uint8_t* pixel = image->Row<std::uint8_t>(y);
        for (int x = 0; x < kDiscWidth; ++x, pixel += 4) {
            const float px = static_cast<float>(x), py = static_cast<float>(y);
            const float ground = 0.3f + 0.13f * WaveTexture(px + 4.0f * time, py, 1.0f);
            const float disc =
                0.72f + 0.13f * WaveTexture(px - 10.0f * time, py - 3.0f * time, 5.0f);
            const float inside = std::clamp(0.5f - OutsideDisc(x, y, time), 0.0f, 1.0f);
            float value = ground + (disc - ground) * inside;
            if (part == DiscPart::kGround) value = ground;
            if (part == DiscPart::kDisc) value = disc * inside;
            std::fill_n(pixel, 3, RoundClamped<std::uint8_t>(value * 255.0f));
            pixel[3] = part == DiscPart::kDisc ? RoundClamped<std::uint8_t>(inside * 255.0f) : 255;
        }
    }
    return image;
}

struct DiscErrors {
    double all = 0.0;
    double edge = 0.0;  // within ten pixels around the disc's edge
    int black = 0;
};

// Of red, in levels, over the places where known(x, y) is true.
template <typename Known>
DiscErrors CompareDisc(const ZPImage& image, const ZPImage& truth, float time, Known&& known) {
    DiscErrors errors;
    int all = 0, edge = 0;
    for (int y = 0; y < kDiscHeight; ++y) {
        for (int x = 0; x < kDiscWidth; ++x) {
            const int value = image.Row<std::uint8_t>(y)[4 * x];
            if (value == 0) ++errors.black;
            if (!known(x, y)) continue;
            const double apart = std::abs(value - truth.Row<std::uint8_t>(y)[4 * x]);
            errors.all += apart, ++all;
            if (std::fabs(OutsideDisc(x, y, time)) < 10.0f) errors.edge += apart, ++edge;
        }
    }
    errors.all /= all;
    errors.edge /= edge;
    return errors;
}

inline DiscErrors CompareDisc(const ZPImage& image, const ZPImage& truth, float time) {
    return CompareDisc(image, truth, time, [](int, int) { return true; });
}

// Its frames 0 and 1.
inline std::vector<std::unique_ptr<ZPImage>> DiscClip() {
    std::vector<std::unique_ptr<ZPImage>> clip;
    for (float end : {0.0f, 1.0f}) clip.push_back(DrawDisc(end));
    return clip;
}

}  // namespace velorin
