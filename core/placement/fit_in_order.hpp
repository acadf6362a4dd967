// A row of boxes, each as near as possible to where it should be.
//
// Least squares under distances between neighbours is isotonic regression: taken less the distances
// before them, the wishes have to become an ascending sequence, and pooling adjacent violators
// gives the best one in one pass (Ayer, Brunk, Ewing, Reid and Silverman, An Empirical Distribution
// Function for Sampling with Incomplete Information, 1955).
//
// Example: two boxes of height 40 that want to stand at 0 and 20, 30 apart, stand at -25 and 45:
//   const Wish wishes[] = {{0.0, 1.0, 0.0}, {20.0, 1.0, 70.0}};
//   double places[2];
//   fit_in_order(wishes, places, scratch);

#ifndef QUILLAN_CORE_PLACEMENT_FIT_IN_ORDER_HPP_
#define QUILLAN_CORE_PLACEMENT_FIT_IN_ORDER_HPP_

#include <span>

#include "core/base/arena.hpp"

namespace quillan::vorn_layered {

struct Wish {
  double place;
  double weight;    // above 0
  double distance;  // at least, from the place of the one before; unused for the first
};

// Fills `places`, of the same size, so that each lies at least its distance beyond the one before,
// but for rounding, and the weighted squares of what they are off sum up to the least. Linear.
void fit_in_order(std::span<const Wish> wishes, std::span<double> places, Arena& scratch);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_PLACEMENT_FIT_IN_ORDER_HPP_
