// Phase 5 with "ORTHOGONAL_ORDERED": few crossings, few bends, and no wire on another's line.

#ifndef QUILLAN_CORE_ROUTING_ORDERED_HPP_
#define QUILLAN_CORE_ROUTING_ORDERED_HPP_

#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

// Routes all segments: takes bends out of long edges (straighten.hpp), lays those of one port
// together (shared_lines.hpp), gives the wires of each gap trunks and orders them (trunks.hpp), and
// widens gaps as far as their tracks need it, at a pitch of spacing_edge_edge between margins of
// spacing_edge_node. A segment gets no bend points, two, or four where it had to be split to keep
// clear of another.
//
// REQUIRES: at least two layers; final y of real nodes. Writes `bend_points`, `y` of dummies and
// `x` of whole layers. s log s for s segments.
void route_ordered(LGraph& graph);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_ROUTING_ORDERED_HPP_
