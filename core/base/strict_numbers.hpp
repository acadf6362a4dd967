// Refuses to compile where the compiler may round otherwise than IEEE 754 says for 64-bit numbers:
// results are compared to the last bit, and comparisons with infinities and not-a-numbers matter.
// What no macro tells, contraction into fused operations, is the build's to turn off.

#ifndef QUILLAN_CORE_BASE_STRICT_NUMBERS_HPP_
#define QUILLAN_CORE_BASE_STRICT_NUMBERS_HPP_

#include <cfloat>
#include <limits>

#if defined(__FAST_MATH__) || defined(_M_FP_FAST) || \
    (defined(__FINITE_MATH_ONLY__) && __FINITE_MATH_ONLY__ != 0)
#error "build without fast-math: layouts would differ from those of other builds"
#endif

// 2 is the old floating-point unit of 32-bit x86, negative is unknown; the others leave doubles be.
#if defined(__GNUC__) && (FLT_EVAL_METHOD == 2 || FLT_EVAL_METHOD < 0)
#error "numbers are computed with more than 64 bits; on 32-bit x86 add -msse2 -mfpmath=sse"
#endif

static_assert(std::numeric_limits<double>::is_iec559 && std::numeric_limits<double>::digits == 53);

#endif  // QUILLAN_CORE_BASE_STRICT_NUMBERS_HPP_
