#pragma once

// Included by every file whose arithmetic is exact. Stops a build whose flags or target would give
// other pixels.

#include <cfloat>
#include <limits>

#if defined(__FAST_MATH__) || defined(__ASSOCIATIVE_MATH__) || defined(__RECIPROCAL_MATH__)
#error "Velorin's pixels are exact: build without -ffast-math and its parts."
#endif
#if defined(__FINITE_MATH_ONLY__) && __FINITE_MATH_ONLY__
#error "Velorin's pixels are exact: build without -ffinite-math-only."
#endif

static_assert(FLT_EVAL_METHOD == 0, "float arithmetic must round to float at every step");
static_assert(std::numeric_limits<float>::is_iec559 && std::numeric_limits<double>::is_iec559,
              "float and double must be those of IEEE 754");
static_assert(sizeof(int) == 4 && sizeof(float) == 4 && sizeof(double) == 8);
