// Comparisons of coordinates that stay usable when a caller's number is not a number.

#ifndef QUILLAN_CORE_BASE_REALS_HPP_
#define QUILLAN_CORE_BASE_REALS_HPP_

#include <cmath>

namespace quillan::vorn_layered {

// `a` unless `b` is strictly larger, so that a not-a-number on the right is passed over.
inline double larger(double a, double b) { return b > a ? b : a; }
inline double smaller(double a, double b) { return b < a ? b : a; }

// Negative, zero or positive as `a` sorts before, level with or behind `b`: the usual order of
// reals, with every not-a-number level behind all others. Sorts need it, since `<` alone loses
// transitivity of ties as soon as one value is not a number.
inline int compare_reals(double a, double b) {
  if (a < b) return -1;
  if (a > b) return 1;
  return static_cast<int>(std::isnan(a)) - static_cast<int>(std::isnan(b));
}

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_BASE_REALS_HPP_
