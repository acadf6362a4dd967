// Phase 5: orthogonal routes through the gaps between neighbouring layers.
//
// A segment that needs a bend runs from its source port along the flow axis to its track inside the
// gap, there along the cross axis, and on to its target port. Segments of a gap that overlap along
// the cross axis get different tracks. Since long edges are split, each gap is routed by itself.

#ifndef QUILLAN_CORE_ROUTING_ROUTE_EDGES_HPP_
#define QUILLAN_CORE_ROUTING_ROUTE_EDGES_HPP_

#include <cstdint>
#include <span>

#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

// The cross-axis coordinates of a segment's ports; the first value may be the larger.
struct Interval {
  double source;
  double target;
};

// Runs phase 5: writes `bend_points`, and moves layers along the flow axis where a gap is too
// narrow for its tracks. REQUIRES: final y; `layers` empty or holding exactly the nodes of the
// graph. Near-linear, see _assign_tracks.
void route_edges(LGraph& graph);

// Greedy interval colouring: in ascending order of their first value, every interval takes the
// first track whose end it does not overlap. Touching intervals may share a track. Fills `tracks`
// and returns their number. REQUIRES: no value is a not-a-number. s log s, with a search tree over
// the tracks' ends in place of a scan.
std::int32_t _assign_tracks(std::span<const Interval> intervals, std::span<std::int32_t> tracks,
                            Arena& scratch);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_ROUTING_ROUTE_EDGES_HPP_
