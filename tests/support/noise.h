#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "image/pixel_form.h"
#include "image/zp_image.h"

namespace velorin {

// Repeatable noise: the same sequence on every machine and library.
class Noise {
  public:
    explicit Noise(std::uint32_t seed) : state(seed * 2654435761u + 1u) {}

    std::uint32_t Bits() {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        return state;
    }
    int Int(int low, int high) {
        return low + static_cast<int>(Bits() % static_cast<std::uint32_t>(high - low + 1));
    }
    float Float(float low, float high) {
        return low + (high - low) * (static_cast<float>(Bits() >> 8) / 16777216.0f);
    }
    std::vector<float> Floats(int count, float low, float high) {
        std::vector<float> values(count);
        for (float& value : values) value = Float(low, high);
        return values;
    }

    // Fills a picture image: integers over their whole range, floats from -0.25 to 1.25.
    void Fill(ZPImage& image) {
        WithPictureType(image.pixelType, [&](auto zero) {
            using Value = decltype(zero);
            for (int y = 0; y < image.height; ++y) {
                Value* row = image.Row<Value>(y);
                for (int i = 0; i < image.width * image.channels; ++i) {
                    if constexpr (std::is_same_v<Value, float>) {
                        row[i] = Float(-0.25f, 1.25f);
                    } else {
                        row[i] = static_cast<Value>(Bits());
                    }
                }
            }
        });
    }
    // Scatters values that trip careless arithmetic over a float image: -0.0, -1.0, NaN,
    // infinities, denormals.
    void Sprinkle(ZPImage& image, int count) {
        static constexpr float kSpecial[] = {-0.0f,
                                             -1.0f,
                                             std::numeric_limits<float>::quiet_NaN(),
                                             std::numeric_limits<float>::infinity(),
                                             -std::numeric_limits<float>::infinity(),
                                             1e-41f};
        for (int i = 0; i < count; ++i) {
            float* row = image.Row<float>(Int(0, image.height - 1));
            row[Int(0, image.width * image.channels - 1)] = kSpecial[Int(0, 5)];
        }
    }

  private:
    std::uint32_t state;
};

// Tells -0.0 from 0.0 and takes any NaN for another; integers are compared as numbers, whatever
// their types.
template <typename A, typename B>
bool SameBits(A a, B b) {
    if constexpr (std::is_floating_point_v<A>) {
        const A other = static_cast<A>(b);
        if (std::isnan(a) || std::isnan(other)) return std::isnan(a) && std::isnan(other);
        return a == other && std::signbit(a) == std::signbit(other);
    } else {
        return std::cmp_equal(a, b);
    }
}

struct SameBitsOf {
    template <typename A, typename B>
    bool operator()(A a, B b) const {
        return SameBits(a, b);
    }
};

#define EXPECT_SAME_BITS(a, b) EXPECT_PRED2(velorin::SameBitsOf(), a, b)

// The first place where two images of one shape differ, as text for a failure; empty when nowhere.
inline std::string FirstDifference(const ZPImage& a, const ZPImage& b) {
    if (ShapeDiffers(&a, &b) || a.pixelType != b.pixelType) return "shapes differ";
    std::string place;
    WithPictureType(a.pixelType, [&](auto zero) {
        using Value = decltype(zero);
        for (int y = 0; y < a.height && place.empty(); ++y) {
            const Value* p = a.Row<Value>(y);
            const Value* q = b.Row<Value>(y);
            for (int i = 0; i < a.width * a.channels; ++i) {
                if (SameBits(p[i], q[i])) continue;
                place = "x " + std::to_string(i / a.channels) + " y " + std::to_string(y) +
                        " channel " + std::to_string(i % a.channels) + ": " + std::to_string(p[i]) +
                        " against " + std::to_string(q[i]);
                break;
            }
        }
    });
    return place;
}

#define EXPECT_SAME_IMAGE(a, b) EXPECT_EQ(FirstDifference(a, b), "")

}  // namespace velorin
