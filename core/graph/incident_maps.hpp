// Incident maps: the segments at every node.

#ifndef QUILLAN_CORE_GRAPH_INCIDENT_MAPS_HPP_
#define QUILLAN_CORE_GRAPH_INCIDENT_MAPS_HPP_

#include <cstdint>
#include <span>

#include "core/base/grouped.hpp"
#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

// For every node the positions in LGraph::edges of the segments that end and that start there, in
// `edges` order.
struct IncidentMaps {
  Grouped incoming;
  Grouped outgoing;
};

// The arrays live in the frame of `graph.scratch` that is open when this is called. Throws
// LookupFault for a segment with an end outside LGraph::nodes. Linear in nodes plus edges.
IncidentMaps _incident_maps(LGraph& graph);

// The positions in LGraph::nodes at which every edge starts and ends, by edge; -1 for an end
// outside the graph. In the open frame of `graph.scratch`.
struct EdgeEnds {
  std::span<std::int32_t> sources;
  std::span<std::int32_t> targets;
};
EdgeEnds edge_ends(LGraph& graph);

// The same of a graph that must not have such an end. Throws LookupFault for the first.
EdgeEnds known_edge_ends(LGraph& graph);

// Throws what known_edge_ends() throws, and does nothing else.
void require_known_ends(const LGraph& graph);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_GRAPH_INCIDENT_MAPS_HPP_
