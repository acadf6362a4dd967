// Incident maps: the segments at every node, as offsets plus one flat array.

#ifndef QUILLAN_CORE_GRAPH_INCIDENT_MAPS_HPP_
#define QUILLAN_CORE_GRAPH_INCIDENT_MAPS_HPP_

#include <cstdint>
#include <span>

#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

// Lists of integers by node position, back to back.
struct IncidentMap {
  std::span<const std::int32_t> starts;  // one entry per node and one past the end
  std::span<const std::int32_t> items;

  [[nodiscard]] std::span<const std::int32_t> operator[](std::int32_t node) const {
    return items.subspan(starts[node], starts[node + 1] - starts[node]);
  }
};

// For every node the positions in LGraph::edges of the segments that end and that start there, in
// `edges` order.
struct IncidentMaps {
  IncidentMap incoming;
  IncidentMap outgoing;
};

// The arrays live in the frame of `graph.scratch` that is open when this is called. Throws
// LookupFault for a segment with an end outside LGraph::nodes. Linear in nodes plus edges.
IncidentMaps _incident_maps(LGraph& graph);

// Throws what _incident_maps() throws, and does nothing else.
void require_known_ends(const LGraph& graph);

// Groups the indices of `keys` by key: list k holds, ascending, every i with keys[i] == k. A key
// below 0 belongs to no list.
IncidentMap group_by(std::span<const std::int32_t> keys, std::int32_t lists, Arena& scratch);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_GRAPH_INCIDENT_MAPS_HPP_
