// Takes bends out of long edges before they are routed.

#ifndef QUILLAN_CORE_ROUTING_STRAIGHTEN_HPP_
#define QUILLAN_CORE_ROUTING_STRAIGHTEN_HPP_

#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

// Moves dummies across the flow so that the edges they belong to go straight as far as their
// neighbours in the layer leave room at exact spacing: an edge comes to run at the fewest heights
// that its dummies can share, and where its ends allow, steps from one height to the next are no
// shorter than SMALL_JOG. Real nodes stay, and no order inside a layer changes, so crossings don't
// either. An edge that would gain nothing stays as it is.
//
// REQUIRES: final y of real nodes. n log n in the nodes, linear in the segments.
void straighten_long_edges(LGraph& graph);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_ROUTING_STRAIGHTEN_HPP_
