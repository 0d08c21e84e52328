#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "image/float_rules.h"

namespace velorin {

// Every rule by which a float becomes an integer, each under its own name. Two that differ in one
// value have two names; none may be merged into another.

// Cuts toward zero. NaN, and whatever the cut of does not fit 32 bits, gives the most negative int.
inline int Truncate(float value) {
    if (!(value >= -2147483648.0f && value < 2147483648.0f)) return INT32_MIN;
    return static_cast<int>(value);
}
inline int Truncate(double value) {
    if (!(value > -2147483649.0 && value < 2147483648.0)) return INT32_MIN;
    return static_cast<int>(value);
}

// Cuts toward zero a value that the caller knows to fit: a position inside an image.
inline int TruncateInside(float value) {
    return static_cast<int>(value);
}

// The low bits of the cut, as a plain cast of a picture value leaves them. Floats pass unchanged.
template <typename Value, typename Real>
Value TruncateUnclamped(Real value) {
    if constexpr (std::is_floating_point_v<Value>) {
        return static_cast<Value>(value);
    } else {
        return static_cast<Value>(Truncate(value));
    }
}

// Carries a picture value over to another type as the number that it is, white points or not.
template <typename Value, typename Other>
Value PlainCast(Other value) {
    if constexpr (std::is_floating_point_v<Other>) {
        return TruncateUnclamped<Value>(value);
    } else {
        return static_cast<Value>(value);
    }
}

// Adds 0.5 in the type of `value` and cuts, keeping the low bits: 256 becomes 0 in a byte.
template <typename Value, typename Real>
Value RoundUnclamped(Real value) {
    if constexpr (std::is_floating_point_v<Value>) {
        return static_cast<Value>(value);
    } else {
        return static_cast<Value>(Truncate(value + static_cast<Real>(0.5)));
    }
}

// The same for a value that the caller knows to lie in the type's range, such as a mix of two.
template <typename Value, typename Real>
Value RoundInside(Real value) {
    if constexpr (std::is_floating_point_v<Value>) {
        return static_cast<Value>(value);
    } else {
        return static_cast<Value>(static_cast<int>(value + static_cast<Real>(0.5)));
    }
}

// The write of a pixel: adds 0.5 in the type of `value`, clamps to the type's range and cuts; NaN
// becomes 0. Floats are stored as they are.
template <typename Value, typename Real>
Value RoundClamped(Real value) {
    if constexpr (std::is_floating_point_v<Value>) {
        return static_cast<Value>(value);
    } else {
        constexpr Real kWhite = static_cast<Real>(std::numeric_limits<Value>::max());
        const Real raised = value + static_cast<Real>(0.5);
        if (!(raised > 0)) return 0;
        if (raised >= kWhite) return std::numeric_limits<Value>::max();
        return static_cast<Value>(static_cast<int>(raised));
    }
}

// The write of a pixel by a rule that adds nothing: RoundClamped without its 0.5.
template <typename Value>
Value TruncateClamped(float value) {
    if constexpr (std::is_floating_point_v<Value>) {
        return value;
    } else {
        if (!(value > 0.0f)) return 0;
        constexpr Value kWhite = std::numeric_limits<Value>::max();
        return value >= static_cast<float>(kWhite) ? kWhite
                                                   : static_cast<Value>(static_cast<int>(value));
    }
}

// Adds 0.5, brings the sum into 0 to `maximum` and cuts: `maximum` itself is never rounded up.
template <typename Value>
Value RoundToRange(float value, float maximum) {
    return TruncateUnclamped<Value>(std::max(std::min(value + 0.5f, maximum), 0.0f));
}

}  // namespace velorin
