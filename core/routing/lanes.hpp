// Lanes: where in the width of a gap each trunk stands.

#ifndef QUILLAN_CORE_ROUTING_LANES_HPP_
#define QUILLAN_CORE_ROUTING_LANES_HPP_

#include <cstdint>
#include <span>
#include <vector>

#include "core/base/arena.hpp"

namespace quillan::vorn_layered {

// The run of a trunk across the flow.
struct Run {
  double low;
  double high;
};

// A track among those of a group of runs, which have nothing beside them.
struct Lane {
  std::int32_t track = 0;   // 0 stands leftmost
  std::int32_t tracks = 1;  // of the group
};

// Gives runs that come as close to each other as `clearance` tracks of their own: in `order`, each
// run takes the first track right of all before it that it comes so close to. r log r for r runs,
// with a search tree over the heights at which runs end.
void assign_lanes(std::span<const Run> runs, std::span<const std::int32_t> order, double clearance,
                  std::span<Lane> lanes, Arena& scratch);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_ROUTING_LANES_HPP_
