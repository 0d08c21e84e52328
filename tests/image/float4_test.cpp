#include "image/float4.h"

#include <gtest/gtest.h>

#include <algorithm>
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

template <int N, typename Value>
void ExpectStoresAsScalar() {
    const std::vector<float> values = TryingValues();
    for (std::size_t i = 0; i + N <= values.size(); ++i) {
        Value stored[N + 2];
        std::fill_n(stored, N + 2, Value{77});
        StoreClamped(PixelLanes<N>::Load(&values[i]), stored + 1);
        for (int c = 0; c < N; ++c) {
            EXPECT_SAME_BITS(stored[1 + c], RoundClamped<Value>(values[i + c])) << values[i + c];
        }
        EXPECT_EQ(stored[0], 77);
        EXPECT_EQ(stored[N + 1], 77);
    }
}

template <int N>
void ExpectArithmeticAsScalar() {
    using Lanes = PixelLanes<N>;
    const std::vector<float> values = TryingValues();
    for (std::size_t i = 0; i + 2 * N <= values.size(); ++i) {
        const float* x = &values[i];
        const float* y = &values[i + N];
        float sum[N], difference[N], product[N], scaled[N], same[N];
        (Lanes::Load(x) + Lanes::Load(y)).Store(sum);
        (Lanes::Load(x) - Lanes::Load(y)).Store(difference);
        (Lanes::Load(x) * Lanes::Load(y)).Store(product);
        (Lanes::Load(x) * y[0]).Store(scaled);
        Lanes::All(x[0]).Store(same);
        for (int c = 0; c < N; ++c) {
            EXPECT_SAME_BITS(sum[c], x[c] + y[c]);
            EXPECT_SAME_BITS(difference[c], x[c] - y[c]);
            EXPECT_SAME_BITS(product[c], x[c] * y[c]);
            EXPECT_SAME_BITS(scaled[c], x[c] * y[0]);
            EXPECT_SAME_BITS(same[c], x[0]);
        }
    }
}

template <int N>
void ExpectLanesAsScalar() {
    SCOPED_TRACE(N);
    ExpectStoresAsScalar<N, std::uint8_t>();
    ExpectStoresAsScalar<N, std::uint16_t>();
    ExpectStoresAsScalar<N, float>();
    ExpectArithmeticAsScalar<N>();
}

TEST(Float4, LanesEqualScalarRules) {
    ExpectLanesAsScalar<1>();
    ExpectLanesAsScalar<2>();
    ExpectLanesAsScalar<3>();
    ExpectLanesAsScalar<4>();
}

}  // namespace
}  // namespace velorin
