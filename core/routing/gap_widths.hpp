// A gap: the room between neighbouring layers, the segments that cross it, and making more room.

#ifndef QUILLAN_CORE_ROUTING_GAP_WIDTHS_HPP_
#define QUILLAN_CORE_ROUTING_GAP_WIDTHS_HPP_

#include <cmath>
#include <cstdint>
#include <span>

#include "core/graph/incident_maps.hpp"
#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

// Where the boxes of the layer before a gap end and those of the layer behind it begin.
struct Bounds {
  double left;
  double right;
};

// The bounds of the gap behind layer `gap`. Linear in the nodes of both layers.
Bounds bounds_of(const LGraph& graph, std::int32_t gap);

// Calls visit(edge) for each segment that crosses the gap behind layer `gap`, by the node at which
// it ends, then in `edges` order.
template <typename Visit>
void for_each_segment(const LGraph& graph, const IncidentMaps& maps, std::int32_t gap,
                      const Visit& visit) {
  for (const LNode* node : graph.layers[gap + 1]) {
    if (node->position < 0) continue;  // outside the graph, where no segment ends
    for (const std::int32_t position : maps.incoming[node->position]) {
      LEdge& edge = *graph.edges[position];
      if (edge.source_node()->layer == gap) visit(edge);
    }
  }
}

// Whether a segment must bend: ports that are closer along the cross axis are joined by a straight
// line. False for what is not a number.
inline bool needs_bends(const LEdge& segment) {
  constexpr double kStraight = 0.5;
  return std::abs(segment.source.y() - segment.target.y()) > kStraight;
}

// How wide a gap should be. If it is at least `least`, it stays as it is.
struct GapWidth {
  double least;
  double wanted;
};

// For tracks and the margins beside them, where the tracks have `pitches` distances between them.
GapWidth width_for(std::int32_t pitches, const LayoutOptions& options);

// Moves the layers behind each gap that is too narrow along the flow axis, by what is missing.
// Linear in nodes times their different x in a layer, as a rule few.
void widen_gaps(LGraph& graph, std::span<const GapWidth> widths);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_ROUTING_GAP_WIDTHS_HPP_
