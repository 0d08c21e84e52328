#include "image/float4.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "support/noise.h"

namespace velorin {
namespace {

// Values around every place where a store changes course, and those that trip comparisons.
std::vector<float> TryingValues() {
    constexpr float kMax = std::numeric_limits<float>::infinity();
    std::vector<float> values = {-0.0f, 1e-41f, -1e30f, 1e30f, 3e9f,  -3e9f,
                                 kMax,  -kMax,  NAN,    -NAN,  2.5e9f};
    for (float edge : {-1.0f, -0.5f, 0.0f, 0.5f, 1.0f, 127.5f, 254.5f, 255.0f, 255.5f, 256.0f,
                       32767.5f, 32768.0f, 65534.5f, 65535.0f, 65535.5f, 65536.0f}) {
        values.push_back(edge);
        values.push_back(std::nextafter(edge, kMax));
        values.push_back(std::nextafter(edge, -kMax));
    }
    Noise noise(3);
    for (float value : noise.Floats(400, -300.0f, 70000.0f)) values.push_back(value);
    while (values.size() % 4 != 0) values.push_back(0.0f);
    return values;
}

template <typename Value>
void ExpectStoresAsScalar() {
    const std::vector<float> values = TryingValues();
    for (std::size_t i = 0; i + 4 <= values.size(); ++i) {
        Value stored[6] = {77, 77, 77, 77, 77, 77};
        StoreClamped(Float4::Load(&values[i]), stored + 1);
        for (int c = 0; c < 4; ++c) {
            EXPECT_SAME_BITS(stored[1 + c], RoundClamped<Value>(values[i + c])) << values[i + c];
        }
        EXPECT_EQ(stored[0], 77);
        EXPECT_EQ(stored[5], 77);
    }
}

TEST(Float4, StoresEqualScalarRounding) {
    ExpectStoresAsScalar<std::uint8_t>();
    ExpectStoresAsScalar<std::uint16_t>();
    ExpectStoresAsScalar<float>();
}

template <typename Value>
void ExpectLoadsEveryNumber() {
    for (int first = 0; first <= std::numeric_limits<Value>::max() - 3; first += 3) {
        Value from[4];
        for (int c = 0; c < 4; ++c) from[c] = static_cast<Value>(first + c);
        float lanes[4];
        Float4::Load(from).Store(lanes);
        for (int c = 0; c < 4; ++c) ASSERT_EQ(lanes[c], static_cast<float>(first + c));
    }
}

TEST(Float4, LoadsIntegers) {
    ExpectLoadsEveryNumber<std::uint8_t>();
    ExpectLoadsEveryNumber<std::uint16_t>();
}

TEST(Float4, ArithmeticEqualsScalar) {
    const std::vector<float> values = TryingValues();
    for (std::size_t i = 0; i + 8 <= values.size(); ++i) {
        const float* x = &values[i];
        const float* y = &values[i + 4];
        const Float4 a = Float4::Load(x);
        const Float4 b = Float4::Of(y[0], y[1], y[2], y[3]);
        float sum[4], difference[4], product[4], quotient[4], scaled[4];
        (a + b).Store(sum);
        (a - b).Store(difference);
        (a * b).Store(product);
        (a / b).Store(quotient);
        (a * y[0]).Store(scaled);
        for (int c = 0; c < 4; ++c) {
            EXPECT_SAME_BITS(sum[c], x[c] + y[c]);
            EXPECT_SAME_BITS(difference[c], x[c] - y[c]);
            EXPECT_SAME_BITS(product[c], x[c] * y[c]);
            EXPECT_SAME_BITS(quotient[c], x[c] / y[c]);
            EXPECT_SAME_BITS(scaled[c], x[c] * y[0]);
        }
    }
}

}  // namespace
}  // namespace velorin
